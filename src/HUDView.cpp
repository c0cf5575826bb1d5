#include "HUDView.h"

#include "HUDText.h"

#include <algorithm>
#include <cmath>

namespace vorlin {

namespace {

using Phase = Dictation::Phase;

constexpr double smallestScale = 0.5;
constexpr double largestScale = 4;

constexpr auto gettingReady = "Getting ready…";
constexpr auto transcribing = "Transcribing…";
constexpr auto noSound = "No sound from the microphone. Check Microphone access.";

/// The notice or warning that stands in place of everything else.
std::optional<std::string> noticeOf(const HUDSession& session)
{
    if (session.notice && session.phase == Phase::idle) {
        return session.notice;
    }
    if (session.micSilent && session.phase == Phase::listening) {
        return noSound;
    }
    return std::nullopt;
}

/// The status or the live text.
std::string lineOf(const HUDSession& session, const HUDSettings& settings)
{
    const Phase phase = session.phase;
    if (phase == Phase::finishing && (session.transcript.empty() || !settings.showText)) {
        return transcribing;
    }
    if (phase == Phase::preparing) {
        return gettingReady;
    }
    return transcriptLine(session.transcript, settings.textMode);
}

std::string_view iconOf(const HUDSession& session)
{
    switch (session.phase) {
    case Phase::idle:
        return session.notice == "Cancelled" ? "xmark.circle" : "exclamationmark.circle";
    case Phase::preparing: return "arrow.down.circle";
    case Phase::listening: return "mic.fill";
    case Phase::finishing: break;
    }
    return "text.cursor";
}

HUDTint tintOf(Phase phase)
{
    switch (phase) {
    case Phase::idle: return HUDTint::orange;
    case Phase::listening: return HUDTint::red;
    default: return HUDTint::secondary;
    }
}

} // namespace

HUDSettings HUDSettings::read(const Preferences& preferences)
{
    const HUDSettings defaults;
    const double scale = preferences.hudScale();
    const double margin = preferences.hudMargin();
    return {
        .position = preferences.hudPosition(),
        .margin = std::isfinite(margin) ? std::max(0.0, margin) : defaults.margin,
        .scale = std::isfinite(scale) && scale > 0 ? std::clamp(scale, smallestScale, largestScale)
                                                   : defaults.scale,
        .display = preferences.hudDisplay(),
        .textMode = preferences.hudTextMode(),
        .showText = preferences.hudShowText(),
        .showEsc = preferences.hudShowEsc(),
    };
}

HUDView HUDView::of(const HUDSession& session, const HUDSettings& settings)
{
    const bool listening = session.phase == Phase::listening;
    const auto notice = noticeOf(session);
    HUDView view;
    view.label = notice ? *notice : lineOf(session, settings);
    view.text = notice ? drawnNotice(view.label) : drawnText(view.label, settings.textMode);
    view.rightToLeft = runsRightToLeft(view.label);
    view.showWaveform =
        listening && !session.micSilent && (session.transcript.empty() || !settings.showText);
    view.showMeter = listening && !view.showWaveform;
    view.showEsc = settings.showEsc && session.hasEscape && session.phase != Phase::idle;
    view.icon = iconOf(session);
    view.tint = tintOf(session.phase);
    view.horizontal = horizontalAlignment(settings.position);
    view.vertical = verticalAlignment(settings.position);
    view.layout =
        hudLayout(settings.scale, settings.textMode, notice ? HUDKept::beginning : HUDKept::end);
    return view;
}

std::string hudAnnouncement(const HUDSession& session)
{
    switch (session.phase) {
    case Phase::preparing: return gettingReady;
    case Phase::listening: return session.micSilent ? noSound : "Listening";
    case Phase::finishing: return transcribing;
    case Phase::idle: break;
    }
    return drawnNotice(session.notice.value_or(""));
}

} // namespace vorlin
