#include "Platform/macOS/MacAudioInput.h"

#include "AVAudio.h"
#include "NSNotificationCenter.h"
#include "Runtime.h"

#include <cstring>
#include <span>

namespace vorlin {
namespace {

using standins::hear;
using standins::sound;
using standins::taken;
using Calls = std::vector<std::string>;

const Calls startCalls = {
    "-[AVAudioEngine inputNode]", "-[AVAudioInputNode outputFormatForBus:] 0",
    "-[AVAudioInputNode installTapOnBus:bufferSize:format:block:] 0 2048 1/48000/2p",
    "-[AVAudioEngine prepare]", "-[AVAudioEngine startAndReturnError:]"};
const Calls stopCalls = {"-[AVAudioEngine stop]", "-[AVAudioEngine inputNode]",
                         "-[AVAudioInputNode removeTapOnBus:] 0"};

Calls both(Calls first, const Calls& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// How an operation that has ended has ended.
std::string endOf(const Completion<Done>& completion)
{
    if (!completion.await_ready()) {
        return "not ended";
    }
    try {
        completion.await_resume();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "done";
}

NSException* exception(NSString* reason)
{
    return [NSException exceptionWithName:NSGenericException reason:reason userInfo:nil];
}

AVAudioPCMBuffer* bufferOf(AVAudioFormat* format, std::uint32_t capacity, std::uint32_t frames)
{
    AVAudioPCMBuffer* buffer = [[AVAudioPCMBuffer alloc] initWithPCMFormat:format
                                                             frameCapacity:capacity];
    buffer.frameLength = frames;
    const std::span<char> memory(buffer.memory, buffer.memorySize);
    for (std::size_t i = 0; i < memory.size(); ++i) {
        memory[i] = static_cast<char>(i % 61);
    }
    return buffer;
}

class MacAudioInputTest : public testing::Test {
protected:
    MacAudioInputTest()
    {
        sound() = {};
        sound().microphone = standins::soundFormat(AVAudioPCMFormatFloat32, 48000, 2, false);
        input = std::make_unique<MacAudioInput>(loop);
        made = taken();
    }
    ~MacAudioInputTest() override
    {
        input.reset();
        sound() = {};
    }

    std::string start()
    {
        return endOf(input->start([this](const PCMBuffer& buffer) { heard.push_back(buffer); },
                                  [this](const std::string& line) { failures.push_back(line); }));
    }

    /// The engine stops, and tells on another thread that the microphone is another one.
    void changeMicrophone(AVAudioFormat* format)
    {
        standins::stopByItself(standins::lastAudioEngine());
        tellOfAChange(format);
    }

    static void tellOfAChange(AVAudioFormat* format)
    {
        sound().microphone = format;
        std::thread([] {
            @autoreleasepool {
                standins::post([NSNotificationCenter defaultCenter],
                               AVAudioEngineConfigurationChangeNotification,
                               standins::lastAudioEngine());
            }
        }).join();
    }

    /// Gives a buffer on a thread without a pool, and compares what came of it.
    void deliver(AVAudioPCMBuffer* given, SampleType type)
    {
        std::thread([given] { EXPECT_TRUE(hear(given)); }).join();
        ASSERT_EQ(heard.size(), 1U);
        const PCMBuffer buffer = std::exchange(heard, {}).front();
        const bool interleaved = given.format.isInterleaved;
        EXPECT_EQ(buffer.format(), (AudioFormat{type, 44100, 2, interleaved}));
        EXPECT_EQ(buffer.frameLength(), given.frameLength);
        const std::uint32_t planes = interleaved ? 1 : 2;
        const std::size_t bytes = given.frameLength * bytesPerSample(type) * 2 / planes;
        for (std::uint32_t plane = 0; plane < planes; ++plane) {
            const char* from = given.memory + plane * given.memorySize / planes;
            EXPECT_EQ(std::memcmp(buffer.plane(plane).data(), from, bytes), 0) << plane;
        }
    }

    SimulatedLoop loop;
    std::unique_ptr<MacAudioInput> input;
    Calls made;
    std::vector<PCMBuffer> heard;
    std::vector<std::string> failures;
};

TEST_F(MacAudioInputTest, makesOneEngineForItsLifeAndListensToItsChangesOnly)
{
    EXPECT_EQ(made, (Calls{"-[AVAudioEngine init]",
                           "-[NSNotificationCenter addObserverForName:object:queue:usingBlock:] "
                           "AVAudioEngineConfigurationChange AVAudioEngine nil"}));
    start();
    input->drop();
    start();
    for (const auto& call : taken()) {
        EXPECT_NE(call, made[0]);
    }
    input.reset();
    EXPECT_EQ(taken(), both(stopCalls, {"-[NSNotificationCenter removeObserver:] "
                                        "AVAudioEngineConfigurationChange"}));
}

TEST_F(MacAudioInputTest, tapsTheMicrophoneInItsOwnFormatBeforeTheEngineStarts)
{
    EXPECT_EQ(start(), "done");
    EXPECT_EQ(taken(), startCalls);
}

TEST_F(MacAudioInputTest, stopsTheEngineBeforeItTakesTheTapOutAndAddsNoSilence)
{
    start();
    taken();
    EXPECT_EQ(endOf(input->stop()), "done");
    EXPECT_EQ(taken(), stopCalls);
    EXPECT_TRUE(heard.empty());
    EXPECT_EQ(endOf(input->stop()), "done") << "without a capture it ends at once";
    input->drop();
    EXPECT_EQ(taken(), Calls());
}

TEST_F(MacAudioInputTest, startsAnewThroughADrop)
{
    start();
    taken();
    EXPECT_EQ(start(), "done");
    EXPECT_EQ(taken(), both(stopCalls, startCalls));
}

TEST_F(MacAudioInputTest, deliversBuffersAsTheSystemDoesOnItsThreadAndLeavesNothingBehind)
{
    start();
    const auto types = {std::pair{AVAudioPCMFormatFloat32, SampleType::float32},
                        std::pair{AVAudioPCMFormatInt16, SampleType::int16},
                        std::pair{AVAudioPCMFormatInt32, SampleType::int32}};
    for (const auto& [type, expected] : types) {
        for (const bool interleaved : {false, true}) {
            for (const std::uint32_t frames : {2048U, 512U, 4800U}) {
                const long before = standins::alive();
                @autoreleasepool {
                    AVAudioFormat* format = standins::soundFormat(type, 44100, 2, interleaved);
                    deliver(bufferOf(format, 4800, frames), expected);
                }
                EXPECT_EQ(standins::alive(), before);
            }
        }
    }
}

TEST_F(MacAudioInputTest, leavesOutSamplesOfAKindThatNoBufferHas)
{
    start();
    AVAudioFormat* format = standins::soundFormat(AVAudioPCMFormatFloat64, 44100, 2, false);
    EXPECT_TRUE(hear(bufferOf(format, 100, 100)));
    EXPECT_TRUE(heard.empty());
}

TEST_F(MacAudioInputTest, aDroppedTapIsNeverCalledAgainAndDestroyedAtOnce)
{
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> seen = held;
    int calls = 0;
    sound().keepsTap = true;
    input->start([&calls, held = std::move(held)](const PCMBuffer&) { ++calls; },
                 [](const std::string&) {});
    AVAudioPCMBuffer* buffer = bufferOf(sound().microphone, 10, 10);
    EXPECT_TRUE(hear(buffer));
    EXPECT_FALSE(seen.expired());
    input->drop();
    EXPECT_TRUE(seen.expired());
    EXPECT_FALSE(hear(buffer));
    AVAudioTime* when = nil;
    sound().keptTap(buffer, when); // it was under way
    EXPECT_EQ(calls, 1);
}

TEST_F(MacAudioInputTest, failsInOneLineWhereTheEngineDoesNotStartAndIsCleanedUpByADrop)
{
    sound().startFails = true;
    sound().startRefusal =
        [NSError errorWithDomain:@"com.apple.coreaudio.avfaudio"
                            code:-10868
                        userInfo:@{NSLocalizedDescriptionKey : @" No microphone.\nerror -10868"}];
    EXPECT_EQ(start(), "No microphone.");
    taken();
    input->drop();
    EXPECT_EQ(taken(), stopCalls);
    sound().startRefusal = nil;
    EXPECT_EQ(start(), "The operation could not be completed.");
    sound().startFails = false;
    EXPECT_EQ(start(), "done");
}

TEST_F(MacAudioInputTest, anExceptionIsAFailedStartToo)
{
    sound().tapRefusal = exception(@"required condition is false: IsFormatSampleRateValid\nmore");
    EXPECT_EQ(start(), "required condition is false: IsFormatSampleRateValid");
    taken();
    input->drop();
    EXPECT_EQ(taken(), Calls()) << "there is no tap to take out";
    sound().tapRefusal = exception(nil);
    EXPECT_EQ(start(), "The operation could not be completed.");
    sound().tapRefusal = nil;
    sound().startFault = exception(@"the engine is gone");
    EXPECT_EQ(start(), "the engine is gone");
    taken();
    input->drop();
    EXPECT_EQ(taken(), stopCalls);
    sound().startFault = nil;
    sound().prepareFault = exception(@"no output either");
    EXPECT_EQ(start(), "no output either");
    taken();
    input->drop();
    EXPECT_EQ(taken(), stopCalls);
    sound().prepareFault = nil;
    EXPECT_EQ(start(), "done");
    EXPECT_TRUE(failures.empty());
}

TEST_F(MacAudioInputTest, followsTheMicrophoneOnTheMainLoopAndNotWithinTheNotification)
{
    start();
    taken();
    changeMicrophone(standins::soundFormat(AVAudioPCMFormatFloat32, 16000, 1, false));
    EXPECT_EQ(taken(), Calls());
    loop.runReady();
    Calls again = startCalls;
    again[2] = "-[AVAudioInputNode installTapOnBus:bufferSize:format:block:] 0 2048 1/16000/1p";
    EXPECT_EQ(taken(), both(stopCalls, again));
    EXPECT_TRUE(hear(bufferOf(sound().microphone, 10, 10)));
    EXPECT_EQ(heard.size(), 1U) << "into the tap that was given at the start";
    EXPECT_TRUE(failures.empty());
}

TEST_F(MacAudioInputTest, anEngineThatRunsOnWithItsMicrophoneIsLeftAlone)
{
    start();
    taken();
    tellOfAChange(standins::soundFormat(AVAudioPCMFormatFloat32, 48000, 2, false));
    loop.runReady();
    EXPECT_EQ(taken(), (Calls{startCalls[0], startCalls[1]})) << "it is only asked";
    EXPECT_TRUE(hear(bufferOf(sound().microphone, 10, 10)));
    EXPECT_EQ(heard.size(), 1U);
}

TEST_F(MacAudioInputTest, anEngineThatRunsOnFollowsAMicrophoneOfAnotherFormat)
{
    start();
    taken();
    tellOfAChange(standins::soundFormat(AVAudioPCMFormatFloat32, 16000, 1, false));
    loop.runReady();
    Calls again = startCalls;
    again[2] = "-[AVAudioInputNode installTapOnBus:bufferSize:format:block:] 0 2048 1/16000/1p";
    EXPECT_EQ(taken(), both({startCalls[0], startCalls[1]}, both(stopCalls, again)));
}

TEST_F(MacAudioInputTest, aChangeWithoutACaptureChangesNothing)
{
    changeMicrophone(sound().microphone);
    loop.runReady();
    EXPECT_EQ(taken(), Calls());
}

TEST_F(MacAudioInputTest, aChangeToldOfAnEarlierCaptureDoesNotDisturbTheNextOne)
{
    start();
    changeMicrophone(sound().microphone);
    input->drop();
    start();
    taken();
    loop.runReady();
    EXPECT_EQ(taken(), Calls());
    changeMicrophone(sound().microphone);
    loop.runReady();
    EXPECT_EQ(taken(), both(stopCalls, startCalls));
}

TEST_F(MacAudioInputTest, aMicrophoneThatCannotBeFollowedIsOneFailureAndTheEndOfTheCapture)
{
    start();
    sound().tapRefusal = exception(@"no input");
    changeMicrophone(sound().microphone);
    EXPECT_TRUE(failures.empty());
    loop.runReady();
    EXPECT_EQ(failures, std::vector<std::string>{"no input"});
    EXPECT_FALSE(hear(bufferOf(sound().microphone, 10, 10)));
    changeMicrophone(sound().microphone);
    loop.runReady();
    EXPECT_EQ(failures.size(), 1U);
    sound().tapRefusal = nil;
    EXPECT_EQ(start(), "done");
}

TEST_F(MacAudioInputTest, whoeverIsToldOfAFailureMayStartAgain)
{
    std::string again;
    input->start([](const PCMBuffer&) {},
                 [&](const std::string&) {
                     sound().tapRefusal = nil;
                     again = start();
                 });
    sound().tapRefusal = exception(@"no input");
    changeMicrophone(sound().microphone);
    loop.runReady();
    EXPECT_EQ(again, "done");
    EXPECT_TRUE(hear(bufferOf(sound().microphone, 10, 10)));
    EXPECT_EQ(heard.size(), 1U);
}

TEST_F(MacAudioInputTest, aChangeThatIsStillQueuedWhenItGoesIsDropped)
{
    start();
    changeMicrophone(sound().microphone);
    input.reset();
    taken();
    loop.runReady();
    EXPECT_EQ(taken(), Calls());
}

TEST_F(MacAudioInputTest, leavesNothingWhenItGoes)
{
    input.reset();
    const long before = standins::alive();
    @autoreleasepool {
        input = std::make_unique<MacAudioInput>(loop);
        start();
        input.reset();
    }
    EXPECT_EQ(standins::alive(), before);
}

} // namespace
} // namespace vorlin
