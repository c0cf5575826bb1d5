#pragma once

#include <Foundation/NSFiles.h>

NS_ASSUME_NONNULL_BEGIN

@class NSNotification;
@class NSOperationQueue;

// foundation/nsdate: "A representation of a specific point in time, independent of any calendar or
// time zone."
@interface NSDate : NSObject <NSCopying>
// foundation/nsdate/timeintervalsincereferencedate: "The interval between the date object and
// 00:00:00 UTC on 1 January 2001."
@property(readonly) NSTimeInterval timeIntervalSinceReferenceDate;
@end

// foundation/nsnotification/name: "A structure that defines the name of a notification."
typedef NSString* NSNotificationName NS_TYPED_EXTENSIBLE_ENUM;

// foundation/userdefaults: "An interface to the user’s defaults database, where you store
// key-value pairs persistently across launches of your app."
@interface NSUserDefaults : NSObject
// foundation/userdefaults/1416603-standard: "Returns the shared defaults object."
@property(class, readonly, strong) NSUserDefaults* standardUserDefaults;
// foundation/userdefaults/1409957-init: "Creates a user defaults object initialized with the
// defaults for the specified database name."
- (nullable instancetype)initWithSuiteName:(nullable NSString*)suitename NS_DESIGNATED_INITIALIZER;
// foundation/userdefaults/1410095-object: "Returns the object associated with the specified key."
- (nullable id)objectForKey:(NSString*)defaultName;
// docs.rs/objc2-foundation/NSUserDefaults: "pub unsafe fn setObject_forKey(&self, value:
// Option<&AnyObject>, default_name: &NSString)"
- (void)setObject:(nullable id)value forKey:(NSString*)defaultName;
// foundation/userdefaults/1411182-removeobject: "Removes the value of the specified default key."
- (void)removeObjectForKey:(NSString*)defaultName;
// foundation/userdefaults/1408646-set: "Sets the value of the specified default key to the double
// value."
- (void)setDouble:(double)value forKey:(NSString*)defaultName;
// foundation/userdefaults/1408905-set: "Sets the value of the specified default key to the
// specified Boolean value."
- (void)setBool:(BOOL)value forKey:(NSString*)defaultName;
@end

// foundation/nsnotification: "An object containing information broadcast to registered observers
// that bridges to Notification; use NSNotification when you need reference semantics or other
// Foundation-specific behavior."
@interface NSNotification : NSObject <NSCopying>
// foundation/nsnotification/1416472-name: "The name of the notification."
@property(readonly, copy) NSNotificationName name;
// foundation/nsnotification/1414469-object: "The object associated with the notification."
@property(nullable, readonly, strong) id object;
// foundation/nsnotification/1409222-userinfo: "The user information dictionary associated with the
// notification."
@property(nullable, readonly, copy) NSDictionary* userInfo;
@end

// foundation/notificationcenter: "A notification dispatch mechanism that enables the broadcast of
// information to registered observers."
@interface NSNotificationCenter : NSObject
// foundation/notificationcenter/1414169-default: "The app’s default notification center."
@property(class, readonly, strong) NSNotificationCenter* defaultCenter;
// foundation/notificationcenter/1415360-addobserver: "Adds an entry to the notification center to
// call the provided selector with the notification."
- (void)addObserver:(id)observer
           selector:(SEL)aSelector
               name:(nullable NSNotificationName)aName
             object:(nullable id)anObject;
// foundation/notificationcenter/1411723-addobserver: "Adds an entry to the notification center to
// receive notifications that passed to the provided block."
- (id<NSObject>)addObserverForName:(nullable NSNotificationName)name
                            object:(nullable id)obj
                             queue:(nullable NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification* notification))block;
// foundation/notificationcenter/1413994-removeobserver: "Removes all entries specifying an
// observer from the notification center's dispatch table."
- (void)removeObserver:(id)observer;
// foundation/notificationcenter/1407263-removeobserver: "Removes matching entries from the
// notification center's dispatch table."
- (void)removeObserver:(id)observer
                  name:(nullable NSNotificationName)aName
                object:(nullable id)anObject;
@end

// foundation/distributednotificationcenter: "A notification dispatch mechanism that enables the
// broadcast of notifications across task boundaries."
@interface NSDistributedNotificationCenter : NSNotificationCenter
// foundation/distributednotificationcenter/1412063-default: "Returns the default distributed
// notification center, representing the local notification center for the computer."
+ (NSDistributedNotificationCenter*)defaultCenter;
// foundation/distributednotificationcenter/
// postnotificationname(_:object:userinfo:deliverimmediately:): "Creates a notification with
// information and an immediate-delivery specifier, and posts it to the receiver."
- (void)postNotificationName:(NSNotificationName)name
                      object:(nullable NSString*)object
                    userInfo:(nullable NSDictionary*)userInfo
          deliverImmediately:(BOOL)deliverImmediately;
@end

// foundation/operationqueue: "A queue that regulates the execution of operations."
@interface NSOperationQueue : NSObject
@end

// foundation/runloop: "The programmatic interface to objects that manage input sources."
@interface NSRunLoop : NSObject
@end

@interface NSRunLoop (NSRunLoopConveniences)
// foundation/nsrunloop/1412430-run: "Puts the receiver into a permanent loop, during which time it
// processes data from all attached input sources."
- (void)run;
@end

// foundation/nsthread: "A thread of execution."
@interface NSThread : NSObject
// foundation/thread/1412704-ismainthread: "Returns a Boolean value that indicates whether the
// current thread is the main thread."
@property(class, readonly) BOOL isMainThread;
@end

// unconfirmed: docs.rs/objc2-foundation: "pub struct NSOperatingSystemVersion {"
typedef struct {
    NSInteger majorVersion;
    NSInteger minorVersion;
    NSInteger patchVersion;
} NSOperatingSystemVersion;

// foundation/nslocale/key: "The keys used to access components of a locale."
typedef NSString* NSLocaleKey NS_TYPED_ENUM;
// foundation/nslocale/key/1408898-languagecode: "The locale language code."
FOUNDATION_EXPORT NSLocaleKey const NSLocaleLanguageCode;

// foundation/nslocale: "An object representing information about linguistic, cultural, and
// technological conventions that bridges to Locale; use NSLocale when you need reference semantics
// or other Foundation-specific behavior."
@interface NSLocale : NSObject <NSCopying>
// foundation/nslocale/1418430-object: "Returns the value of the component corresponding to the
// specified key."
- (nullable id)objectForKey:(NSLocaleKey)key;
@end

@interface NSLocale (NSExtendedLocale)
// foundation/nslocale/1643026-languagecode: "The language code for the locale."
@property(readonly, copy) NSString* languageCode;
@end

@interface NSLocale (NSLocaleCreation)
// foundation/nslocale/1409990-current: "A locale representing the user's region settings at the
// time the property is read."
@property(class, readonly, copy) NSLocale* currentLocale;
@end

NS_ASSUME_NONNULL_END
