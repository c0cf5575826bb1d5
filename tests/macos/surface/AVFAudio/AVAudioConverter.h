#pragma once

#include <AVFAudio/AVAudioFormat.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, AVAudioConverterInputStatus) {
    AVAudioConverterInputStatus_HaveData = 0,
    AVAudioConverterInputStatus_NoDataNow = 1,
    AVAudioConverterInputStatus_EndOfStream = 2,
};
typedef NS_ENUM(NSInteger, AVAudioConverterOutputStatus) {
    AVAudioConverterOutputStatus_HaveData = 0,
    AVAudioConverterOutputStatus_InputRanDry = 1,
    AVAudioConverterOutputStatus_EndOfStream = 2,
    AVAudioConverterOutputStatus_Error = 3,
};

typedef AVAudioBuffer* _Nullable (^AVAudioConverterInputBlock)(
    AVAudioPacketCount inNumberOfPackets, AVAudioConverterInputStatus* outStatus);

@interface AVAudioConverter : NSObject
- (nullable instancetype)initFromFormat:(AVAudioFormat*)fromFormat
                               toFormat:(AVAudioFormat*)toFormat;
- (void)reset;
@property(nonatomic, readonly) AVAudioFormat* inputFormat;
@property(nonatomic, readonly) AVAudioFormat* outputFormat;
- (AVAudioConverterOutputStatus)convertToBuffer:(AVAudioBuffer*)outputBuffer
                                          error:(NSError* _Nullable* _Nullable)outError
                             withInputFromBlock:(NS_NOESCAPE AVAudioConverterInputBlock)inputBlock;
@end

NS_ASSUME_NONNULL_END
