#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <objc/NSObject.h>

#define FOUNDATION_EXPORT SURFACE_EXTERN
#define FOUNDATION_EXTERN SURFACE_EXTERN
#define NS_TYPED_ENUM
#define NS_TYPED_EXTENSIBLE_ENUM

NS_ASSUME_NONNULL_BEGIN

@class NSDictionary<KeyType, ObjectType>;
typedef struct _NSZone NSZone;

@protocol NSCopying
- (id)copyWithZone:(nullable NSZone*)zone;
@end

@protocol NSMutableCopying
- (id)mutableCopyWithZone:(nullable NSZone*)zone;
@end

@protocol NSSecureCoding
@property(class, readonly) BOOL supportsSecureCoding;
@end

typedef struct {
    unsigned long state;
    id __unsafe_unretained _Nullable* _Nullable itemsPtr;
    unsigned long* _Nullable mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;

@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)len;
@end

// Ownership changes sides with these two.
SURFACE_EXTERN CFTypeRef _Nullable CFBridgingRetain(id _Nullable X)
    __attribute__((cf_returns_retained));
SURFACE_EXTERN id _Nullable CFBridgingRelease(CFTypeRef CF_CONSUMED _Nullable X);

typedef struct _NSRange {
    NSUInteger location;
    NSUInteger length;
} NSRange;
static inline NSRange NSMakeRange(NSUInteger loc, NSUInteger len)
{
    NSRange range = {loc, len};
    return range;
}

typedef NS_OPTIONS(NSUInteger, NSKeyValueObservingOptions) {
    NSKeyValueObservingOptionNew = 0x01,
    NSKeyValueObservingOptionOld = 0x02,
    NSKeyValueObservingOptionInitial = 0x04,
    NSKeyValueObservingOptionPrior = 0x08,
};
typedef NSString* NSKeyValueChangeKey NS_TYPED_ENUM;

@interface NSObject (NSKeyValueObserving)
- (void)observeValueForKeyPath:(nullable NSString*)keyPath
                      ofObject:(nullable id)object
                        change:(nullable NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(nullable void*)context;
@end

@interface NSObject (NSKeyValueObserverRegistration)
- (void)addObserver:(NSObject*)observer
         forKeyPath:(NSString*)keyPath
            options:(NSKeyValueObservingOptions)options
            context:(nullable void*)context;
- (void)removeObserver:(NSObject*)observer
            forKeyPath:(NSString*)keyPath
               context:(nullable void*)context;
- (void)removeObserver:(NSObject*)observer forKeyPath:(NSString*)keyPath;
@end

@interface NSObject (NSThreadPerformAdditions)
- (void)performSelectorOnMainThread:(SEL)aSelector
                         withObject:(nullable id)arg
                      waitUntilDone:(BOOL)wait;
@end

NS_ASSUME_NONNULL_END
