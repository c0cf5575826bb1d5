// Formats and buffers of sound: memory laid out as the format says.

#include "AVAudio.h"
#include "Described.h"

#include <vector>

@implementation AVAudioChannelLayout {
@public
    AudioChannelLayoutTag _tag;
}
+ (BOOL)supportsSecureCoding
{
    return YES;
}
- (instancetype)initWithLayoutTag:(AudioChannelLayoutTag)tag
{
    self = [super init];
    _tag = tag;
    return self;
}
@end

@implementation AVAudioFormat {
    AVAudioCommonFormat _type;
    double _rate;
    AVAudioChannelCount _channels;
    BOOL _interleaved;
}
+ (BOOL)supportsSecureCoding
{
    return YES;
}
- (instancetype)initWithCommonFormat:(AVAudioCommonFormat)type
                          sampleRate:(double)rate
                            channels:(AVAudioChannelCount)channels
                         interleaved:(BOOL)interleaved
{
    self = [super init];
    _type = type;
    _rate = rate;
    _channels = channels;
    _interleaved = interleaved;
    constexpr AVAudioChannelCount mostWithoutLayout = 2;
    return rate > 0 && channels > 0 && channels <= mostWithoutLayout ? self : nil;
}
- (instancetype)initWithCommonFormat:(AVAudioCommonFormat)type
                          sampleRate:(double)rate
                         interleaved:(BOOL)interleaved
                       channelLayout:(AVAudioChannelLayout*)layout
{
    self = [super init];
    _type = type;
    _rate = rate;
    constexpr AudioChannelLayoutTag kind = 0xFFFF0000;
    if ((layout->_tag & kind) != kAudioChannelLayoutTag_DiscreteInOrder)
        return nil;
    _channels = layout->_tag & ~kind;
    _interleaved = interleaved;
    return self;
}
- (AVAudioCommonFormat)commonFormat
{
    return _type;
}
- (double)sampleRate
{
    return _rate;
}
- (AVAudioChannelCount)channelCount
{
    return _channels;
}
- (BOOL)isInterleaved
{
    return _interleaved;
}
- (BOOL)isEqual:(id)object
{
    if (![object isKindOfClass:AVAudioFormat.class])
        return NO;
    AVAudioFormat* other = object;
    return _type == other->_type && _rate == other->_rate && _channels == other->_channels &&
           _interleaved == other->_interleaved;
}
- (NSString*)description
{
    const std::string text = std::to_string(_type) + "/" + standins::described(_rate) + "/" +
                             std::to_string(_channels) + (_interleaved ? "i" : "p");
    return [NSString stringWithUTF8String:text.c_str()];
}
@end

@implementation AVAudioBuffer {
@public
    AVAudioFormat* _format;
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
- (AVAudioFormat*)format
{
    return _format;
}
@end

@implementation AVAudioPCMBuffer {
    AVAudioFrameCount _capacity;
    AVAudioFrameCount _length;
    std::vector<char> _memory;
    std::vector<char*> _channels;
}
- (instancetype)initWithPCMFormat:(AVAudioFormat*)format frameCapacity:(AVAudioFrameCount)capacity
{
    if (standins::sound().refusesBuffers)
        return nil;
    self = [super init];
    _format = format;
    _capacity = capacity;
    const std::size_t size = format.commonFormat == AVAudioPCMFormatInt16     ? 2
                             : format.commonFormat == AVAudioPCMFormatFloat64 ? 8
                                                                              : 4;
    const std::size_t channels = format.channelCount;
    _memory.resize(size * channels * capacity);
    for (std::size_t channel = 0; channel < channels; ++channel)
        _channels.push_back(_memory.data() +
                            channel * size * (format.isInterleaved ? 1 : capacity));
    return self;
}
- (AVAudioFrameCount)frameCapacity
{
    return _capacity;
}
- (AVAudioFrameCount)frameLength
{
    return _length;
}
- (void)setFrameLength:(AVAudioFrameCount)length
{
    if (length > _capacity)
        [[NSException exceptionWithName:NSInvalidArgumentException
                                 reason:@"a length beyond the capacity"
                               userInfo:nil] raise];
    _length = length;
}
- (NSUInteger)stride
{
    return _format.isInterleaved ? _format.channelCount : 1;
}
- (float* const*)floatChannelData
{
    return _format.commonFormat == AVAudioPCMFormatFloat32 ? (float**)_channels.data() : nullptr;
}
- (std::int16_t* const*)int16ChannelData
{
    return _format.commonFormat == AVAudioPCMFormatInt16 ? (std::int16_t**)_channels.data()
                                                         : nullptr;
}
- (std::int32_t* const*)int32ChannelData
{
    return _format.commonFormat == AVAudioPCMFormatInt32 ? (std::int32_t**)_channels.data()
                                                         : nullptr;
}
- (char*)memory
{
    return _memory.data();
}
- (std::size_t)memorySize
{
    return _memory.size();
}
@end

namespace standins {

Sound& sound()
{
    static Sound answers;
    return answers;
}

AVAudioFormat* soundFormat(AVAudioCommonFormat type, double rate, std::uint32_t channels,
                           bool interleaved)
{
    if (channels <= 2)
        return [[AVAudioFormat alloc] initWithCommonFormat:type
                                                sampleRate:rate
                                                  channels:channels
                                               interleaved:interleaved];
    AVAudioChannelLayout* layout = [[AVAudioChannelLayout alloc]
        initWithLayoutTag:kAudioChannelLayoutTag_DiscreteInOrder | channels];
    return [[AVAudioFormat alloc] initWithCommonFormat:type
                                            sampleRate:rate
                                           interleaved:interleaved
                                         channelLayout:layout];
}

} // namespace standins
