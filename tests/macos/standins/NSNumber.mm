#import <Foundation/Foundation.h>

#include <string>
#include <variant>

@implementation NSValue
- (const char*)objCType
{
    return "";
}
@end

// Remembers which of the three kinds it was made of, and by which name the platform calls it.
@implementation NSNumber {
    std::variant<long long, unsigned long long, double> _value;
    const char* _type;
}

- (instancetype)initWith:(std::variant<long long, unsigned long long, double>)value
                    code:(const char*)code
{
    self = [super init];
    _value = value;
    _type = code;
    return self;
}
#define MADE_OF(name, type, held)                                                                  \
    +(NSNumber*)numberWith##name : (type)value                                                     \
    {                                                                                              \
        return [[NSNumber alloc] initWith:static_cast<held>(value) code:@encode(type)];            \
    }
MADE_OF(Char, char, long long)
MADE_OF(UnsignedChar, unsigned char, unsigned long long)
MADE_OF(Short, short, long long)
MADE_OF(UnsignedShort, unsigned short, unsigned long long)
MADE_OF(Int, int, long long)
MADE_OF(UnsignedInt, unsigned int, unsigned long long)
MADE_OF(Long, long, long long)
MADE_OF(UnsignedLong, unsigned long, unsigned long long)
MADE_OF(LongLong, long long, long long)
MADE_OF(UnsignedLongLong, unsigned long long, unsigned long long)
MADE_OF(Float, float, double)
MADE_OF(Double, double, double)
MADE_OF(Bool, BOOL, long long)
MADE_OF(Integer, NSInteger, long long)
MADE_OF(UnsignedInteger, NSUInteger, unsigned long long)
#undef MADE_OF
#define READ_AS(name, type)                                                                        \
    -(type)name                                                                                    \
    {                                                                                              \
        return std::visit([](auto value) { return static_cast<type>(value); }, _value);            \
    }
READ_AS(intValue, int)
READ_AS(unsignedIntValue, unsigned int)
READ_AS(longLongValue, long long)
READ_AS(unsignedLongLongValue, unsigned long long)
READ_AS(floatValue, float)
READ_AS(doubleValue, double)
READ_AS(boolValue, BOOL)
READ_AS(integerValue, NSInteger)
READ_AS(unsignedIntegerValue, NSUInteger)
#undef READ_AS
- (const char*)objCType
{
    return _type;
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
- (NSUInteger)hash
{
    return self.unsignedIntegerValue;
}
- (BOOL)isEqual:(id)object
{
    return [object isKindOfClass:NSNumber.class] && [self isEqualToNumber:object];
}
- (BOOL)isEqualToNumber:(NSNumber*)number
{
    return self.doubleValue == number.doubleValue && self.longLongValue == number.longLongValue;
}
- (NSString*)stringValue
{
    const std::string text = std::visit([](auto value) { return std::to_string(value); }, _value);
    return [NSString stringWithUTF8String:text.c_str()];
}
@end
