// Arrays over memory of others, which is lent for a look.

#include "Described.h"
#include "MLModel.h"

#include <vector>

@implementation MLMultiArray {
    void* _memory;
    NSArray<NSNumber*>* _shape;
    NSArray<NSNumber*>* _strides;
    MLMultiArrayDataType _dataType;
}
- (instancetype)initWithDataPointer:(void*)memory
                              shape:(NSArray<NSNumber*>*)shape
                           dataType:(MLMultiArrayDataType)dataType
                            strides:(NSArray<NSNumber*>*)strides
                        deallocator:(void (^)(void* bytes))deallocator
                              error:(NSError**)error
{
    self = [super init];
    std::string text;
    for (NSNumber* extent in shape)
        text += std::to_string(extent.integerValue) + " ";
    text += "by";
    for (NSNumber* stride in strides)
        text += " " + std::to_string(stride.integerValue);
    standins::note(self, _cmd, (NSInteger)dataType, [NSString stringWithUTF8String:text.c_str()],
                   deallocator != nullptr);
    if (standins::models().refusesArrays) {
        *error = standins::models().refusal;
        return nil;
    }
    _memory = memory;
    _shape = shape;
    _strides = strides;
    _dataType = dataType;
    return self;
}
- (MLMultiArrayDataType)dataType
{
    return _dataType;
}
- (NSArray<NSNumber*>*)shape
{
    return _shape;
}
- (NSArray<NSNumber*>*)strides
{
    return _strides;
}
- (void)getBytesWithHandler:(void(NS_NOESCAPE ^)(const void*, NSInteger))handler
{
    NSInteger elements = 1;
    for (NSUInteger axis = 0; axis < _shape.count; ++axis)
        elements += (_shape[axis].integerValue - 1) * _strides[axis].integerValue;
    constexpr NSInteger bits = 0xFF;
    const auto* bytes = static_cast<const char*>(_memory);
    std::vector<char> lent(bytes, bytes + elements * (_dataType & bits) / 8);
    handler(lent.data(), static_cast<NSInteger>(lent.size()));
    lent.assign(lent.size(), char{0x55}); // it was lent for a look
}
@end

@implementation MLFeatureValue {
    MLMultiArray* _array;
}
+ (instancetype)featureValueWithMultiArray:(MLMultiArray*)array
{
    MLFeatureValue* value = [[self alloc] init];
    value->_array = array;
    return value;
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
- (MLMultiArray*)multiArrayValue
{
    return _array;
}
@end

namespace standins {

MLFeatureValue* noArray()
{
    return [[MLFeatureValue alloc] init];
}

} // namespace standins
