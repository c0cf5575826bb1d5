#pragma once

#include "Dictation.h"
#include "HUDLayout.h"
#include "Preferences.h"

#include <optional>
#include <string>
#include <string_view>

namespace vorlin {

/// What the overlay shows of a dictation.
struct HUDSession {
    Dictation::Phase phase = Dictation::Phase::idle;
    std::string transcript;
    std::optional<std::string> notice;
    bool micSilent = false;
    /// Escape cancels.
    bool hasEscape = true;

    bool operator==(const HUDSession&) const = default;
};

/// The settings of the overlay, fit for use.
struct HUDSettings {
    HUDPosition position = HUDPosition::bottomCenter;
    double margin = 56;
    double scale = 1;
    HUDDisplay display = HUDDisplay::cursor;
    HUDTextMode textMode = HUDTextMode::clip;
    bool showText = true;
    bool showEsc = true;

    bool operator==(const HUDSettings&) const = default;

    /// Reads them. A scale that is no number above 0, and a margin that is no number, are damage
    /// and read as their defaults; a scale is kept within 0.5 and 4, a margin is not negative.
    static HUDSettings read(const Preferences& preferences);
};

enum class HUDTint { red, orange, secondary };

/// Everything the overlay draws but the moving bars. A view binds these values and decides
/// nothing.
struct HUDView {
    /// The text line by its rules, as it came.
    std::string label;
    /// `label` as it is drawn: valid UTF-8, one paragraph without line breaks and controls, and
    /// only as much of it as can ever be seen: of a notice or warning its beginning, of live text
    /// its end.
    std::string text;
    /// The paragraph's direction, by its first letter that has one.
    bool rightToLeft = false;
    /// The middle slot shows the waveform; otherwise the text.
    bool showWaveform = false;
    /// The leading slot shows the meter; otherwise the symbol `icon`.
    bool showMeter = false;
    bool showEsc = false;
    /// "xmark.circle", "exclamationmark.circle", "arrow.down.circle", "mic.fill" or
    /// "text.cursor"; a literal.
    std::string_view icon;
    HUDTint tint = HUDTint::secondary;
    /// Where the rounded rectangle sits in the panel. To the left and to the right, also where
    /// text runs from right to left.
    HorizontalAlignment horizontal = HorizontalAlignment::center;
    VerticalAlignment vertical = VerticalAlignment::bottom;
    HUDLayout layout;

    bool operator==(const HUDView&) const = default;

    static constexpr std::string_view esc = "esc";

    static HUDView of(const HUDSession& session, const HUDSettings& settings);
};

/// What a screen reader says of the session: its phase, warning or notice; nothing when idle
/// without a notice.
std::string hudAnnouncement(const HUDSession& session);

} // namespace vorlin
