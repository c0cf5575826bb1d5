// Foundation's small values, true as far as they go: what an adapter puts in comes out again.

#import <Foundation/Foundation.h>

#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

NSErrorUserInfoKey const NSLocalizedDescriptionKey = @"NSLocalizedDescription";
NSErrorDomain const NSCocoaErrorDomain = @"NSCocoaErrorDomain";
NSErrorDomain const NSURLErrorDomain = @"NSURLErrorDomain";
NSExceptionName const NSGenericException = @"NSGenericException";
NSExceptionName const NSInvalidArgumentException = @"NSInvalidArgumentException";
NSExceptionName const NSInternalInconsistencyException = @"NSInternalInconsistencyException";

namespace {

NSString* make(const std::string& bytes)
{
    return [[NSString alloc] initWithBytes:bytes.data()
                                    length:bytes.size()
                                  encoding:NSUTF8StringEncoding];
}

std::string plain(NSString* string)
{
    return string == nil ? std::string() : std::string(string.UTF8String);
}

std::u16string units(const std::string& utf8)
{
    std::u16string result;
    for (std::size_t at = 0; at < utf8.size();) {
        const auto first = static_cast<unsigned char>(utf8[at]);
        const std::size_t size = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
        char32_t point = size == 1 ? first : first & (0xFF >> (size + 1));
        for (std::size_t next = 1; next < size; ++next)
            point = point << 6 | (static_cast<unsigned char>(utf8[at + next]) & 0x3F);
        at += size;
        if (point >= 0x10000) {
            result += static_cast<char16_t>(0xD7C0 + (point >> 10));
            point = 0xDC00 + (point & 0x3FF);
        }
        result += static_cast<char16_t>(point);
    }
    return result;
}

// As far as leading and following bytes go.
bool isUTF8(const std::string& bytes)
{
    std::size_t following = 0;
    for (const char one : bytes) {
        const auto byte = static_cast<unsigned char>(one);
        const bool follows = (byte & 0xC0) == 0x80;
        if (follows != (following > 0) || byte >= 0xF8)
            return false;
        following = follows       ? following - 1
                    : byte < 0x80 ? 0
                    : byte < 0xE0 ? 1
                    : byte < 0xF0 ? 2
                                  : 3;
    }
    return following == 0;
}

} // namespace

@implementation NSString {
    std::string _bytes;
}
- (instancetype)init
{
    return [super init];
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
+ (instancetype)string
{
    return [[self alloc] init];
}
+ (instancetype)stringWithString:(NSString*)string
{
    return [self stringWithUTF8String:string.UTF8String];
}
+ (instancetype)stringWithUTF8String:(const char*)text
{
    return [[self alloc] initWithUTF8String:text];
}
- (instancetype)initWithUTF8String:(const char*)text
{
    return [self initWithBytes:text length:std::strlen(text) encoding:NSUTF8StringEncoding];
}
- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)length
                     encoding:(NSStringEncoding)encoding
{
    self = [self init];
    _bytes.assign(static_cast<const char*>(bytes), length);
    return encoding == NSUTF8StringEncoding && isUTF8(_bytes) ? self : nil;
}
- (const char*)UTF8String
{
    return _bytes.c_str();
}
- (const char*)fileSystemRepresentation
{
    return self.UTF8String;
}
- (NSUInteger)length
{
    return units(self.UTF8String).size();
}
- (unichar)characterAtIndex:(NSUInteger)index
{
    return units(self.UTF8String).at(index);
}
- (NSUInteger)hash
{
    return std::hash<std::string>()(self.UTF8String);
}
- (BOOL)isEqual:(id)object
{
    return [object isKindOfClass:NSString.class] && [self isEqualToString:object];
}
- (BOOL)isEqualToString:(NSString*)string
{
    return plain(self) == plain(string);
}
- (BOOL)hasPrefix:(NSString*)string
{
    return plain(self).starts_with(plain(string));
}
- (BOOL)hasSuffix:(NSString*)string
{
    return plain(self).ends_with(plain(string));
}
- (BOOL)containsString:(NSString*)string
{
    return plain(self).find(plain(string)) != std::string::npos;
}
- (NSString*)stringByAppendingString:(NSString*)string
{
    return make(plain(self) + plain(string));
}
- (NSString*)stringByAppendingPathComponent:(NSString*)component
{
    const std::string path = plain(self);
    return make(path + (path.ends_with('/') ? "" : "/") + plain(component));
}
- (NSString*)lastPathComponent
{
    const std::string path = plain(self);
    return make(path.substr(path.rfind('/') + 1));
}
- (NSString*)description
{
    return self;
}
@end

