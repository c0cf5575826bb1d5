#include "Platform/macOS/MacAudioConverters.h"

#include "Platform/macOS/Objects/AudioBuffers.h"

#include <AVFAudio/AVFAudio.h>

namespace vorlin {

namespace {

class MacAudioConverter final : public AudioConverter {
public:
    MacAudioConverter(AVAudioConverter* converter, AVAudioFormat* source, AVAudioFormat* target)
        : converter(converter), source(source), target(target)
    {
    }

    bool convert(const PCMBuffer& input, PCMBuffer& output) override;

private:
    Ref<AVAudioConverter> converter;
    Ref<AVAudioFormat> source;
    Ref<AVAudioFormat> target;
};

bool MacAudioConverter::convert(const PCMBuffer& input, PCMBuffer& output)
{
    @autoreleasepool { // a capture thread has none
        AVAudioPCMBuffer* const given = avBuffer(input, source.get());
        AVAudioPCMBuffer* const converted =
            autoreleased([[AVAudioPCMBuffer alloc] initWithPCMFormat:target.get()
                                                       frameCapacity:output.frameCapacity()]);
        if (given == nil || converted == nil) {
            return false;
        }
        // Never the end of the stream: what the converter holds back comes with later calls.
        __block bool handedOver = false;
        NSError* error = nil;
        [converter.get() convertToBuffer:converted
                                   error:&error
                      withInputFromBlock:^AVAudioBuffer*(AVAudioPacketCount /*frames*/,
                                                         AVAudioConverterInputStatus* status) {
                        if (handedOver) {
                            *status = AVAudioConverterInputStatus_NoDataNow;
                            return nil;
                        }
                        handedOver = true;
                        *status = AVAudioConverterInputStatus_HaveData;
                        return given;
                      }];
        if (error != nil) {
            return false;
        }
        copyFrames(converted, output);
    }
    return true;
}

} // namespace

std::unique_ptr<AudioConverter> MacAudioConverters::make(const AudioFormat& source,
                                                         const AudioFormat& target)
{
    @autoreleasepool {
        AVAudioFormat* const from = avFormat(source);
        AVAudioFormat* const to = avFormat(target);
        if (from == nil || to == nil) {
            return nullptr;
        }
        AVAudioConverter* const made = autoreleased([[AVAudioConverter alloc] initFromFormat:from
                                                                                    toFormat:to]);
        return made != nil ? std::make_unique<MacAudioConverter>(made, from, to) : nullptr;
    }
}

} // namespace vorlin
