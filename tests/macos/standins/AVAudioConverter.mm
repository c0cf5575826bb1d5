// A converter that copies what is in its own format, and makes of any other as much as it is told.

#include "AVAudio.h"
#include "Described.h"

#include <algorithm>
#include <cstring>

@implementation AVAudioConverter {
    AVAudioFormat* _from;
    AVAudioFormat* _to;
}
- (instancetype)initFromFormat:(AVAudioFormat*)from toFormat:(AVAudioFormat*)to
{
    self = [super init];
    standins::note(self, _cmd, from.description, to.description);
    _from = from;
    _to = to;
    return standins::sound().refusesConverters ? nil : self;
}
- (AVAudioConverterOutputStatus)convertToBuffer:(AVAudioBuffer*)buffer
                                          error:(NSError**)error
                             withInputFromBlock:(NS_NOESCAPE AVAudioConverterInputBlock)block
{
    AVAudioPCMBuffer* output = (AVAudioPCMBuffer*)buffer;
    standins::note(self, _cmd, output.format.description, output.frameCapacity);
    const standins::Sound& sound = standins::sound();
    if (sound.conversionFailure != nil) {
        *error = sound.conversionFailure;
        return AVAudioConverterOutputStatus_Error;
    }
    AVAudioPCMBuffer* given = nil;
    for (int asked = 0; asked < 3; ++asked) {
        auto status = static_cast<AVAudioConverterInputStatus>(-1);
        auto* input = (AVAudioPCMBuffer*)block(output.frameCapacity, &status);
        standins::note("input: status " + std::to_string(status) +
                       (input == nil ? ", nothing"
                                     : ", " + std::to_string(input.frameLength) + " frames of " +
                                           input.format.description.UTF8String));
        given = given == nil ? input : given;
    }
    if ([_from isEqual:_to] && [given.format isEqual:_to] &&
        given.memorySize <= output.memorySize) {
        const std::size_t channels = _to.isInterleaved ? 1 : _to.channelCount;
        for (std::size_t plane = 0; plane < channels && given.frameCapacity > 0; ++plane)
            std::memcpy(output.memory + plane * output.memorySize / channels,
                        given.memory + plane * given.memorySize / channels,
                        given.memorySize / channels / given.frameCapacity * given.frameLength);
        output.frameLength = given.frameLength;
    } else {
        std::fill_n(output.memory, output.memorySize, char{1});
        output.frameLength = std::min(sound.convertedFrames, output.frameCapacity);
    }
    return sound.conversionStatus;
}
@end
