#include "Hotkey.h"

#include <nlohmann/json.hpp>

#include <limits>

namespace vorlin {

using namespace eventFlags;

const std::map<std::uint16_t, std::string_view> Hotkey::modifierNames = {
    {54, "Right ⌘ Command"}, {55, "Left ⌘ Command"}, {58, "Left ⌥ Option"},
    {61, "Right ⌥ Option"},  {59, "Left ⌃ Control"}, {62, "Right ⌃ Control"},
    {56, "Left ⇧ Shift"},    {60, "Right ⇧ Shift"},  {63, "fn (Globe)"},
};

const std::map<std::uint16_t, std::string_view> Hotkey::keyNames = {
    {0, "A"},       {1, "S"},     {2, "D"},      {3, "F"},       {4, "H"},     {5, "G"},
    {6, "Z"},       {7, "X"},     {8, "C"},      {9, "V"},       {11, "B"},    {12, "Q"},
    {13, "W"},      {14, "E"},    {15, "R"},     {16, "Y"},      {17, "T"},    {31, "O"},
    {32, "U"},      {34, "I"},    {35, "P"},     {37, "L"},      {38, "J"},    {40, "K"},
    {45, "N"},      {46, "M"},    {18, "1"},     {19, "2"},      {20, "3"},    {21, "4"},
    {23, "5"},      {22, "6"},    {26, "7"},     {28, "8"},      {25, "9"},    {29, "0"},
    {36, "Return"}, {48, "Tab"},  {49, "Space"}, {51, "Delete"}, {123, "←"},   {124, "→"},
    {125, "↓"},     {126, "↑"},   {122, "F1"},   {120, "F2"},    {99, "F3"},   {118, "F4"},
    {96, "F5"},     {97, "F6"},   {98, "F7"},    {100, "F8"},    {101, "F9"},  {109, "F10"},
    {103, "F11"},   {111, "F12"}, {105, "F13"},  {107, "F14"},   {113, "F15"}, {106, "F16"},
    {64, "F17"},    {79, "F18"},  {80, "F19"},   {27, "-"},      {24, "="},    {33, "["},
    {30, "]"},      {41, ";"},    {39, "'"},     {43, ","},      {47, "."},    {44, "/"},
    {42, "\\"},     {50, "`"},
};

const std::set<std::uint16_t> Hotkey::standaloneCodes = {
    122, 120, 99, 118, 96, 97, 98, 100, 101, 109, 103, 111, 105, 107, 113, 106, 64, 79, 80,
};

const std::array<Hotkey, 4> Hotkey::presets = {{
    {keyCodes::rightOption, 0, true},
    {keyCodes::rightCommand, 0, true},
    {keyCodes::function, 0, true},
    {keyCodes::space, maskAlternate, false},
}};

namespace {

std::string nameIn(const std::map<std::uint16_t, std::string_view>& names, std::uint16_t keyCode)
{
    const auto found = names.find(keyCode);
    return found == names.end() ? "Key " + std::to_string(keyCode) : std::string(found->second);
}

} // namespace

std::string Hotkey::label() const
{
    if (modifierOnly) {
        return nameIn(modifierNames, keyCode);
    }
    static constexpr std::pair<std::uint64_t, std::string_view> symbols[] = {
        {maskControl, "⌃"}, {maskAlternate, "⌥"}, {maskShift, "⇧"}, {maskCommand, "⌘"}};
    std::string text;
    for (const auto& [mask, symbol] : symbols) {
        if ((modifiers & mask) != 0) {
            text += symbol;
        }
    }
    if (!text.empty()) {
        text += ' ';
    }
    return text + nameIn(keyNames, keyCode);
}

std::optional<std::uint64_t> Hotkey::flag(std::uint16_t forModifierKey)
{
    switch (forModifierKey) {
    case 54:
    case 55: return maskCommand;
    case 56:
    case 60: return maskShift;
    case 58:
    case 61: return maskAlternate;
    case 59:
    case 62: return maskControl;
    case 63: return maskSecondaryFn;
    default: return std::nullopt;
    }
}

std::string Hotkey::encoded() const
{
    return nlohmann::json{
        {"keyCode", keyCode}, {"modifiers", modifiers}, {"modifierOnly", modifierOnly}}
        .dump();
}

std::optional<Hotkey> Hotkey::decode(std::string_view json)
{
    const auto object = nlohmann::json::parse(json, nullptr, /*allow_exceptions=*/false);
    if (!object.is_object()) {
        return std::nullopt;
    }
    const auto keyCode = object.find("keyCode");
    const auto modifiers = object.find("modifiers");
    const auto modifierOnly = object.find("modifierOnly");
    if (keyCode == object.end() || modifiers == object.end() || modifierOnly == object.end() ||
        !keyCode->is_number_unsigned() || !modifiers->is_number_unsigned() ||
        !modifierOnly->is_boolean()) {
        return std::nullopt;
    }
    const auto code = keyCode->get<std::uint64_t>();
    if (code > std::numeric_limits<std::uint16_t>::max()) {
        return std::nullopt;
    }
    return Hotkey{static_cast<std::uint16_t>(code), modifiers->get<std::uint64_t>(),
                  modifierOnly->get<bool>()};
}

} // namespace vorlin

std::size_t std::hash<vorlin::Hotkey>::operator()(const vorlin::Hotkey& hotkey) const noexcept
{
    std::size_t seed = 0;
    const auto combine = [&seed](std::size_t value) {
        seed ^= value + 0x9e3779b97f4a7c15ULL + (seed << 6U) + (seed >> 2U);
    };
    combine(std::hash<std::uint16_t>{}(hotkey.keyCode));
    combine(std::hash<std::uint64_t>{}(hotkey.modifiers));
    combine(std::hash<bool>{}(hotkey.modifierOnly));
    return seed;
}
