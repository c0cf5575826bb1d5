#pragma once

#include <objc/NSObjCRuntime.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString;

@protocol NSObject
- (BOOL)isEqual:(nullable id)object;
@property(readonly) NSUInteger hash;
- (Class)class;
- (instancetype)self;
- (BOOL)isKindOfClass:(Class)aClass;
- (BOOL)conformsToProtocol:(Protocol*)aProtocol;
- (BOOL)respondsToSelector:(SEL)aSelector;
@property(readonly, copy) NSString* description;
#if !__has_feature(objc_arc)
- (instancetype)retain;
- (oneway void)release;
- (instancetype)autorelease;
#endif
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
    Class isa;
}
- (instancetype)init;
+ (instancetype)new;
+ (instancetype)alloc;
- (void)dealloc;
- (id)copy;
- (id)mutableCopy;
+ (Class)class;
+ (BOOL)instancesRespondToSelector:(SEL)aSelector;
@end

NS_ASSUME_NONNULL_END
