#pragma once

#include <AVFAudio/AVAudioFormat.h>

NS_ASSUME_NONNULL_BEGIN

// avfaudio/avaudioconverterinputstatus: "An option that indicates the status of an audio converter
// input block."
typedef NS_ENUM(NSInteger, AVAudioConverterInputStatus) {
    // avfaudio/avaudioconverterinputstatus/havedata: "A status that indicates the normal case
    // where you supply data to the converter."
    AVAudioConverterInputStatus_HaveData = 0,
    // avfaudio/avaudioconverterinputstatus/nodatanow: "A status that indicates you’re out of
    // data."
    AVAudioConverterInputStatus_NoDataNow = 1,
    // avfaudio/avaudioconverterinputstatus/endofstream: "A status that indicates you’re at the end
    // of an audio stream."
    AVAudioConverterInputStatus_EndOfStream = 2,
};
// avfaudio/avaudioconverteroutputstatus: "An option that indicates the return status of an audio
// converter method."
typedef NS_ENUM(NSInteger, AVAudioConverterOutputStatus) {
    // avfaudio/avaudioconverteroutputstatus/havedata: "A status that indicates that the method
    // returns all of the requested data."
    AVAudioConverterOutputStatus_HaveData = 0,
    // avfaudio/avaudioconverteroutputstatus/inputrandry: "A status that indicates the method
    // doesn’t have enough input available to satisfy the request."
    AVAudioConverterOutputStatus_InputRanDry = 1,
    // avfaudio/avaudioconverteroutputstatus/endofstream: "A status that indicates the method
    // reaches the end of the stream, and doesn’t return any data."
    AVAudioConverterOutputStatus_EndOfStream = 2,
    // avfaudio/avaudioconverteroutputstatus/error: "A status that indicates the method encounters
    // an error."
    AVAudioConverterOutputStatus_Error = 3,
};

// avfaudio/avaudioconverterinputblock: "A block to get input data for conversion, as necessary."
typedef AVAudioBuffer* _Nullable (^AVAudioConverterInputBlock)(
    AVAudioPacketCount inNumberOfPackets, AVAudioConverterInputStatus* outStatus);

// avfaudio/avaudioconverter: "An object that converts streams of audio between formats."
@interface AVAudioConverter : NSObject
// avfaudio/avaudioconverter/init(from:to:): "Creates an audio converter object from the specified
// input and output formats."
- (nullable instancetype)initFromFormat:(AVAudioFormat*)fromFormat
                               toFormat:(AVAudioFormat*)toFormat;
// avfaudio/avaudioconverter/reset(): "Resets the converter so you can convert a new audio stream."
- (void)reset;
// avfaudio/avaudioconverter/convert(to:error:withinputfrom:): "Performs a conversion between audio
// formats, if the system supports it."
- (AVAudioConverterOutputStatus)convertToBuffer:(AVAudioBuffer*)outputBuffer
                                          error:(NSError* _Nullable* _Nullable)outError
                             withInputFromBlock:(NS_NOESCAPE AVAudioConverterInputBlock)inputBlock;
@end

NS_ASSUME_NONNULL_END
