#pragma once

#include <AVFAudio/AVFAudio.h>

#include <cstddef>
#include <cstdint>

/// For tests.
@interface AVAudioPCMBuffer ()
/// All planes, one behind the other.
@property(readonly) char* _Nonnull memory;
@property(readonly) std::size_t memorySize;
@end

namespace standins {

/// How the system answers about sound.
struct Sound {
    bool refusesBuffers = false;

    /// The format in which the microphone is heard.
    AVAudioFormat* _Nullable microphone = nil;
    /// Keeps the tap that is put in, for a buffer that is under way when it is taken out.
    bool keepsTap = false;
    AVAudioNodeTapBlock _Nullable keptTap = nil;
    /// What is thrown when a tap is put in, when the engine prepares, and when it starts.
    NSException* _Nullable tapRefusal = nil;
    NSException* _Nullable prepareFault = nil;
    NSException* _Nullable startFault = nil;
    /// Why the engine does not start.
    NSError* _Nullable startRefusal = nil;
    bool startFails = false;

    bool refusesConverters = false;
    /// What a conversion fails with, and answers.
    NSError* _Nullable conversionFailure = nil;
    AVAudioConverterOutputStatus conversionStatus = AVAudioConverterOutputStatus_InputRanDry;
    /// How many frames a conversion to another format gives.
    AVAudioFrameCount convertedFrames = 0;
};
Sound& sound();

/// Of any number of channels.
AVAudioFormat* _Nonnull soundFormat(AVAudioCommonFormat type, double rate, std::uint32_t channels,
                                    bool interleaved);

/// The engine that was made last; nil when it is gone.
AVAudioEngine* _Nullable lastAudioEngine();

/// The engine stops itself, as it does before it tells of a change.
void stopByItself(AVAudioEngine* _Nonnull engine);

/// Gives a buffer to the tap of the engine that was made last, on the thread that calls. Says
/// whether there is such a tap, and the engine runs.
bool hear(AVAudioPCMBuffer* _Nonnull buffer);

} // namespace standins
