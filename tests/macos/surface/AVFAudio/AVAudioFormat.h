#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

// avfaudio/avaudioframecount: "A number of audio sample frames."
typedef uint32_t AVAudioFrameCount;
// avfaudio/avaudiopacketcount: "The number of packets of audio data."
typedef uint32_t AVAudioPacketCount;
// avfaudio/avaudiochannelcount: "The number of audio channels."
typedef uint32_t AVAudioChannelCount;
// avfaudio/avaudionodebus: "The index of a bus on an audio node."
typedef NSUInteger AVAudioNodeBus;

// avfaudio/avaudiocommonformat: "The format options that describe common audio formats."
typedef NS_ENUM(NSUInteger, AVAudioCommonFormat) {
    // avfaudio/avaudiocommonformat/otherformat: "A format other than one the enumeration
    // specifies."
    AVAudioOtherFormat = 0,
    // avfaudio/avaudiocommonformat/pcmformatfloat32: "A format that represents the standard format
    // as native-endian floats."
    AVAudioPCMFormatFloat32 = 1,
    // avfaudio/avaudiocommonformat/pcmformatfloat64: "A format that represents native-endian
    // doubles."
    AVAudioPCMFormatFloat64 = 2,
    // avfaudio/avaudiocommonformat/pcmformatint16: "A format that represents signed 16-bit
    // native-endian integers."
    AVAudioPCMFormatInt16 = 3,
    // avfaudio/avaudiocommonformat/pcmformatint32: "A format that represents signed 32-bit
    // native-endian integers."
    AVAudioPCMFormatInt32 = 4,
};

// coreaudiotypes/audiochannellayouttag: "AudioChannelLayoutTag"
typedef UInt32 AudioChannelLayoutTag;
enum : AudioChannelLayoutTag {
    // coreaudiotypes/kaudiochannellayouttag_discreteinorder: the number of channels is to be added
    kAudioChannelLayoutTag_DiscreteInOrder = (147U << 16) | 0,
};

// avfaudio/avaudiochannellayout: "An object that describes the roles of a set of audio channels."
@interface AVAudioChannelLayout : NSObject <NSSecureCoding>
// avfaudio/avaudiochannellayout/init(layouttag:): "Creates an audio channel layout object from a
// layout tag."
- (nullable instancetype)initWithLayoutTag:(AudioChannelLayoutTag)layoutTag;
@end

// avfaudio/avaudioformat: "An object that describes the representation of an audio format."
@interface AVAudioFormat : NSObject <NSSecureCoding>
// avfaudio/avaudioformat/init(commonformat:samplerate:channels:interleaved:): "Creates an audio
// format instance."
- (nullable instancetype)initWithCommonFormat:(AVAudioCommonFormat)format
                                   sampleRate:(double)sampleRate
                                     channels:(AVAudioChannelCount)channels
                                  interleaved:(BOOL)interleaved;
// avfaudio/avaudioformat/init(commonformat:samplerate:interleaved:channellayout:): "Creates an
// audio format instance with the specified audio format, sample rate, interleaved state, and
// channel layout."
- (instancetype)initWithCommonFormat:(AVAudioCommonFormat)format
                          sampleRate:(double)sampleRate
                         interleaved:(BOOL)interleaved
                       channelLayout:(AVAudioChannelLayout*)layout;
// avfaudio/avaudioformat/commonformat: "The common format identifier instance."
@property(nonatomic, readonly) AVAudioCommonFormat commonFormat;
// avfaudio/avaudioformat/channelcount: "The number of channels of audio data."
@property(nonatomic, readonly) AVAudioChannelCount channelCount;
// avfaudio/avaudioformat/samplerate: "The audio format sampling rate, in hertz."
@property(nonatomic, readonly) double sampleRate;
// avfaudio/avaudioformat/isinterleaved: "A Boolean value that indicates whether the samples mix
// into one stream."
@property(nonatomic, readonly, getter=isInterleaved) BOOL interleaved;
@end

// avfaudio/avaudiobuffer: "An object that represents a buffer of audio data with a format."
@interface AVAudioBuffer : NSObject <NSCopying, NSMutableCopying>
// avfaudio/avaudiobuffer/format: "The format of the audio in the buffer."
@property(nonatomic, readonly) AVAudioFormat* format;
@end

// avfaudio/avaudiopcmbuffer: "An object that represents an audio buffer you use with PCM audio
// formats."
@interface AVAudioPCMBuffer : AVAudioBuffer
// avfaudio/avaudiopcmbuffer/init(pcmformat:framecapacity:): "Creates a PCM audio buffer instance
// for PCM audio data."
- (nullable instancetype)initWithPCMFormat:(AVAudioFormat*)format
                             frameCapacity:(AVAudioFrameCount)frameCapacity
    NS_DESIGNATED_INITIALIZER;
// avfaudio/avaudiopcmbuffer/framecapacity: "The buffer’s capacity, in audio sample frames."
@property(nonatomic, readonly) AVAudioFrameCount frameCapacity;
// avfaudio/avaudiopcmbuffer/framelength: "The current number of valid sample frames in the
// buffer."
@property(nonatomic) AVAudioFrameCount frameLength;
// avfaudio/avaudiopcmbuffer/stride: "The buffer’s number of interleaved channels."
@property(nonatomic, readonly) NSUInteger stride;
// avfaudio/avaudiopcmbuffer/floatchanneldata: "The buffer’s audio samples as floating point
// values."
@property(nonatomic, readonly) float* const _Nonnull* _Nullable floatChannelData;
// avfaudio/avaudiopcmbuffer/int16channeldata: "The buffer’s 16-bit integer audio samples."
@property(nonatomic, readonly) int16_t* const _Nonnull* _Nullable int16ChannelData;
// avfaudio/avaudiopcmbuffer/int32channeldata: "The buffer’s 32-bit integer audio samples."
@property(nonatomic, readonly) int32_t* const _Nonnull* _Nullable int32ChannelData;
@end

// avfaudio/avaudiotime: "An object you use to represent a moment in time."
@interface AVAudioTime : NSObject
@end

NS_ASSUME_NONNULL_END
