#include "HUDText.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace vorlin {

namespace {

using CodePoint = utf8proc_int32_t;

constexpr CodePoint replacement = 0xFFFD;
constexpr std::string_view ellipsis = "…";
constexpr std::size_t codePointsOfOneCharacter = 32;
/// More bytes of a line are never looked at for drawing; all that can be seen fits many times.
constexpr std::size_t bytesLookedAt = 1 << 16;

struct Decoded {
    CodePoint codePoint = replacement;
    std::size_t length = 1;
};

/// The code point at `at`; a byte that is not UTF-8 decodes as U+FFFD.
Decoded decode(std::string_view text, std::size_t at)
{
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data() + at);
    CodePoint codePoint = 0;
    const auto length =
        utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size() - at), &codePoint);
    return length < 1 ? Decoded{} : Decoded{codePoint, static_cast<std::size_t>(length)};
}

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// Whether a character begins at `after` whatever stands before `before`. After the kinds left
/// out here that depends on more than the two, in one edition of the rules or another.
bool alwaysBreaks(CodePoint before, CodePoint after)
{
    switch (utf8proc_get_property(before)->boundclass) {
    case UTF8PROC_BOUNDCLASS_EXTEND:
    case UTF8PROC_BOUNDCLASS_ZWJ:
    case UTF8PROC_BOUNDCLASS_REGIONAL_INDICATOR: return false;
    default: return utf8proc_grapheme_break(before, after);
    }
}

/// The first place after `from` at which a character surely begins.
std::optional<std::size_t> sureBoundary(std::string_view text, std::size_t from)
{
    // Any byte but a continuation byte begins a code point, or stands for itself.
    while (from < text.size() && isContinuation(text[from])) {
        ++from;
    }
    if (from == text.size()) {
        return std::nullopt;
    }
    for (auto before = decode(text, from); from + before.length < text.size();) {
        from += before.length;
        const auto after = decode(text, from);
        if (alwaysBreaks(before.codePoint, after.codePoint)) {
            return from;
        }
        before = after;
    }
    return std::nullopt;
}

/// Where the characters of `text` from `begin` on begin; a character begins at `begin`.
std::vector<std::size_t> characterStarts(std::string_view text, std::size_t begin)
{
    std::vector<std::size_t> starts;
    CodePoint before = 0;
    utf8proc_int32_t state = 0;
    for (std::size_t at = begin; at < text.size();) {
        const auto [codePoint, length] = decode(text, at);
        if (at == begin || utf8proc_grapheme_break_stateful(before, codePoint, &state)) {
            starts.push_back(at);
        }
        before = codePoint;
        at += length;
    }
    return starts;
}

bool isOneOf(CodePoint codePoint, CodePoint first, CodePoint last)
{
    return codePoint >= first && codePoint <= last;
}

bool isBreakingSpace(CodePoint codePoint)
{
    const auto category = utf8proc_category(codePoint);
    return codePoint == ' ' || isOneOf(codePoint, '\t', '\r') || codePoint == 0x85 ||
           category == UTF8PROC_CATEGORY_ZL || category == UTF8PROC_CATEGORY_ZP;
}

/// What would be seen nowhere, or would turn the direction of the text after it.
bool isDropped(CodePoint codePoint)
{
    constexpr std::array keptFormats = {0x200C, 0x200D, 0x200E, 0x200F, 0x061C};
    switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_CC: return true;
    case UTF8PROC_CATEGORY_CF:
        return std::ranges::find(keptFormats, codePoint) == keptFormats.end() &&
               !isOneOf(codePoint, 0xE0020, 0xE007F) && // the letters of some flags
               utf8proc_get_property(codePoint)->boundclass != UTF8PROC_BOUNDCLASS_PREPEND;
    default: return false;
    }
}

/// Not text, or an invitation to draw something that is not there.
bool isReplaced(CodePoint codePoint)
{
    return codePoint == 0xFFFC || (codePoint & 0xFFFE) == 0xFFFE ||
           isOneOf(codePoint, 0xFDD0, 0xFDEF);
}

/// Collects a paragraph fit to be drawn.
class Paragraph {
public:
    void add(CodePoint codePoint)
    {
        if (isBreakingSpace(codePoint)) {
            spacePending = !text.empty();
            return;
        }
        if (isDropped(codePoint)) {
            return;
        }
        if (spacePending) {
            append(' ');
            spacePending = false;
        }
        append(isReplaced(codePoint) ? replacement : codePoint);
    }