// What a literal is laid out as; it is made by the compiler, and lies in the program's data.
@interface NSConstantString : NSString
@end

@implementation NSConstantString
- (const char*)UTF8String
{
    struct Literal {
        void* isa;
        int kind;
        const void* text;
        long length;
    };
    const auto* literal = (__bridge const Literal*)self;
    constexpr int of16Bits = 0x7D0;
    if (literal->kind != of16Bits)
        return static_cast<const char*>(literal->text);
    static std::mutex mutex;
    static std::map<const Literal*, std::string> converted;
    const std::lock_guard lock(mutex);
    std::string& text = converted[literal];
    const auto* from = static_cast<const char16_t*>(literal->text);
    for (long at = 0; text.empty() && at < literal->length;) {
        std::string result;
        for (; at < literal->length; ++at) {
            char32_t point = from[at];
            if (point >= 0xD800 && point < 0xDC00)
                point = ((point - 0xD7C0) << 10) + (from[++at] - 0xDC00);
            if (point < 0x80)
                result += static_cast<char>(point);
            else if (point < 0x800)
                result += {static_cast<char>(0xC0 | point >> 6),
                           static_cast<char>(0x80 | (point & 0x3F))};
            else if (point < 0x10000)
                result += {static_cast<char>(0xE0 | point >> 12),
                           static_cast<char>(0x80 | (point >> 6 & 0x3F)),
                           static_cast<char>(0x80 | (point & 0x3F))};
            else
                result += {static_cast<char>(0xF0 | point >> 18),
                           static_cast<char>(0x80 | (point >> 12 & 0x3F)),
                           static_cast<char>(0x80 | (point >> 6 & 0x3F)),
                           static_cast<char>(0x80 | (point & 0x3F))};
        }
        text = result;
    }
    return text.c_str();
}
@end

@implementation NSArray {
@public
    std::vector<id> _objects;
}
+ (instancetype)array
{
    return [[self alloc] init];
}
+ (instancetype)arrayWithObject:(id)object
{
    return [self arrayWithObjects:&object count:1];
}
+ (instancetype)arrayWithObjects:(const id[])objects count:(NSUInteger)count
{
    NSArray* array = [[self alloc] init];
    array->_objects.assign(objects, objects + count);
    return array;
}
+ (instancetype)arrayWithCapacity:(NSUInteger)capacity
{
    (void)capacity;
    return [self array];
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return [NSArray arrayWithObjects:_objects.data() count:_objects.size()];
}
- (NSUInteger)count
{
    return _objects.size();
}
- (id)objectAtIndex:(NSUInteger)index
{
    return _objects.at(index);
}
- (id)objectAtIndexedSubscript:(NSUInteger)index
{
    return _objects.at(index);
}
- (id)firstObject
{
    return _objects.empty() ? nil : _objects.front();
}
- (id)lastObject
{
    return _objects.empty() ? nil : _objects.back();
}
- (BOOL)containsObject:(id)object
{
    for (id one : _objects)
        if ([one isEqual:object])
            return YES;
    return NO;
}
- (BOOL)isEqual:(id)object
{
    if (![object isKindOfClass:NSArray.class] || [object count] != self.count)
        return NO;
    for (NSUInteger index = 0; index < self.count; ++index)
        if (![_objects[index] isEqual:[object objectAtIndex:index]])
            return NO;
    return YES;
}
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length
{
    static unsigned long unchanged = 0;
    NSUInteger count = 0;
    for (; count < length && state->state < _objects.size(); ++state->state)
        buffer[count++] = _objects[state->state];
    state->itemsPtr = buffer;
    state->mutationsPtr = &unchanged;
    return count;
}
@end

@implementation NSMutableArray
- (void)addObject:(id)object
{
    _objects.push_back(object);
}
@end

