#include "Dictation.h"
#include "PulseAudioInputFixture.h"

#include <gtest/gtest.h>

#include <atomic>

namespace vorlin {
namespace {

/// An engine that only counts what it is fed.
class CountingTranscriber final : public Transcriber {
public:
    std::atomic<int> buffers = 0;

    void setOnText(OnText) override {}
    std::optional<std::string> failure() const override { return std::nullopt; }
    Task<void> prepare() override { co_return; }
    void feed(const PCMBuffer&) override { ++buffers; }
    Task<std::string> finish() override { co_return {}; }
    void cancel() override {}
};

class SilentMicrophone : public PulseAudioInputTest {};

TEST_F(SilentMicrophone, thirtyFiveBuffersOfDigitalSilenceAreNoticed)
{
    begin();
    Dictation dictation(loop, *input);
    const auto transcriber = std::make_shared<CountingTranscriber>();
    dictation.keyDown([&] { return transcriber; });
    int buffersBefore = 0;
    const auto watch =
        dictation.micSilent.observe([&](bool) { buffersBefore = transcriber->buffers; });
    ASSERT_TRUE(loop.runUntil([&] { return dictation.micSilent.get(); }));
    EXPECT_GE(buffersBefore, 35);
    EXPECT_EQ(dictation.levels.get().back(), 0);
    dictation.cancel();
}

TEST_F(SilentMicrophone, soundEndsTheNotice)
{
    begin();
    Dictation dictation(loop, *input);
    dictation.keyDown([] { return std::make_shared<CountingTranscriber>(); });
    ASSERT_TRUE(loop.runUntil([&] { return dictation.micSilent.get(); }));
    const MicrophonePlayer player(std::vector<float>(48000, 0.25F), 48000, 1);
    EXPECT_TRUE(loop.runUntil([&] { return !dictation.micSilent.get(); }));
    EXPECT_GT(dictation.levels.get().back(), 0);
    dictation.cancel();
}

} // namespace
} // namespace vorlin
