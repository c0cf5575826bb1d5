#include "Transcriber.h"

#include <utf8proc.h>

#include <algorithm>

namespace vorlin {

namespace {

bool isWhiteSpace(utf8proc_int32_t character)
{
    return character == '\t' || utf8proc_category(character) == UTF8PROC_CATEGORY_ZS;
}

bool isWhiteSpaceOrNewline(utf8proc_int32_t character)
{
    if ((character >= 0x09 && character <= 0x0D) || character == 0x85) {
        return true;
    }
    const auto category = utf8proc_category(character);
    return isWhiteSpace(character) || category == UTF8PROC_CATEGORY_ZL ||
           category == UTF8PROC_CATEGORY_ZP;
}

std::string trimmed(const std::string& text, bool (*drops)(utf8proc_int32_t))
{
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto size = static_cast<utf8proc_ssize_t>(text.size());
    utf8proc_ssize_t begin = size;
    utf8proc_ssize_t end = 0;
    for (utf8proc_ssize_t at = 0; at < size;) {
        utf8proc_int32_t character = 0;
        utf8proc_ssize_t length = utf8proc_iterate(bytes + at, size - at, &character);
        if (length < 1) { // not UTF-8: a byte that stands for itself
            length = 1;
            character = 0;
        }
        if (!drops(character)) {
            begin = std::min(begin, at);
            end = at + length;
        }
        at += length;
    }
    if (begin >= end) {
        return {};
    }
    return text.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

} // namespace

std::string trimmed(const std::string& text)
{
    return trimmed(text, isWhiteSpaceOrNewline);
}

std::string trimmedSpaces(const std::string& text)
{
    return trimmed(text, isWhiteSpace);
}

std::string TextAccumulator::add(const std::string& text, bool isFinal)
{
    const std::scoped_lock guard(lock);
    if (isFinal) {
        finalText += text;
        finalText += ' ';
        volatileText.clear();
    } else {
        volatileText = text;
    }
    return finalText + volatileText;
}

std::string TextAccumulator::finished() const
{
    std::string combined;
    {
        const std::scoped_lock guard(lock);
        combined = finalText + volatileText;
    }
    return trimmed(combined);
}

} // namespace vorlin
