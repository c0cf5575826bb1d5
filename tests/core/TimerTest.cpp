#include "Parakeet/ParakeetTranscriber.h"
#include "ParakeetFixture.h"
#include "VorlinApp.h"
#include "fakes/FakePorts.h"

#include <gtest/gtest.h>

#include <memory>

namespace vorlin {
namespace {

using namespace std::chrono_literals;

/// The program at a desktop of fakes.
struct Program {
    Program()
    {
        desktop.analyzers.spoken = "hello";
        desktop.keys.onPost = [this](const PostedKey&) { desktop.pasteboard.read(); };
    }

    void dictate(Duration speech)
    {
        desktop.tap.pressOption();
        desktop.loop.advance(speech);
        desktop.microphone.deliver(0.1F);
        desktop.tap.releaseOption();
        desktop.loop.runReady();
        ASSERT_EQ(model.dictation.phase.get(), Dictation::Phase::idle);
    }

    FakePorts desktop;
    VorlinApp app{desktop.ports(), [] {}};
    AppModel& model = app.model();
};

TEST(ProgramTimers, inIdleOnlyThePermissionsAreReadAgain)
{
    Program program;
    program.desktop.loop.advance(10s);
    EXPECT_EQ(program.desktop.loop.pendingTimers(), 1U);
    program.dictate(1s);
    program.desktop.loop.advance(10s);
    EXPECT_EQ(program.desktop.loop.pendingTimers(), 1U);
}

TEST(ProgramTimers, dictationsThatFollowEachOtherLeaveNoMoreTimersThanOne)
{
    Program program;
    program.dictate(10ms);
    const auto afterOne = program.desktop.loop.pendingTimers();
    for (int i = 0; i < 50; ++i) {
        program.dictate(10ms);
    }
    EXPECT_LE(program.desktop.loop.pendingTimers(), afterOne);
}

TEST(ProgramTimers, cancelledDictationsAndPreviewsLeaveNoMoreTimersThanOne)
{
    Program program;
    const auto once = [&] {
        program.desktop.tap.pressOption();
        program.desktop.loop.advance(10ms);
        program.desktop.tap.keyDown(keyCodes::escape);
        program.desktop.tap.releaseOption();
        program.model.previewHUD();
        program.desktop.loop.advance(10ms);
        program.model.dictation.endDemo();
    };
    once();
    const auto afterOne = program.desktop.loop.pendingTimers();
    for (int i = 0; i < 50; ++i) {
        once();
    }
    EXPECT_LE(program.desktop.loop.pendingTimers(), afterOne);
}

class LocalEngineTimers : public ParakeetFixture {
protected:
    void dictate()
    {
        auto transcriber =
            std::make_shared<ParakeetTranscriber>("/models/a", runtime, converters, loop);
        spawn(loop, transcriber->prepare());
        loop.advance(10ms);
        transcriber->feed(FakeAudioInput::buffer(FakeParakeet::amplitude(20), 8000, 16000));
        const auto finished = outcomeOf(loop, transcriber->finish());
        loop.advance(10ms);
        EXPECT_EQ(finished->value, "w20");
    }

    FakeAudioConverters converters;
};

TEST_F(LocalEngineTimers, dictationsThatFollowEachOtherLeaveTheTimerThatDropsTheModels)
{
    for (int i = 0; i < 20; ++i) {
        dictate();
        EXPECT_EQ(loop.pendingTimers(), 1U);
    }
    loop.advance(600s);
    EXPECT_EQ(loop.pendingTimers(), 0U);
    EXPECT_EQ(models.alive(), 0U);
}

TEST_F(LocalEngineTimers, unloadedModelsLeaveNone)
{
    dictate();
    runtime->unload();
    loop.runReady();
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

} // namespace
} // namespace vorlin
