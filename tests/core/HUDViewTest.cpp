#include "HUDView.h"
#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>

namespace vorlin {
namespace {

using Phase = Dictation::Phase;

constexpr std::array phases = {Phase::idle, Phase::preparing, Phase::listening, Phase::finishing};
const std::string warning = "No sound from the microphone. Check Microphone access.";

/// One session and settings to look at, set up by each test.
class HUDViewTest : public testing::Test {
protected:
    HUDSession session;
    HUDSettings settings;

    HUDView view() const { return HUDView::of(session, settings); }
    std::string label() const { return view().label; }
};

TEST_F(HUDViewTest, aNoticeIsTheLabelWhenIdle)
{
    session.notice = "The recogniser failed.";
    session.transcript = "hello";
    session.micSilent = true;
    EXPECT_EQ(label(), "The recogniser failed.");
    session.phase = Phase::preparing;
    EXPECT_EQ(label(), "Getting ready…");
}

TEST_F(HUDViewTest, aSilentMicrophoneWhileListeningReplacesTheWaveformWithTheWarning)
{
    session.phase = Phase::listening;
    EXPECT_TRUE(view().showWaveform);
    session.micSilent = true;
    for (const bool showText : {true, false}) {
        settings.showText = showText;
        EXPECT_FALSE(view().showWaveform);
        EXPECT_TRUE(view().showMeter);
        EXPECT_EQ(label(), warning);
    }
    session.transcript = "hello";
    EXPECT_EQ(label(), warning);
}

TEST_F(HUDViewTest, aSilentMicrophoneIsNoWarningInOtherPhases)
{
    session.micSilent = true;
    session.transcript = "hello";
    session.phase = Phase::finishing;
    EXPECT_EQ(label(), "hello");
    session.phase = Phase::preparing;
    EXPECT_EQ(label(), "Getting ready…");
    session.phase = Phase::idle;
    EXPECT_EQ(label(), "hello");
}

TEST_F(HUDViewTest, finishingShowsTheTextHeardOrSaysThatItTranscribes)
{
    session.phase = Phase::finishing;
    EXPECT_EQ(label(), "Transcribing…");
    session.transcript = "hello";
    EXPECT_EQ(label(), "hello");
    settings.showText = false;
    EXPECT_EQ(label(), "Transcribing…");
}

TEST_F(HUDViewTest, preparingSaysSoWhateverWasHeardBefore)
{
    session.phase = Phase::preparing;
    session.transcript = "hello";
    EXPECT_EQ(label(), "Getting ready…");
}

TEST_F(HUDViewTest, aNoticeOfARunningDictationIsNotShown)
{
    session.notice = "Cancelled";
    session.phase = Phase::listening;
    session.transcript = "hello";
    EXPECT_EQ(label(), "hello");
    EXPECT_EQ(view().icon, "mic.fill");
}

TEST_F(HUDViewTest, inFullModeATextOf421CharactersShowsItsLast420)
{
    session.phase = Phase::listening;
    settings.textMode = HUDTextMode::full;
    const std::string text(420, 'a');
    session.transcript = text;
    EXPECT_EQ(label(), text);
    session.transcript = "x" + text;
    EXPECT_EQ(label(), "…" + text);
    EXPECT_EQ(view().text, "…" + text);
    settings.textMode = HUDTextMode::clip;
    EXPECT_EQ(label(), "x" + text);
}

TEST_F(HUDViewTest, theWaveformStaysWithoutShownTextAndElseGivesWayAtTheFirstWord)
{
    session.phase = Phase::listening;
    for (const bool showText : {true, false}) {
        settings.showText = showText;
        session.transcript = "";
        EXPECT_TRUE(view().showWaveform);
        EXPECT_FALSE(view().showMeter);
        session.transcript = "hello";
        EXPECT_EQ(view().showWaveform, !showText);
        EXPECT_EQ(view().showMeter, showText);
    }
}

TEST_F(HUDViewTest, onlyListeningShowsLevels)
{
    for (const auto phase : phases) {
        session.phase = phase;
        EXPECT_EQ(view().showWaveform || view().showMeter, phase == Phase::listening);
    }
}

TEST_F(HUDViewTest, cancelledShowsTheCrossInOrange)
{
    session.notice = "Cancelled";
    EXPECT_EQ(label(), "Cancelled");
    EXPECT_EQ(view().icon, "xmark.circle");
    EXPECT_EQ(view().tint, HUDTint::orange);
}

TEST_F(HUDViewTest, anyOtherNoticeShowsTheExclamationMarkInOrange)
{
    for (const auto* notice : {"cancelled", "Cancelled.", "No microphone was found.", ""}) {
        session.notice = notice;
        EXPECT_EQ(view().icon, "exclamationmark.circle");
        EXPECT_EQ(view().tint, HUDTint::orange);
    }
    session.notice.reset();
    EXPECT_EQ(view().icon, "exclamationmark.circle");
}

TEST_F(HUDViewTest, everyPhaseHasItsSymbolAndTint)
{
    session.phase = Phase::preparing;
    EXPECT_EQ(view().icon, "arrow.down.circle");
    EXPECT_EQ(view().tint, HUDTint::secondary);
    session.phase = Phase::listening;
    EXPECT_EQ(view().icon, "mic.fill");
    EXPECT_EQ(view().tint, HUDTint::red);
    session.phase = Phase::finishing;
    EXPECT_EQ(view().icon, "text.cursor");
    EXPECT_EQ(view().tint, HUDTint::secondary);
}

TEST_F(HUDViewTest, theEscHintStandsWhileADictationRuns)
{
    for (const auto phase : phases) {
        session.phase = phase;
        settings.showEsc = true;
        EXPECT_EQ(view().showEsc, phase != Phase::idle);
        settings.showEsc = false;
        EXPECT_FALSE(view().showEsc);
    }
}

TEST_F(HUDViewTest, thePanelIsHuggedAtTheEdgesOfThePosition)
{
    using H = HorizontalAlignment;
    using V = VerticalAlignment;
    for (std::size_t i = 0; i < hudPositions.size(); ++i) {
        settings.position = hudPositions.at(i);
        EXPECT_EQ(view().horizontal, (std::array{H::leading, H::center, H::trailing}.at(i % 3)));
        EXPECT_EQ(view().vertical, (std::array{V::top, V::center, V::bottom}.at(i / 3)));
    }
}

TEST_F(HUDViewTest, theLayoutIsThatOfScaleAndTextMode)
{
    settings.scale = 1.3;
    settings.textMode = HUDTextMode::full;
    EXPECT_EQ(view().layout, hudLayout(1.3, HUDTextMode::full, HUDKept::end));
    settings.textMode = HUDTextMode::clip;
    EXPECT_EQ(view().layout, hudLayout(1.3, HUDTextMode::clip, HUDKept::end));
}

TEST_F(HUDViewTest, hostileTextStaysOneParagraph)
{
    session.phase = Phase::listening;
    session.transcript = "a\nb\x1B\u202E" + std::string(1'000'000, 'c') + "\r\nthe end\u2028";
    for (const auto mode : {HUDTextMode::clip, HUDTextMode::full}) {
        settings.textMode = mode;
        const std::string text = view().text;
        EXPECT_LT(text.size(), 500U);
        EXPECT_TRUE(text.ends_with("c the end"));
        EXPECT_EQ(text.find('\n'), std::string::npos);
    }
    session.phase = Phase::idle;
    session.notice = session.transcript;
    EXPECT_LT(view().text.size(), 500U);
}

TEST_F(HUDViewTest, noticesAndWarningsKeepTheirBeginningLiveTextItsEnd)
{
    session.phase = Phase::listening;
    session.transcript = "hello";
    for (const auto mode : {HUDTextMode::clip, HUDTextMode::full}) {
        settings.textMode = mode;
        session.micSilent = false;
        session.phase = Phase::listening;
        EXPECT_EQ(view().layout, hudLayout(1, mode, HUDKept::end));
        session.phase = Phase::finishing;
        EXPECT_EQ(view().layout, hudLayout(1, mode, HUDKept::end));
        session.phase = Phase::listening;
        session.micSilent = true;
        EXPECT_EQ(view().layout, hudLayout(1, mode, HUDKept::beginning));
        session.phase = Phase::idle;
        session.notice = "The recogniser failed.";
        EXPECT_EQ(view().layout, hudLayout(1, mode, HUDKept::beginning));
        session.notice.reset();
    }
}

TEST_F(HUDViewTest, aNoticeThatIsFarTooLongIsCutAtItsEnd)
{
    session.notice = "The beginning " + std::string(1'000'000, 'c');
    for (const auto mode : {HUDTextMode::clip, HUDTextMode::full}) {
        settings.textMode = mode;
        EXPECT_TRUE(view().text.starts_with("The beginning c"));
        EXPECT_TRUE(view().text.ends_with("c…"));
        EXPECT_LT(view().text.size(), 500U);
    }
    EXPECT_TRUE(hudAnnouncement(session).starts_with("The beginning c"));
}

TEST_F(HUDViewTest, aCutTextKeepsTheDirectionItBeganWith)
{
    session.phase = Phase::listening;
    session.transcript = "\u05E9\u05DC\u05D5\u05DD " + std::string(2000, 'a');
    EXPECT_TRUE(view().rightToLeft);
    session.transcript = "hello \u05E9\u05DC\u05D5\u05DD";
    EXPECT_FALSE(view().rightToLeft);
}

TEST_F(HUDViewTest, aScreenReaderHearsPhasesWarningsAndNotices)
{
    EXPECT_EQ(hudAnnouncement(session), "");
    session.notice = "The recogniser\nfailed.";
    EXPECT_EQ(hudAnnouncement(session), "The recogniser failed.");
    session.phase = Phase::preparing;
    EXPECT_EQ(hudAnnouncement(session), "Getting ready…");
    session.phase = Phase::listening;
    session.transcript = "hello";
    EXPECT_EQ(hudAnnouncement(session), "Listening");
    session.micSilent = true;
    EXPECT_EQ(hudAnnouncement(session), warning);
    session.phase = Phase::finishing;
    EXPECT_EQ(hudAnnouncement(session), "Transcribing…");
}

class HUDSettingsTest : public testing::Test {
protected:
    FakeDefaults defaults;
    FakeLocale locale;
    Preferences preferences{defaults, locale};

