#include "HUDModel.h"
#include "fakes/FakeAudioInput.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeTranscriber.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Phase = Dictation::Phase;
using Texts = std::vector<std::string>;

/// A dictation that the test plays, and what the overlay shows of it.
class HUDModelTest : public testing::Test {
protected:
    SimulatedLoop loop;
    FakeAudioInput microphone;
    FakeDefaults defaults;
    FakeLocale locale;
    Preferences preferences{defaults, locale};
    Dictation dictation{loop, microphone};
    std::shared_ptr<FakeTranscriber> engine = std::make_shared<FakeTranscriber>();
    std::unique_ptr<HUDModel> model = std::make_unique<HUDModel>(loop, dictation, preferences);
    Texts said;
    Subscription listener = model->announcement.observe(
        [this](const HUDAnnouncement& announcement) { said.push_back(announcement.text); });

    const HUDView& view() const { return model->view.get(); }

    void press()
    {
        dictation.keyDown([this] { return engine; });
    }
    void listen()
    {
        press();
        loop.runReady();
        ASSERT_EQ(dictation.phase.get(), Phase::listening);
    }
    void hear(const std::string& text)
    {
        engine->onText(text);
        loop.runReady();
    }
    void deliver(float value, int buffers = 1)
    {
        for (int i = 0; i < buffers; ++i) {
            microphone.deliver(value);
        }
        loop.runReady();
    }
    void release()
    {
        dictation.keyUp();
        loop.runReady();
    }
};

TEST_F(HUDModelTest, escapeIsOfferedOnlyWhereItCancels)
{
    listen();
    EXPECT_TRUE(view().showEsc);
    model->setHasEscape(false);
    EXPECT_FALSE(view().showEsc);
    release();
    model->setHasEscape(true);
    EXPECT_FALSE(view().showEsc) << "it fades as it was";
    listen();
    EXPECT_TRUE(view().showEsc);
    EXPECT_EQ(std::ranges::count(said, "Listening"), 2) << "nothing is said of it";
}

TEST_F(HUDModelTest, followsADictationFromPressToText)
{
    engine->finishesAtOnceWith.reset();
    press();
    EXPECT_EQ(view().label, "Getting ready…");
    loop.runReady();
    EXPECT_TRUE(view().showWaveform);
    hear("hello");
    EXPECT_FALSE(view().showWaveform);
    EXPECT_EQ(view().text, "hello");
    release();
    EXPECT_EQ(view().icon, "text.cursor");
    EXPECT_EQ(view().text, "hello");
    engine->completeFinish("hello");
    loop.runReady();
}

TEST_F(HUDModelTest, showsANoticeOnceIdle)
{
    press();
    loop.runReady();
    dictation.cancel();
    EXPECT_EQ(view().label, "Cancelled");
    EXPECT_EQ(view().icon, "xmark.circle");
    EXPECT_FALSE(view().showEsc);
}

TEST_F(HUDModelTest, keepsTheLastLookWhileAGoodEndFadesOut)
{
    listen();
    hear("hello");
    Texts icons;
    const auto watch =
        model->view.observe([&](const HUDView& now) { icons.emplace_back(now.icon); });
    release();
    EXPECT_EQ(dictation.phase.get(), Phase::idle);
    EXPECT_EQ(icons, Texts{"text.cursor"});
    EXPECT_EQ(view().text, "hello");
    EXPECT_TRUE(view().showEsc);
}

TEST_F(HUDModelTest, showsNothingOfTheLastDictationInTheNext)
{
    listen();
    hear("hello");
    release();
    engine = std::make_shared<FakeTranscriber>();
    listen();
    EXPECT_TRUE(view().showWaveform);
    EXPECT_EQ(view().label, "");
    for (const double height : model->waveform.get().heights) {
        EXPECT_EQ(height, 4);
    }
}

TEST_F(HUDModelTest, warnsOfASilentMicrophoneAndTakesItBack)
{
    listen();
    deliver(0, 34);
    EXPECT_TRUE(view().showWaveform);
    deliver(0);
    EXPECT_EQ(view().label, "No sound from the microphone. Check Microphone access.");
    deliver(0.5F);
    EXPECT_TRUE(view().showWaveform);
}

TEST_F(HUDModelTest, movesTheWaveformWithTheLevels)
{
    listen();
    EXPECT_EQ(model->waveform.get().heights, std::vector<double>(28, 4));
    deliver(1);
    EXPECT_EQ(model->waveform.get().heights.back(), 26);
    EXPECT_EQ(model->waveform.get().heights.front(), 4);
    EXPECT_TRUE(model->meter.get().heights.empty());
}

