#include "Preferences.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace vorlin {

namespace {

std::string_view asText(const Bytes& data)
{
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

constexpr std::array<std::string_view, 9> positionNames = {
    "topLeft",     "topCenter",  "topRight",     "middleLeft",  "middleCenter",
    "middleRight", "bottomLeft", "bottomCenter", "bottomRight",
};

/// The first whose identifier begins with a language code.
auto listedLanguage(const std::string& code)
{
    return std::ranges::find_if(dictationLanguages, [&](const DictationLanguage& language) {
        return language.identifier.starts_with(code);
    });
}

} // namespace

std::string_view rawValue(RecordMode mode)
{
    return mode == RecordMode::toggle ? "toggle" : "hold";
}

std::string_view rawValue(HUDPosition position)
{
    return positionNames.at(static_cast<std::size_t>(position));
}

std::string_view rawValue(HUDDisplay display)
{
    return display == HUDDisplay::main ? "main" : "cursor";
}

std::string_view rawValue(HUDTextMode mode)
{
    return mode == HUDTextMode::full ? "full" : "clip";
}

double scale(HUDSize size)
{
    switch (size) {
    case HUDSize::small: return 0.85;
    case HUDSize::medium: return 1.0;
    case HUDSize::large: break;
    }
    return 1.3;
}

Preferences::Preferences(Defaults& defaults, const Locale& locale)
    : defaults(defaults), locale(locale)
{
}

template <class T>
T Preferences::read(const char* key, T otherwise) const
{
    const auto value = defaults.value(key);
    const T* stored = value ? std::get_if<T>(&*value) : nullptr;
    return stored ? *stored : otherwise;
}

Hotkey Preferences::hotkey(const Hotkey& otherwise) const
{
    const auto data = read<Bytes>("hotkey.v2", {});
    return Hotkey::decode(asText(data)).value_or(otherwise);
}

void Preferences::setHotkey(const Hotkey& hotkey)
{
    const std::string json = hotkey.encoded();
    defaults.set("hotkey.v2", Bytes(json.begin(), json.end()));
}

RecordMode Preferences::recordMode() const
{
    return read<std::string>("recordMode", {}) == "toggle" ? RecordMode::toggle : RecordMode::hold;
}

void Preferences::setRecordMode(RecordMode mode)
{
    defaults.set("recordMode", std::string(rawValue(mode)));
}

bool Preferences::sounds() const
{
    return read("sounds", true);
}

void Preferences::setSounds(bool on)
{
    defaults.set("sounds", on);
}

std::string Preferences::language() const
{
    return read<std::string>("language", defaultLanguage());
}

void Preferences::setLanguage(const std::string& identifier)
{
    defaults.set("language", identifier);
}

HUDPosition Preferences::hudPosition() const
{
    const auto stored = read<std::string>("hud.position", {});
    for (std::size_t i = 0; i < positionNames.size(); ++i) {
        if (positionNames.at(i) == stored) {
            return static_cast<HUDPosition>(i);
        }
    }
    return HUDPosition::bottomCenter;
}

void Preferences::setHUDPosition(HUDPosition position)
{
    defaults.set("hud.position", std::string(rawValue(position)));
}

double Preferences::hudMargin() const
{
    return read("hud.margin", 56.0);
}

void Preferences::setHUDMargin(double points)
{
    defaults.set("hud.margin", points);
}

double Preferences::hudScale() const
{
    return read("hud.scale", 1.0);
}

void Preferences::setHUDScale(double factor)
{
    defaults.set("hud.scale", factor);
}

HUDDisplay Preferences::hudDisplay() const
{
    return read<std::string>("hud.display", {}) == "main" ? HUDDisplay::main : HUDDisplay::cursor;
}

void Preferences::setHUDDisplay(HUDDisplay display)
{
    defaults.set("hud.display", std::string(rawValue(display)));
}

HUDTextMode Preferences::hudTextMode() const
{
    return read<std::string>("hud.textMode", {}) == "full" ? HUDTextMode::full : HUDTextMode::clip;
}

void Preferences::setHUDTextMode(HUDTextMode mode)
{
    defaults.set("hud.textMode", std::string(rawValue(mode)));
}

bool Preferences::hudShowText() const
{
    return read("hud.showText", true);
}

void Preferences::setHUDShowText(bool show)
{
    defaults.set("hud.showText", show);
}

bool Preferences::hudShowEsc() const
{
    return read("hud.showEsc", true);
}

void Preferences::setHUDShowEsc(bool show)
{
    defaults.set("hud.showEsc", show);
}

std::optional<std::string> Preferences::engine() const
{
    const auto stored = defaults.value("engine");
    const auto* id = stored ? std::get_if<std::string>(&*stored) : nullptr;
    return id != nullptr ? std::optional(*id) : std::nullopt;
}

void Preferences::setEngine(const std::string& id)
{
    defaults.set("engine", id);
}

std::vector<Engine> Preferences::customEngines() const
{
    try {
        return Engine::decode(asText(read<Bytes>("customEngines", {})));
    } catch (const std::runtime_error&) {
        return {};
    }
}

std::vector<Engine> Preferences::adoptCustomEngines()
{
    auto engines = customEngines();
    if (!engines.empty()) {
        defaults.set("customEngines", defaults.value("customEngines"));
    }
    return engines;
}

void Preferences::setCustomEngines(const std::vector<Engine>& engines)
{
    if (const auto json = Engine::encoded(engines)) {
        defaults.set("customEngines", Bytes(json->begin(), json->end()));
    }
}

std::string displayName(std::string_view language)
{
    const auto found =
        std::ranges::find(dictationLanguages, language, &DictationLanguage::identifier);
    return std::string(found == dictationLanguages.end() ? language : found->displayName);
}

std::string Preferences::defaultLanguage() const
{
    const auto found = listedLanguage(locale.languageCode());
    return std::string(found == dictationLanguages.end() ? "en-US" : found->identifier);
}

std::string Preferences::unlistedLanguage() const
{
    const std::string code = locale.languageCode();
    const bool isTheirs =
        defaults.value("language").has_value() || listedLanguage(code) != dictationLanguages.end();
    return isTheirs ? std::string() : code;
}

Subscription Preferences::observe(std::function<void()> observer) const
{
    return defaults.observe([observer = std::move(observer)](const std::string&) { observer(); });
}

} // namespace vorlin
