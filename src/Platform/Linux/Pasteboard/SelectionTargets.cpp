#include "Platform/Linux/Pasteboard/SelectionTargets.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vorlin {

namespace {

constexpr char separator = '\x1f';
/// Longer names are no program's; display servers allow 65535 bytes.
constexpr std::size_t longestName = 512;

bool isUsableName(std::string_view name)
{
    return !name.empty() && name.size() <= longestName &&
           name.find(separator) == std::string_view::npos;
}

template <std::size_t N>
bool contains(const std::array<std::string_view, N>& names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

struct Decoded {
    char32_t character;
    std::size_t length;
};

constexpr char32_t notACharacter = 0xfffd;

Decoded decode(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return {first, 1};
    }
    const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length) {
        return {notACharacter, 1};
    }
    char32_t character = first & (0x7fU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xc0U) != 0x80) {
            return {notACharacter, 1};
        }
        character = (character << 6U) | (byte(i) & 0x3fU);
    }
    return {character, length};
}

std::string_view plainForm(char32_t character)
{
    switch (character) {
    case 0x2018:
    case 0x2019: return "'";
    case 0x201c:
    case 0x201d: return "\"";
    case 0x2010:
    case 0x2011:
    case 0x2013:
    case 0x2014: return "-";
    case 0x2026: return "...";
    default: return "?";
    }
}

} // namespace

std::optional<std::string> pasteboardType(const TargetForm& form)
{
    if (!isUsableName(form.target) || !isUsableName(form.type)) {
        return std::nullopt;
    }
    if (form.type == form.target && form.format == 8) {
        return form.target;
    }
    return form.target + separator + form.type + separator + std::to_string(form.format);
}

std::optional<TargetForm> targetForm(std::string_view pasteboardType)
{
    TargetForm form;
    const std::size_t first = pasteboardType.find(separator);
    form.target = pasteboardType.substr(0, first);
    form.type = form.target;
    if (first != std::string_view::npos) {
        const std::string_view rest = pasteboardType.substr(first + 1);
        const std::size_t second = rest.find(separator);
        form.type = rest.substr(0, second);
        form.format = rest.ends_with("32") ? 32 : rest.ends_with("16") ? 16 : 8;
    }
    // Only what the one function writes, the other reads.
    if (vorlin::pasteboardType(form) != pasteboardType) {
        return std::nullopt;
    }
    return form;
}

bool isKeptTarget(std::string_view target)
{
    static constexpr std::array<std::string_view, 19> others = {
        // About the selection or its owner, answered anew by whoever owns it.
        "TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "CLIENT_WINDOW", "INCR",
        // To ask for them is to change something.
        "DELETE", "INSERT_SELECTION", "INSERT_PROPERTY", "LINK_SELECTION", "MOVE_SELECTION",
        "_MOTIF_LOSE_SELECTION", "_MOTIF_DESTROY",
        // Numbers of things that die with the owner.
        "PIXMAP", "BITMAP", "DRAWABLE", "COLORMAP",
        // An address in the owner's memory; another name for images that are offered as such.
        "GTK_TEXT_BUFFER_CONTENTS", "application/x-qt-image"};
    return isUsableName(target) && !contains(others, target) && !target.starts_with("INSERT_");
}

bool isKeptType(std::string_view type)
{
    static constexpr std::array<std::string_view, 8> handles = {
        "INCR", "PIXMAP", "BITMAP", "DRAWABLE", "WINDOW", "COLORMAP", "CURSOR", "FONT"};
    return isUsableName(type) && !contains(handles, type);
}

int readingOrder(std::string_view target)
{
    static constexpr std::array<std::string_view, 6> plainText = {
        "UTF8_STRING", "text/plain;charset=utf-8", "STRING", "TEXT", "text/plain", "COMPOUND_TEXT"};
    const auto plain = std::find(plainText.begin(), plainText.end(), target);
    if (plain != plainText.end()) {
        return static_cast<int>(plain - plainText.begin());
    }
    if (target.starts_with("text/") || target == "x-special/gnome-copied-files") {
        return 10;
    }
    // Of an image offered in twenty encodings, each computed on request, this one brings it back.
    if (target == "image/png") {
        return 11;
    }
    return target.starts_with("image/") ? 13 : 12;
}

std::vector<std::uint32_t> numbersIn(std::span<const std::uint8_t> bytes, std::size_t most)
{
    std::vector<std::uint32_t> numbers(std::min(bytes.size() / sizeof(std::uint32_t), most));
    if (!numbers.empty()) {
        std::memcpy(numbers.data(), bytes.data(), numbers.size() * sizeof(std::uint32_t));
    }
    return numbers;
}

std::vector<std::uint8_t> latin1Of(std::string_view text, bool* exact)
{
    bool all = true;
    std::vector<std::uint8_t> latin1;
    latin1.reserve(text.size());
    while (!text.empty()) {
        const Decoded next = decode(text);
        text.remove_prefix(next.length);
        if (next.character < 0x100) {
            latin1.push_back(static_cast<std::uint8_t>(next.character));
            continue;
        }
        all = false;
        for (const char plain : plainForm(next.character)) {
            latin1.push_back(static_cast<std::uint8_t>(plain));
        }
    }
    if (exact != nullptr) {
        *exact = all;
    }
    return latin1;
}

} // namespace vorlin