TEST_F(HUDModelTest, movesTheMeterWithTheNewestFourLevelsWhenThereIsText)
{
    listen();
    deliver(1);
    hear("hello");
    EXPECT_EQ(model->meter.get().heights, (std::vector<double>{3, 3, 3, 18}));
    const auto frozen = model->waveform.get();
    deliver(1);
    EXPECT_EQ(model->meter.get().heights, (std::vector<double>{3, 3, 18, 18}));
    EXPECT_EQ(model->waveform.get(), frozen) << "what is not shown does not move";
}

TEST_F(HUDModelTest, changesNothingWhenNothingMoves)
{
    listen();
    int changes = 0;
    const auto count = [&changes](const auto&) { ++changes; };
    const std::vector<Subscription> watches = {
        model->view.observe(count), model->waveform.observe(count), model->meter.observe(count)};
    deliver(0, 30);
    EXPECT_EQ(changes, 0);
    loop.advance(60s);
    EXPECT_EQ(changes, 0);
}

TEST_F(HUDModelTest, aChangedSettingReachesTheViewAtOnce)
{
    listen();
    hear("hello");
    defaults.set("hud.scale", 1.3);
    EXPECT_EQ(view().layout, hudLayout(1.3, HUDTextMode::clip, HUDKept::end));
    EXPECT_DOUBLE_EQ(model->meter.get().barWidth, 3 * 1.3);
    defaults.set("hud.textMode", "full");
    EXPECT_EQ(view().layout.mostLines, 0);
    defaults.set("hud.position", "topLeft");
    EXPECT_EQ(view().horizontal, HorizontalAlignment::leading);
    EXPECT_EQ(view().vertical, VerticalAlignment::top);
    defaults.set("hud.showEsc", false);
    EXPECT_FALSE(view().showEsc);
    defaults.set("hud.showText", false);
    EXPECT_TRUE(view().showWaveform);
    EXPECT_EQ(model->waveform.get().heights.size(), 28U);
    defaults.set("hud.scale", std::nullopt);
    EXPECT_EQ(view().layout.scale, 1);
}

TEST_F(HUDModelTest, aSettingChangedBehindItsBackIsSeenWhenAsked)
{
    defaults.values["hud.scale"] = 0.85;
    EXPECT_EQ(view().layout.scale, 1);
    model->readSettings();
    EXPECT_EQ(view().layout.scale, 0.85);
    EXPECT_EQ(model->settings.get().scale, 0.85);
}

TEST_F(HUDModelTest, otherSettingsChangeNothing)
{
    int changes = 0;
    const auto watch = model->view.observe([&](const HUDView&) { ++changes; });
    defaults.set("sounds", false);
    EXPECT_EQ(changes, 0);
}

TEST_F(HUDModelTest, announcesPhasesAndNotices)
{
    listen();
    deliver(0, 35);
    engine->finishesAtOnceWith.reset();
    release();
    engine->completeFinish("");
    loop.runReady();
    listen();
    dictation.cancel();
    loop.runReady();
    EXPECT_EQ(said, (Texts{"Getting ready…", "Listening",
                           "No sound from the microphone. Check Microphone access.",
                           "Transcribing…", "Getting ready…", "Listening", "Cancelled"}));
}

TEST_F(HUDModelTest, announcesAPhaseAndItsNoticeTogether)
{
    microphone.startFailure = "No microphone was found.";
    press();
    loop.runReady();
    EXPECT_EQ(said, (Texts{"Getting ready…", "No microphone was found."}));
}

TEST_F(HUDModelTest, announcesTheSameNoticeAgainTheNextTime)
{
    for (int i = 0; i < 2; ++i) {
        press();
        dictation.cancel();
        loop.runReady();
    }
    EXPECT_EQ(std::ranges::count(said, "Cancelled"), 1) << "nothing else was to be said in between";
    listen();
    dictation.cancel();
    loop.runReady();
    EXPECT_EQ(std::ranges::count(said, "Cancelled"), 2);
    EXPECT_EQ(model->announcement.get().number, static_cast<std::int64_t>(said.size()));
}

TEST_F(HUDModelTest, announcesTheSameNoticeAgainAfterASilence)
{
    for (int i = 0; i < 2; ++i) {
        dictation.demo();
        loop.runReady();
        dictation.cancel();
        loop.runReady();
    }
    EXPECT_EQ(said, (Texts{"Cancelled", "Cancelled"}));
}

TEST_F(HUDModelTest, saysNothingOfLevelsTextAndPreviews)
{
    listen();
    said.clear();
    deliver(0.5F, 10);
    hear("hello");
    EXPECT_TRUE(said.empty());
    release();
    said.clear();
    dictation.demo();
    loop.advance(10s);
    EXPECT_TRUE(said.empty());
}

TEST_F(HUDModelTest, goesWithoutATrace)
{
    listen();
    model.reset();
    deliver(0.5F);
    hear("hello");
    defaults.set("hud.scale", 1.3);
    dictation.cancel();
    loop.runReady();
}

} // namespace
} // namespace vorlin
