// A day of dictation with the local engine on virtual time: random utterances, cancels,
// re-presses, engine switches and failures. A failure says how to replay it.

#include "Dictation.h"
#include "Parakeet/ParakeetTranscriber.h"
#include "fakes/FakeAudioConverters.h"
#include "fakes/FakeAudioInput.h"
#include "fakes/FakeFolders.h"
#include "fakes/FakeParakeet.h"
#include "simulation/Seeds.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <iterator>
#include <optional>
#include <random>
#include <sstream>

namespace vorlin {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

using Words = std::vector<std::string>;

Words wordsOf(const std::string& text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

bool isSubsequence(const Words& part, const Words& whole)
{
    auto next = part.begin();
    for (const auto& word : whole) {
        if (next != part.end() && *next == word) {
            ++next;
        }
    }
    return next == part.end();
}

/// Built with sanitizers a day is short: it would take minutes.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int hoursOfADay = 3;
#else
constexpr int hoursOfADay = 24;
#endif

class Day {
public:
    explicit Day(std::uint64_t seed) : random(seed), loop(seed)
    {
        FakeParakeet::install(models);
        for (const auto* folder : {"/models/a", "/models/b"}) {
            folders.files[std::filesystem::path(folder) / "parakeet_v3_vocab.json"] =
                FakeParakeet::vocabularyJson();
        }
        dictation.onFinished = [this](const std::string& text) {
            ++ends;
            finishedText = text;
        };
        dictation.onCancelled = [this] {
            ++ends;
            cancelled = true;
        };
        transcripts = dictation.transcript.observe([this](const std::string& text) { saw(text); });
    }

    void live()
    {
        const TimePoint evening = loop.now() + std::chrono::hours(hoursOfADay);
        while (loop.now() < evening && !testing::Test::HasFatalFailure()) {
            dictate();
            loop.advance(seconds(chance(5) == 0 ? upTo(1500) : upTo(60)));
        }
        EXPECT_GT(dictations, 2 * hoursOfADay);
        EXPECT_GT(failures, 0);
        EXPECT_EQ(models.mostAtOnce, 1);
        transcriber.reset();
        loop.advance(seconds(700));
        EXPECT_EQ(models.alive(), 0U);
    }

private:
    int upTo(int most) { return std::uniform_int_distribution(0, most)(random); }
    int chance(int oneIn) { return upTo(oneIn - 1); }

    void dictate()
    {
        ++dictations;
        spoken.clear();
        finishedText.reset();
        cancelled = false;
        failing = false;
        mostWords = 0;
        const int endsBefore = ends;
        for (auto& [name, script] : models.scripts) {
            script.takes = milliseconds(chance(3) == 0 ? 0 : upTo(name[0] == 'E' ? 400 : 5));
            script.loadTakes = milliseconds(upTo(2000));
        }
        dictation.keyDown([this] {
            const auto* folder = chance(4) == 0 ? "/models/a" : "/models/b";
            transcriber = std::make_shared<ParakeetTranscriber>(folder, runtime, converters, loop);
            return transcriber;
        });
        loop.runReady();
        hear(0, 3); // a breath, without which one short word would be too little speech
        for (int sentence = upTo(6); sentence > 0; --sentence) {
            speak();
            misfortune();
        }
        if (chance(6) == 0) {
            loop.advance(milliseconds(upTo(300)));
            dictation.cancel();
        } else {
            release();
        }
        loop.advance(seconds(30));
        check(endsBefore);
    }

    void release()
    {
        dictation.keyUp();
        if (chance(4) == 0) { // impatient presses while it finishes
            loop.advance(milliseconds(upTo(50)));
            if (dictation.phase.get() != Dictation::Phase::idle) {
                dictation.keyDown([] { return nullptr; });
                dictation.keyUp();
            }
        }
        if (chance(8) == 0) {
            loop.advance(milliseconds(upTo(500)));
            dictation.cancel();
        }
    }

    /// A sentence of at most 5 s and a pause after it, so that utterances end at pauses.
    void speak()
    {
        int last = 0;
        for (int count = 1 + upTo(11); count > 0; --count) {
            int word = 0;
            do {
                word = 10 + upTo(89);
            } while (word == last);
            last = word;
            spoken.push_back(FakeParakeet::word(word));
            hear(FakeParakeet::amplitude(word), 2 + upTo(2));
        }
        hear(0, 5 + upTo(10));
    }

    /// Tenths of a second of one amplitude, as they pass.
    void hear(float amplitude, int tenths)
    {
        for (; tenths > 0; --tenths) {
            input.deliver(FakeAudioInput::buffer(amplitude, 1600, 16000));
            loop.advance(milliseconds(100));
        }
    }

    void misfortune()
    {
        if (chance(25) == 0) {
            failing = true;
            ++failures;
            models.lose();
        } else if (chance(40) == 0) {
            failing = true;
            ++failures;
            const auto encode = models.scripts["Encoder.mlmodelc"].compute;
            models.scripts["Encoder.mlmodelc"].compute = [](const MLFeatures&) -> MLFeatures {
                throw std::runtime_error("The model could not be run.");
            };
            speak();
            models.scripts["Encoder.mlmodelc"].compute = encode;
        }
    }

    void saw(const std::string& text)
    {
        const Words words = wordsOf(text);
        if (words.empty()) {
            mostWords = 0;
            return;
        }
        EXPECT_TRUE(isSubsequence(words, spoken)) << text;
        if (!failing) {
            // Finished utterances in front, then the draft of the next: never fewer words again.
            EXPECT_GE(words.size(), mostWords) << text;
            EXPECT_TRUE(std::equal(words.begin(), words.end(), spoken.begin())) << text;
        }
        mostWords = words.size();
    }

    void check(int endsBefore)
    {
        ASSERT_EQ(dictation.phase.get(), Dictation::Phase::idle);
        ASSERT_EQ(ends, endsBefore + 1) << "one end a dictation";
        EXPECT_EQ(transcriber->queued(), 0);
        EXPECT_LE(models.alive(), 4U);
        if (cancelled) {
            EXPECT_EQ(dictation.notice.get(), "Cancelled");
            return;
        }
        ASSERT_TRUE(finishedText);
        if (failing) {
            EXPECT_TRUE(isSubsequence(wordsOf(*finishedText), spoken)) << *finishedText;
        } else {
            EXPECT_EQ(wordsOf(*finishedText), spoken);
            EXPECT_EQ(dictation.notice.get(), std::nullopt);
        }
    }

    std::mt19937 random;
    FakeAudioConverters converters;
    FakeAudioInput input;
    const std::shared_ptr<FakeFolders> heldFolders = std::make_shared<FakeFolders>();
    FakeFolders& folders = *heldFolders;
    FakeMLModels models{loop};
    SimulatedLoop loop;
    std::shared_ptr<ParakeetRuntime> runtime =
        std::make_shared<ParakeetRuntime>(models, heldFolders, loop, loop);
    std::shared_ptr<ParakeetTranscriber> transcriber;
    Dictation dictation{loop, input};
    Subscription transcripts;

    Words spoken;
    std::optional<std::string> finishedText;
    bool cancelled = false;
    /// Something of this dictation failed: words may be missing.
    bool failing = false;
    std::size_t mostWords = 0;
    int dictations = 0;
    int failures = 0;
    int ends = 0;
};

class ParakeetDays : public testing::TestWithParam<std::uint64_t> {};

TEST_P(ParakeetDays, aDayOfDictationKeepsEveryPromise)
{
    SCOPED_TRACE(replay(GetParam()));
    Day(GetParam()).live();
}

INSTANTIATE_TEST_SUITE_P(Seeds, ParakeetDays, testing::ValuesIn(simulationSeeds(0, 3)));

} // namespace
} // namespace vorlin
