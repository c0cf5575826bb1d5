#include "Runtime.h"

#import <Foundation/NSObject.h>

extern "C" {
id objc_retain(id object);
void objc_release(id object);
id objc_autorelease(id object);
bool objc_opt_isKindOfClass(id object, Class wanted);
}

@implementation NSObject

+ (instancetype)alloc
{
    return (id)standins::create((standins::Class*)self);
}
+ (instancetype)new
{
    return [[self alloc] init];
}
- (instancetype)init
{
    return self;
}
- (void)dealloc
{
    standins::destroy((standins::Object*)self);
}
- (id)copy
{
    return [(id<NSCopying>)self copyWithZone:nullptr];
}
- (id)mutableCopy
{
    return [(id<NSMutableCopying>)self mutableCopyWithZone:nullptr];
}
+ (Class)class
{
    return self;
}
- (Class)class
{
    return isa;
}
- (instancetype)self
{
    return self;
}
- (instancetype)retain
{
    return objc_retain(self);
}
- (oneway void)release
{
    objc_release(self);
}
- (instancetype)autorelease
{
    return objc_autorelease(self);
}
- (BOOL)isEqual:(id)object
{
    return self == object;
}
- (NSUInteger)hash
{
    return (NSUInteger)self;
}
- (BOOL)isKindOfClass:(Class)aClass
{
    return objc_opt_isKindOfClass(self, aClass);
}
- (BOOL)conformsToProtocol:(Protocol*)aProtocol
{
    (void)aProtocol;
    return NO;
}
- (BOOL)respondsToSelector:(SEL)aSelector
{
    return standins::implementation((standins::Class*)isa, (const char*)aSelector) != nullptr;
}
- (NSString*)description
{
    return (NSString*)nil;
}
+ (BOOL)instancesRespondToSelector:(SEL)aSelector
{
    return standins::implementation((standins::Class*)self, (const char*)aSelector) != nullptr;
}

@end
