#pragma once

#include <Foundation/NSFiles.h>

NS_ASSUME_NONNULL_BEGIN

@class NSNotification;
@class NSOperationQueue;

typedef NSString* NSNotificationName NS_TYPED_EXTENSIBLE_ENUM;
typedef NSString* NSRunLoopMode NS_TYPED_EXTENSIBLE_ENUM;
FOUNDATION_EXPORT NSRunLoopMode const NSDefaultRunLoopMode;
FOUNDATION_EXPORT NSRunLoopMode const NSRunLoopCommonModes;

FOUNDATION_EXPORT NSNotificationName const NSUserDefaultsDidChangeNotification;

@interface NSUserDefaults : NSObject
@property(class, readonly, strong) NSUserDefaults* standardUserDefaults;
- (nullable instancetype)initWithSuiteName:(nullable NSString*)suitename NS_DESIGNATED_INITIALIZER;
- (nullable id)objectForKey:(NSString*)defaultName;
- (void)setObject:(nullable id)value forKey:(NSString*)defaultName;
- (void)removeObjectForKey:(NSString*)defaultName;
- (nullable NSString*)stringForKey:(NSString*)defaultName;
- (nullable NSData*)dataForKey:(NSString*)defaultName;
- (NSInteger)integerForKey:(NSString*)defaultName;
- (double)doubleForKey:(NSString*)defaultName;
- (BOOL)boolForKey:(NSString*)defaultName;
- (void)setInteger:(NSInteger)value forKey:(NSString*)defaultName;
- (void)setDouble:(double)value forKey:(NSString*)defaultName;
- (void)setBool:(BOOL)value forKey:(NSString*)defaultName;
- (NSDictionary<NSString*, id>*)dictionaryRepresentation;
- (BOOL)synchronize;
@end

@interface NSNotification : NSObject <NSCopying>
@property(readonly, copy) NSNotificationName name;
@property(nullable, readonly, strong) id object;
@property(nullable, readonly, copy) NSDictionary* userInfo;
@end

@interface NSNotificationCenter : NSObject
@property(class, readonly, strong) NSNotificationCenter* defaultCenter;
- (void)addObserver:(id)observer
           selector:(SEL)aSelector
               name:(nullable NSNotificationName)aName
             object:(nullable id)anObject;
- (id<NSObject>)addObserverForName:(nullable NSNotificationName)name
                            object:(nullable id)obj
                             queue:(nullable NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification* notification))block;
- (void)removeObserver:(id)observer;
- (void)removeObserver:(id)observer
                  name:(nullable NSNotificationName)aName
                object:(nullable id)anObject;
@end

@interface NSDistributedNotificationCenter : NSNotificationCenter
+ (NSDistributedNotificationCenter*)defaultCenter;
@end

@interface NSOperationQueue : NSObject
@property(class, readonly, strong) NSOperationQueue* mainQueue;
- (void)addOperationWithBlock:(void (^)(void))block;
@end

@interface NSTimer : NSObject
+ (NSTimer*)timerWithTimeInterval:(NSTimeInterval)interval
                          repeats:(BOOL)repeats
                            block:(void (^)(NSTimer* timer))block;
+ (NSTimer*)scheduledTimerWithTimeInterval:(NSTimeInterval)interval
                                   repeats:(BOOL)repeats
                                     block:(void (^)(NSTimer* timer))block;
@property NSTimeInterval tolerance;
@property(readonly, getter=isValid) BOOL valid;
- (void)invalidate;
@end

@interface NSRunLoop : NSObject
@property(class, readonly, strong) NSRunLoop* currentRunLoop;
@property(class, readonly, strong) NSRunLoop* mainRunLoop;
- (void)addTimer:(NSTimer*)timer forMode:(NSRunLoopMode)mode;
@end

@interface NSRunLoop (NSRunLoopConveniences)
- (void)run;
- (BOOL)runMode:(NSRunLoopMode)mode beforeDate:(NSDate*)limitDate;
- (void)performBlock:(void (^)(void))block;
@end

@interface NSThread : NSObject
@property(class, readonly, strong) NSThread* currentThread;
@property(class, readonly) BOOL isMainThread;
@end

typedef struct {
    NSInteger majorVersion;
    NSInteger minorVersion;
    NSInteger patchVersion;
} NSOperatingSystemVersion;

typedef NS_OPTIONS(uint64_t, NSActivityOptions) {
    NSActivityUserInitiated = 0x00FFFFFFULL | (1ULL << 20),
    NSActivityUserInitiatedAllowingIdleSystemSleep = NSActivityUserInitiated & ~(1ULL << 20),
    NSActivityLatencyCritical = 0xFF00000000ULL,
};

@interface NSProcessInfo : NSObject
@property(class, readonly, strong) NSProcessInfo* processInfo;
@property(readonly, copy) NSArray<NSString*>* arguments;
@property(readonly) int processIdentifier;
@property(readonly) NSOperatingSystemVersion operatingSystemVersion;
@property(readonly) NSTimeInterval systemUptime;
- (BOOL)isOperatingSystemAtLeastVersion:(NSOperatingSystemVersion)version;
@end

@interface NSProcessInfo (NSProcessInfoActivity)
- (id<NSObject>)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString*)reason;
- (void)endActivity:(id<NSObject>)activity;
@end

typedef NSString* NSLocaleKey NS_TYPED_ENUM;
FOUNDATION_EXPORT NSLocaleKey const NSLocaleLanguageCode;
FOUNDATION_EXPORT NSNotificationName const NSCurrentLocaleDidChangeNotification;

@interface NSLocale : NSObject <NSCopying>
- (nullable id)objectForKey:(NSLocaleKey)key;
- (instancetype)initWithLocaleIdentifier:(NSString*)string NS_DESIGNATED_INITIALIZER;
@end

@interface NSLocale (NSExtendedLocale)
@property(readonly, copy) NSString* localeIdentifier;
@property(readonly, copy) NSString* languageCode;
@end

@interface NSLocale (NSLocaleCreation)
@property(class, readonly, copy) NSLocale* currentLocale;
@property(class, readonly, strong) NSLocale* autoupdatingCurrentLocale;
+ (instancetype)localeWithLocaleIdentifier:(NSString*)ident;
@end

@interface NSLocale (NSLocaleGeneralInfo)
@property(class, readonly, copy) NSArray<NSString*>* preferredLanguages;
@end

NS_ASSUME_NONNULL_END