    std::string take() { return std::move(text); }

private:
    void append(CodePoint codePoint)
    {
        const bool begins =
            text.empty() || utf8proc_grapheme_break_stateful(before, codePoint, &state);
        before = codePoint;
        length = begins ? 1 : length + 1;
        if (length <= codePointsOfOneCharacter) {
            std::array<utf8proc_uint8_t, 4> bytes = {};
            const auto count = utf8proc_encode_char(codePoint, bytes.data());
            text.append(reinterpret_cast<const char*>(bytes.data()),
                        static_cast<std::size_t>(count));
        }
    }

    std::string text;
    bool spacePending = false;
    CodePoint before = 0;
    utf8proc_int32_t state = 0;
    /// Code points of the character being built.
    std::size_t length = 0;
};

/// Where the last `count` characters of `text` begin; nothing when it has fewer.
std::optional<std::vector<std::size_t>> lastCharacters(std::string_view text, std::size_t count)
{
    for (std::size_t window = 8 * (count + 1);; window *= 2) {
        const bool whole = window >= text.size();
        const auto from =
            whole ? std::optional<std::size_t>(0) : sureBoundary(text, text.size() - window);
        if (from) {
            auto starts = characterStarts(text, *from);
            if (starts.size() >= count) {
                starts.erase(starts.begin(), starts.end() - static_cast<std::ptrdiff_t>(count));
                return starts;
            }
        }
        if (whole) {
            return std::nullopt;
        }
    }
}

/// At most the first `bytesLookedAt` bytes, up to the end of a code point.
std::string_view beginningOf(std::string_view line)
{
    std::size_t end = std::min(line.size(), bytesLookedAt);
    while (end > 0 && end < line.size() && isContinuation(line[end])) {
        --end;
    }
    return line.substr(0, end);
}

/// At most the last `bytesLookedAt` bytes, from the beginning of a code point.
std::string_view endOf(std::string_view line)
{
    std::size_t from = line.size() - std::min(line.size(), bytesLookedAt);
    while (from > 0 && from < line.size() && isContinuation(line[from])) {
        ++from;
    }
    return line.substr(from);
}

std::string paragraph(std::string_view text)
{
    Paragraph built;
    for (std::size_t at = 0; at < text.size();) {
        const auto [codePoint, length] = decode(text, at);
        built.add(codePoint);
        at += length;
    }
    return built.take();
}

} // namespace

std::optional<std::size_t> startOfLastCharacters(std::string_view text, std::size_t count)
{
    const auto starts = lastCharacters(text, count);
    if (!starts) {
        return std::nullopt;
    }
    return starts->empty() ? text.size() : starts->front();
}

std::string transcriptLine(const std::string& transcript, HUDTextMode textMode)
{
    if (textMode == HUDTextMode::clip) {
        return transcript;
    }
    const auto tooMany = lastCharacters(transcript, charactersInView + 1);
    return tooMany ? std::string(ellipsis) + transcript.substr(tooMany->at(1)) : transcript;
}

std::string drawnText(const std::string& line, HUDTextMode textMode)
{
    const bool full = textMode == HUDTextMode::full;
    const std::size_t most = charactersInView + (full ? 1 : 0); // a cut transcript has its "…"
    const std::string_view end = endOf(line);
    std::string drawn;
    bool tooLong = false;
    // What is dropped leaves gaps: more of the end is taken until enough remains.
    for (std::size_t taken = most + 1; !tooLong; taken *= 2) {
        const auto start = startOfLastCharacters(end, taken);
        drawn = paragraph(end.substr(start.value_or(0)));
        tooLong = startOfLastCharacters(drawn, most + 1).has_value();
        if (!start) {
            break;
        }
    }
    if (!tooLong) {
        return drawn;
    }
    const auto cut = startOfLastCharacters(drawn, charactersInView);
    return std::string(full ? ellipsis : "") + drawn.substr(*cut);
}

std::string drawnNotice(const std::string& notice)
{
    std::string drawn = paragraph(beginningOf(notice));
    const auto starts = characterStarts(drawn, 0);
    if (starts.size() > charactersInView) {
        drawn.replace(starts[charactersInView], std::string::npos, ellipsis);
    }
    return drawn;
}

bool runsRightToLeft(std::string_view text)
{
    for (std::size_t at = 0; at < std::min(text.size(), bytesLookedAt);) {
        const auto [codePoint, length] = decode(text, at);
        switch (utf8proc_get_property(codePoint)->bidi_class) {
        case UTF8PROC_BIDI_CLASS_L: return false;
        case UTF8PROC_BIDI_CLASS_R:
        case UTF8PROC_BIDI_CLASS_AL: return true;
        default: at += length;
        }
    }
    return false;
}

} // namespace vorlin
