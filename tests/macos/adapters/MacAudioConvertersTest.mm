#include "Platform/macOS/MacAudioConverters.h"

#include "AVAudio.h"
#include "Platform/Contracts/AudioConvertersContract.h"
#include "Runtime.h"

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;

const AudioFormat recogniser{SampleType::float32, 16000, 1, false};
const AudioFormat microphone{SampleType::float32, 48000, 2, false};

class MacAudioConvertersTest : public testing::Test {
protected:
    MacAudioConvertersTest() { standins::sound() = {}; }
    ~MacAudioConvertersTest() override { standins::sound() = {}; }

    static PCMBuffer heard(std::uint32_t frames)
    {
        PCMBuffer buffer(microphone, frames);
        buffer.setFrameLength(frames);
        return buffer;
    }

    MacAudioConverters converters;
};

TEST_F(MacAudioConvertersTest, makesOneBetweenTheFormatsThatWereAskedFor)
{
    EXPECT_TRUE(converters.make(microphone, recogniser));
    EXPECT_EQ(taken(),
              (Calls{"-[AVAudioConverter initFromFormat:toFormat:] 1/48000/2p 1/16000/1p"}));
    EXPECT_TRUE(
        converters.make({SampleType::int16, 44100, 2, true}, {SampleType::int32, 8000, 1, true}));
    EXPECT_EQ(taken(),
              (Calls{"-[AVAudioConverter initFromFormat:toFormat:] 3/44100/2i 4/8000/1i"}));
    EXPECT_TRUE(converters.make({SampleType::float32, 44100, 6, true}, recogniser));
    EXPECT_EQ(taken(),
              (Calls{"-[AVAudioConverter initFromFormat:toFormat:] 1/44100/6i 1/16000/1p"}))
        << "more than two channels need a layout";
}

TEST_F(MacAudioConvertersTest, makesNoneWhereTheSystemHasNoSuchFormatOrNoWayBetweenThem)
{
    const AudioFormat odd{SampleType::float32, 0, 1, false};
    EXPECT_FALSE(converters.make(odd, recogniser));
    EXPECT_FALSE(converters.make(recogniser, odd));
    EXPECT_EQ(taken(), Calls());
    standins::sound().refusesConverters = true;
    EXPECT_FALSE(converters.make(microphone, recogniser));
}

TEST_F(MacAudioConvertersTest, handsABufferOverOnceAndThenHasNoDataForNowInEachConversion)
{
    const auto converter = converters.make(microphone, recogniser);
    taken();
    standins::sound().convertedFrames = 160;
    for (int again = 0; again < 2; ++again) {
        PCMBuffer output(recogniser, 224);
        EXPECT_TRUE(converter->convert(heard(480), output));
        EXPECT_EQ(output.frameLength(), 160U);
        EXPECT_EQ(output.plane(0)[639], std::byte{1});
        EXPECT_EQ(output.plane(0)[640], std::byte{0}) << "what is not valid is left";
        EXPECT_EQ(taken(), (Calls{"-[AVAudioConverter convertToBuffer:error:withInputFromBlock:] "
                                  "1/16000/1p 224",
                                  "input: status 0, 480 frames of 1/48000/2p",
                                  "input: status 1, nothing", "input: status 1, nothing"}));
    }
}

TEST_F(MacAudioConvertersTest, failsByTheErrorAndNotByTheStatus)
{
    const auto converter = converters.make(microphone, recogniser);
    PCMBuffer output(recogniser, 224);
    for (const auto status :
         {AVAudioConverterOutputStatus_HaveData, AVAudioConverterOutputStatus_InputRanDry,
          AVAudioConverterOutputStatus_EndOfStream, AVAudioConverterOutputStatus_Error}) {
        standins::sound().conversionStatus = status;
        EXPECT_TRUE(converter->convert(heard(480), output)) << status;
    }
    standins::sound().conversionFailure = [NSError errorWithDomain:@"" code:1 userInfo:nil];
    EXPECT_FALSE(converter->convert(heard(480), output));
    standins::sound().conversionFailure = nil;
    EXPECT_TRUE(converter->convert(heard(480), output)) << "the next buffer is another chance";
}

TEST_F(MacAudioConvertersTest, failsWhereThereIsNoMemory)
{
    const auto converter = converters.make(microphone, recogniser);
    taken();
    standins::sound().refusesBuffers = true;
    PCMBuffer output(recogniser, 224);
    EXPECT_FALSE(converter->convert(heard(480), output));
    EXPECT_EQ(taken(), Calls());
}

TEST_F(MacAudioConvertersTest, leavesNothingBehindOnAThreadWithoutAPool)
{
    const long before = standins::alive();
    std::thread([this] {
        const auto converter = converters.make(microphone, {SampleType::float32, 16000, 6, false});
        PCMBuffer output({SampleType::float32, 16000, 6, false}, 224);
        EXPECT_TRUE(converter->convert(heard(480), output));
    }).join();
    EXPECT_EQ(standins::alive(), before);
}

struct SystemConversion {
    MacAudioConverters converters;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, AudioConvertersContract, SystemConversion);

} // namespace
} // namespace vorlin