@implementation NSDictionary {
@public
    std::vector<std::pair<id, id>> _pairs;
}
+ (instancetype)dictionary
{
    return [[self alloc] init];
}
+ (instancetype)dictionaryWithObject:(id)object forKey:(id)key
{
    return [self dictionaryWithObjects:&object forKeys:&key count:1];
}
+ (instancetype)dictionaryWithObjects:(const id[])objects
                              forKeys:(const id[])keys
                                count:(NSUInteger)count
{
    NSDictionary* dictionary = [[self alloc] init];
    for (NSUInteger index = 0; index < count; ++index)
        dictionary->_pairs.emplace_back(keys[index], objects[index]);
    return dictionary;
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    NSDictionary* copied = [[NSDictionary alloc] init];
    copied->_pairs = _pairs;
    return copied;
}
- (NSUInteger)count
{
    return _pairs.size();
}
- (id)objectForKey:(id)key
{
    for (const auto& [own, object] : _pairs)
        if ([own isEqual:key])
            return object;
    return nil;
}
- (id)objectForKeyedSubscript:(id)key
{
    return [self objectForKey:key];
}
- (NSArray*)allKeys
{
    NSMutableArray* keys = [NSMutableArray array];
    for (const auto& [key, object] : _pairs)
        [keys addObject:key];
    return keys;
}
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length
{
    return [self.allKeys countByEnumeratingWithState:state objects:buffer count:length];
}
@end

@implementation NSMutableDictionary
- (void)setObject:(id)object forKey:(id)key
{
    [self removeObjectForKey:key];
    _pairs.emplace_back(key, object);
}
- (void)setObject:(id)object forKeyedSubscript:(id)key
{
    [self setObject:object forKey:key];
}
- (void)removeObjectForKey:(id)key
{
    std::erase_if(_pairs, [&](const auto& pair) { return [pair.first isEqual:key]; });
}
@end

@implementation NSData {
    std::string _bytes;
}
+ (instancetype)dataWithBytes:(const void*)bytes length:(NSUInteger)length
{
    return [[self alloc] initWithBytes:bytes length:length];
}
- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length
{
    self = [super init];
    _bytes.assign(static_cast<const char*>(bytes), length);
    return self;
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
- (NSUInteger)length
{
    return _bytes.size();
}
- (const void*)bytes
{
    return _bytes.data();
}
- (BOOL)isEqual:(id)object
{
    return [object isKindOfClass:NSData.class] && ((NSData*)object)->_bytes == _bytes;
}
@end

@implementation NSError {
    NSErrorDomain _domain;
    NSInteger _code;
    NSDictionary* _userInfo;
}
+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(NSDictionary*)userInfo
{
    return [[self alloc] initWithDomain:domain code:code userInfo:userInfo];
}
- (instancetype)initWithDomain:(NSErrorDomain)domain
                          code:(NSInteger)code
                      userInfo:(NSDictionary*)userInfo
{
    self = [super init];
    _domain = domain;
    _code = code;
    _userInfo = userInfo;
    return self;
}
- (NSErrorDomain)domain
{
    return _domain;
}
- (NSInteger)code
{
    return _code;
}
- (NSDictionary*)userInfo
{
    return _userInfo == nil ? [NSDictionary dictionary] : _userInfo;
}
- (NSString*)localizedDescription
{
    NSString* given = _userInfo[NSLocalizedDescriptionKey];
    return given == nil ? @"The operation couldn’t be completed." : given;
}
@end

@implementation NSException {
    NSExceptionName _name;
    NSString* _reason;
    NSDictionary* _userInfo;
}
+ (NSException*)exceptionWithName:(NSExceptionName)name
                           reason:(NSString*)reason
                         userInfo:(NSDictionary*)userInfo
{
    NSException* exception = [[self alloc] init];
    exception->_name = name;
    exception->_reason = reason;
    exception->_userInfo = userInfo;
    return exception;
}
- (NSExceptionName)name
{
    return _name;
}
- (NSString*)reason
{
    return _reason;
}
- (NSDictionary*)userInfo
{
    return _userInfo;
}
- (void)raise
{
    @throw self;
}
@end
