#include "Hotkey.h"
#include "Platform/Linux/Desktop/SettingsText.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

using namespace vorlin;

void require(bool condition, const char* claim)
{
    if (!condition) {
        std::fprintf(stderr, "this does not hold: %s\n", claim);
        std::abort();
    }
}

/// The keys that the program reads; others only pass through.
constexpr const char* keys[] = {"", "a", "b", "hotkey.v2", "sounds", "hud.scale", "language"};

void checkSettings(std::string_view text)
{
    auto settings = SettingsText::parse(text);
    if (!settings) {
        return;
    }
    const auto stored = settings->text();
    require(SettingsText::parse(stored) == settings, "stored settings read back as they were");
    for (const auto* key : keys) {
        const auto value = settings->value(key);
        if (value) {
            auto same = *settings;
            const bool changed = same.set(key, value);
            require(same.value(key) == value, "the value held is stored as it was read");
            require(!changed || std::holds_alternative<Bytes>(*value),
                    "storing the value held changes nothing but a list's form");
            require(!same.set(key, value), "storing it once more changes nothing");
            if (const auto* bytes = std::get_if<Bytes>(&*value)) {
                Hotkey::decode({reinterpret_cast<const char*>(bytes->data()), bytes->size()});
            }
        }
    }
    require(settings->text() == stored, "reading changes nothing");
    settings->set("a", 1.5);
    settings->set("b", Bytes{1, 2, 3});
    const auto again = SettingsText::parse(settings->text());
    require(again == settings, "changed settings read back as they were");
    require(again->value("a") == DefaultsValue(1.5), "a number reads as it was stored");
    require(again->value("b") == DefaultsValue(Bytes{1, 2, 3}), "bytes read as they were stored");
}

void checkHotkey(std::string_view text)
{
    const auto hotkey = Hotkey::decode(text);
    if (hotkey) {
        require(Hotkey::decode(hotkey->encoded()) == hotkey, "a hotkey survives its encoding");
        require(!hotkey->label().empty(), "every hotkey has a label");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkSettings(text);
    checkHotkey(text);
    return 0;
}