    HUDSettings read() const { return HUDSettings::read(preferences); }
};

TEST_F(HUDSettingsTest, areTheStoredOnes)
{
    EXPECT_EQ(read(), HUDSettings{});
    defaults.values = {{"hud.position", "topLeft"}, {"hud.margin", 200.0},
                       {"hud.scale", 1.3},          {"hud.display", "main"},
                       {"hud.textMode", "full"},    {"hud.showText", false},
                       {"hud.showEsc", false}};
    EXPECT_EQ(read(), (HUDSettings{HUDPosition::topLeft, 200, 1.3, HUDDisplay::main,
                                   HUDTextMode::full, false, false}));
}

TEST_F(HUDSettingsTest, aScaleThatIsNoNumberAboveZeroIsTheDefault)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double damaged :
         {0.0, -1.0, -1e300, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
        defaults.values["hud.scale"] = damaged;
        EXPECT_EQ(read().scale, 1.0) << damaged;
    }
}

TEST_F(HUDSettingsTest, aScaleIsKeptWhereItCanBeSeen)
{
    for (const auto& [stored, used] : {std::pair{1e-9, 0.5},
                                       {0.1, 0.5},
                                       {0.5, 0.5},
                                       {0.7, 0.7},
                                       {2.5, 2.5},
                                       {4.0, 4.0},
                                       {1e300, 4.0}}) {
        defaults.values["hud.scale"] = stored;
        EXPECT_EQ(read().scale, used);
    }
}

TEST_F(HUDSettingsTest, aMarginThatIsNoNumberIsTheDefaultAndNoneIsNegative)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double damaged : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
        defaults.values["hud.margin"] = damaged;
        EXPECT_EQ(read().margin, 56.0);
    }
    defaults.values["hud.margin"] = -12.0;
    EXPECT_EQ(read().margin, 0.0);
    defaults.values["hud.margin"] = 0.0;
    EXPECT_EQ(read().margin, 0.0);
}

} // namespace
} // namespace vorlin
