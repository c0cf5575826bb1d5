// An hour of dictation with the local engine, on virtual time, with every allocation counted.

#include "MIL/AllocationCount.h"
#include "Parakeet/ParakeetTranscriber.h"
#include "core/ParakeetFixture.h"
#include "fakes/FakeAudioConverters.h"
#include "fakes/FakeAudioInput.h"

#include <algorithm>

namespace vorlin {
namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

class ParakeetMemory : public ParakeetFixture {
protected:
    ParakeetMemory()
    {
        transcriber->setOnText([this](const std::string& text) { last = text; });
        spawn(loop, transcriber->prepare());
        loop.runReady();
    }

    /// Audio as it arrives: tenths of a second, drafts being made meanwhile.
    void hear(float amplitude, int tenths)
    {
        for (; tenths > 0; --tenths) {
            transcriber->feed(FakeAudioInput::buffer(amplitude, 1600, 16000));
            loop.advance(milliseconds(100));
        }
    }

    /// Utterances that end at their pauses, for that long.
    void speakUntil(TimePoint end)
    {
        while (loop.now() < end) {
            hear(FakeParakeet::amplitude(11), 82);
            hear(0, 8);
            models.predictions = {}; // the fake's own record would grow
        }
    }

    FakeAudioConverters converters;
    std::string last;
    std::shared_ptr<ParakeetTranscriber> transcriber =
        std::make_shared<ParakeetTranscriber>(a, runtime, converters, loop);
};

TEST_F(ParakeetMemory, anHourOfDictationTakesNoMoreThanItsBeginning)
{
    const TimePoint start = loop.now();
    speakUntil(start + minutes(15));
    mil::test::beginPeak();
    speakUntil(start + minutes(25));
    const auto early = mil::test::peakBytes();
    EXPECT_GT(early, 500'000U) << "a draft and its arrays are counted";
    speakUntil(start + minutes(60));
    // What has been said is kept, some 20 bytes and a string a sentence. One utterance more, or
    // one callback a draft, would be many times that.
    EXPECT_LT(mil::test::peakBytes(), early + 64'000);
    EXPECT_EQ(transcriber->queued(), 0);
    EXPECT_EQ(std::ranges::count(last, 'w'), 60 * 60 / 9);
}

} // namespace
} // namespace vorlin
