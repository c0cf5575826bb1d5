#pragma once

#include "Async/Published.h"
#include "Engine.h"
#include "Hotkey.h"
#include "Ports/Defaults.h"
#include "Ports/Locale.h"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin {

/// How the dictation key works: held while speaking, or pressed once to start and once to stop.
enum class RecordMode { hold, toggle };
inline constexpr std::array recordModes = {RecordMode::hold, RecordMode::toggle};

/// Where on the screen the overlay stands.
enum class HUDPosition {
    topLeft,
    topCenter,
    topRight,
    middleLeft,
    middleCenter,
    middleRight,
    bottomLeft,
    bottomCenter,
    bottomRight,
};
inline constexpr std::array hudPositions = {
    HUDPosition::topLeft,    HUDPosition::topCenter,    HUDPosition::topRight,
    HUDPosition::middleLeft, HUDPosition::middleCenter, HUDPosition::middleRight,
    HUDPosition::bottomLeft, HUDPosition::bottomCenter, HUDPosition::bottomRight,
};

/// On which screen the overlay stands: the pointer's or the main one.
enum class HUDDisplay { cursor, main };

/// How the overlay shows live text: its end in one line, or all of it.
enum class HUDTextMode { clip, full };

/// The overlay's sizes that the settings offer; what is stored is the scale.
enum class HUDSize { small, medium, large };
inline constexpr std::array hudSizes = {HUDSize::small, HUDSize::medium, HUDSize::large};
double scale(HUDSize size);

/// A dictation language that the settings offer.
struct DictationLanguage {
    std::string_view identifier;
    std::string_view displayName;
};
inline constexpr std::array<DictationLanguage, 7> dictationLanguages = {{
    {"fr-FR", "Français"},
    {"en-US", "English (US)"},
    {"en-GB", "English (UK)"},
    {"es-ES", "Español"},
    {"de-DE", "Deutsch"},
    {"it-IT", "Italiano"},
    {"pt-PT", "Português"},
}};

/// What people call a language: as in the list, or its identifier where it is not there.
std::string displayName(std::string_view language);

/// The stored string of a setting: its case name.
std::string_view rawValue(RecordMode mode);
std::string_view rawValue(HUDPosition position);
std::string_view rawValue(HUDDisplay display);
std::string_view rawValue(HUDTextMode mode);

/// The settings, read from the store at every call. What is absent, malformed or of the wrong
/// type reads as its default; nothing fails. Main loop.
class Preferences {
public:
    /// The ports must outlive this object.
    Preferences(Defaults& defaults, const Locale& locale);

    /// The stored key; `otherwise` when none was ever stored or what is stored is no key.
    Hotkey hotkey(const Hotkey& otherwise = {}) const;
    void setHotkey(const Hotkey& hotkey);
    RecordMode recordMode() const;
    void setRecordMode(RecordMode mode);
    bool sounds() const;
    void setSounds(bool on);
    /// The dictation language, a locale identifier.
    std::string language() const;
    void setLanguage(const std::string& identifier);
    HUDPosition hudPosition() const;
    void setHUDPosition(HUDPosition position);
    /// Distance of the overlay from the screen's edge, in points.
    double hudMargin() const;
    void setHUDMargin(double points);
    double hudScale() const;
    void setHUDScale(double factor);
    HUDDisplay hudDisplay() const;
    void setHUDDisplay(HUDDisplay display);
    HUDTextMode hudTextMode() const;
    void setHUDTextMode(HUDTextMode mode);
    bool hudShowText() const;
    void setHUDShowText(bool show);
    bool hudShowEsc() const;
    void setHUDShowEsc(bool show);
    /// The id of the selected engine; nothing when none was ever selected.
    std::optional<std::string> engine() const;
    void setEngine(const std::string& id);
    /// The engines that the person added; none when the stored list is damaged in any place.
    std::vector<Engine> customEngines() const;
    /// The same, at the start. A list that was understood is stored again as it is: the person
    /// may have written it in a form that is not this desktop's own.
    std::vector<Engine> adoptCustomEngines();
    /// Stores the list; leaves the stored one when a text in it is not UTF-8.
    void setCustomEngines(const std::vector<Engine>& engines);

    /// The first language of `dictationLanguages` whose identifier begins with the person's
    /// language code, else "en-US". An empty code matches the first one.
    std::string defaultLanguage() const;
    /// The person's language code where no language was ever stored and `dictationLanguages` has
    /// none for it, so that the default is another language than theirs; else empty.
    std::string unlistedLanguage() const;

    /// Calls `observer` after any setting changed, here or from outside, for as long as the
    /// result is kept.
    [[nodiscard]] Subscription observe(std::function<void()> observer) const;

private:
    template <class T>
    T read(const char* key, T otherwise) const;

    Defaults& defaults;
    const Locale& locale;
};

} // namespace vorlin
