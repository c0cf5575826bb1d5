#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef uint32_t AVAudioFrameCount;
typedef int64_t AVAudioFramePosition;
typedef uint32_t AVAudioPacketCount;
typedef uint32_t AVAudioChannelCount;
typedef NSUInteger AVAudioNodeBus;

typedef NS_ENUM(NSUInteger, AVAudioCommonFormat) {
    AVAudioOtherFormat = 0,
    AVAudioPCMFormatFloat32 = 1,
    AVAudioPCMFormatFloat64 = 2,
    AVAudioPCMFormatInt16 = 3,
    AVAudioPCMFormatInt32 = 4,
};

@interface AVAudioFormat : NSObject <NSSecureCoding>
- (nullable instancetype)initStandardFormatWithSampleRate:(double)sampleRate
                                                 channels:(AVAudioChannelCount)channels;
- (nullable instancetype)initWithCommonFormat:(AVAudioCommonFormat)format
                                   sampleRate:(double)sampleRate
                                     channels:(AVAudioChannelCount)channels
                                  interleaved:(BOOL)interleaved;
@property(nonatomic, readonly, getter=isStandard) BOOL standard;
@property(nonatomic, readonly) AVAudioCommonFormat commonFormat;
@property(nonatomic, readonly) AVAudioChannelCount channelCount;
@property(nonatomic, readonly) double sampleRate;
@property(nonatomic, readonly, getter=isInterleaved) BOOL interleaved;
@end

@interface AVAudioBuffer : NSObject <NSCopying, NSMutableCopying>
@property(nonatomic, readonly) AVAudioFormat* format;
@end

@interface AVAudioPCMBuffer : AVAudioBuffer
- (nullable instancetype)initWithPCMFormat:(AVAudioFormat*)format
                             frameCapacity:(AVAudioFrameCount)frameCapacity
    NS_DESIGNATED_INITIALIZER;
@property(nonatomic, readonly) AVAudioFrameCount frameCapacity;
@property(nonatomic) AVAudioFrameCount frameLength;
@property(nonatomic, readonly) NSUInteger stride;
@property(nonatomic, readonly) float* const _Nonnull* _Nullable floatChannelData;
@property(nonatomic, readonly) int16_t* const _Nonnull* _Nullable int16ChannelData;
@property(nonatomic, readonly) int32_t* const _Nonnull* _Nullable int32ChannelData;
@end

@interface AVAudioTime : NSObject
@property(nonatomic, readonly) uint64_t hostTime;
@property(nonatomic, readonly) AVAudioFramePosition sampleTime;
@end

NS_ASSUME_NONNULL_END
