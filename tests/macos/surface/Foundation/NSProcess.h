#pragma once

#include <Foundation/NSFiles.h>

NS_ASSUME_NONNULL_BEGIN

@class NSNotification;
@class NSOperationQueue;

// foundation/nsnotification/name: "A structure that defines the name of a notification."
typedef NSString* NSNotificationName NS_TYPED_EXTENSIBLE_ENUM;
// foundation/nsrunloopmode: "Modes that a run loop operates in."
typedef NSString* NSRunLoopMode NS_TYPED_EXTENSIBLE_ENUM;
// foundation/nsdefaultrunloopmode: "The mode set to handle input sources other than connection
// objects."
FOUNDATION_EXPORT NSRunLoopMode const NSDefaultRunLoopMode;
// foundation/nsrunloopcommonmodes: "A pseudo-mode that includes one or more other run loop modes."
FOUNDATION_EXPORT NSRunLoopMode const NSRunLoopCommonModes;

// foundation/userdefaults/1408206-didchangenotification: "Posted when user defaults are changed
// within the current process."
FOUNDATION_EXPORT NSNotificationName const NSUserDefaultsDidChangeNotification;

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
// foundation/userdefaults/1416700-string: "Returns the string associated with the specified key."
- (nullable NSString*)stringForKey:(NSString*)defaultName;
// foundation/userdefaults/1409590-data: "Returns the data object associated with the specified
// key."
- (nullable NSData*)dataForKey:(NSString*)defaultName;
// foundation/userdefaults/1407405-integer: "Returns the integer value associated with the
// specified key."
- (NSInteger)integerForKey:(NSString*)defaultName;
// foundation/userdefaults/1416581-double: "Returns the double value associated with the specified
// key."
- (double)doubleForKey:(NSString*)defaultName;
// foundation/userdefaults/1416388-bool: "Returns the Boolean value associated with the specified
// key."
- (BOOL)boolForKey:(NSString*)defaultName;
// docs.rs/objc2-foundation/NSUserDefaults: "pub fn setInteger_forKey(&self, value: NSInteger,
// default_name: &NSString)"
- (void)setInteger:(NSInteger)value forKey:(NSString*)defaultName;
// foundation/userdefaults/1408646-set: "Sets the value of the specified default key to the double
// value."
- (void)setDouble:(double)value forKey:(NSString*)defaultName;
// foundation/userdefaults/1408905-set: "Sets the value of the specified default key to the
// specified Boolean value."
- (void)setBool:(BOOL)value forKey:(NSString*)defaultName;
// foundation/userdefaults/1415919-dictionaryrepresentation: "Returns a dictionary that contains a
// union of all key-value pairs in the domains in the search list."
- (NSDictionary<NSString*, id>*)dictionaryRepresentation;
// foundation/userdefaults/1414005-synchronize: "Waits for any pending asynchronous updates to the
// defaults database and returns; this method is unnecessary and shouldn't be used."
- (BOOL)synchronize;
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
// foundation/distributednotificationcenter/postnotificationname(_:object:userinfo:deliverimmediately:):
// "Creates a notification with information and an immediate-delivery specifier, and posts it to
// the receiver."
- (void)postNotificationName:(NSNotificationName)name
                      object:(nullable NSString*)object
                    userInfo:(nullable NSDictionary*)userInfo
          deliverImmediately:(BOOL)deliverImmediately;
@end

// foundation/operationqueue: "A queue that regulates the execution of operations."
@interface NSOperationQueue : NSObject
// foundation/nsoperationqueue/1409193-mainqueue: "Returns the operation queue associated with the
// main thread."
@property(class, readonly, strong) NSOperationQueue* mainQueue;
// foundation/nsoperationqueue/1412949-addoperationwithblock: "Wraps the specified block in an
// operation and adds it to the receiver."
- (void)addOperationWithBlock:(void (^)(void))block;
@end

// foundation/timer: "A timer that fires after a certain time interval has elapsed, sending a
// specified message to a target object."
@interface NSTimer : NSObject
// foundation/nstimer/2091888-timerwithtimeinterval: "Initializes a timer object with the specified
// time interval and block."
+ (NSTimer*)timerWithTimeInterval:(NSTimeInterval)interval
                          repeats:(BOOL)repeats
                            block:(void (^)(NSTimer* timer))block;
// foundation/nstimer/2091889-scheduledtimerwithtimeinterval: "Creates a timer and schedules it on
// the current run loop in the default mode."
+ (NSTimer*)scheduledTimerWithTimeInterval:(NSTimeInterval)interval
                                   repeats:(BOOL)repeats
                                     block:(void (^)(NSTimer* timer))block;
// foundation/nstimer/1415085-tolerance: "The amount of time after the scheduled fire date that the
// timer may fire."
@property NSTimeInterval tolerance;
// foundation/nstimer/1408249-valid: "A Boolean value that indicates whether the timer is currently
// valid."
@property(readonly, getter=isValid) BOOL valid;
// foundation/nstimer/1415405-invalidate: "Stops the timer from ever firing again and requests its
// removal from its run loop."
- (void)invalidate;
@end

// foundation/runloop: "The programmatic interface to objects that manage input sources."
@interface NSRunLoop : NSObject
// foundation/nsrunloop/1412291-currentrunloop: "Returns the run loop for the current thread."
@property(class, readonly, strong) NSRunLoop* currentRunLoop;
// foundation/nsrunloop/1418388-mainrunloop: "Returns the run loop of the main thread."
@property(class, readonly, strong) NSRunLoop* mainRunLoop;
// foundation/nsrunloop/1418468-addtimer: "Registers a given timer with a given input mode."
- (void)addTimer:(NSTimer*)timer forMode:(NSRunLoopMode)mode;
@end

@interface NSRunLoop (NSRunLoopConveniences)
// foundation/nsrunloop/1412430-run: "Puts the receiver into a permanent loop, during which time it
// processes data from all attached input sources."
- (void)run;
// foundation/nsrunloop/1411525-runmode: "Runs the loop once, blocking for input in the specified
// mode until a given date."
- (BOOL)runMode:(NSRunLoopMode)mode beforeDate:(NSDate*)limitDate;
// foundation/nsrunloop/2091881-performblock: "Schedules a block that the run loop invokes."
- (void)performBlock:(void (^)(void))block;
@end

// foundation/nsthread: "A thread of execution."
@interface NSThread : NSObject
// foundation/nsthread/1410679-currentthread: "Returns the thread object representing the current
// thread of execution."
@property(class, readonly, strong) NSThread* currentThread;
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

// foundation/nsactivityoptions: "Option flags used with and ."
typedef NS_OPTIONS(uint64_t, NSActivityOptions) {
    // docs.rs/objc2-foundation: "const UserInitiated =
    // 0x00FFFFFF|NSActivityOptions::IdleSystemSleepDisabled.0"
    NSActivityUserInitiated = 0x00FFFFFFULL | (1ULL << 20),
    // docs.rs/objc2-foundation: "const UserInitiatedAllowingIdleSystemSleep =
    // NSActivityOptions::UserInitiated.0&!NSActivityOptions::IdleSystemSleepDisabled.0"
    NSActivityUserInitiatedAllowingIdleSystemSleep = NSActivityUserInitiated & ~(1ULL << 20),
    // docs.rs/objc2-foundation: "const LatencyCritical = 0xFF00000000"
    NSActivityLatencyCritical = 0xFF00000000ULL,
};

// foundation/processinfo: "A collection of information about the current process."
@interface NSProcessInfo : NSObject
// foundation/processinfo/1408734-processinfo: "Returns the process information agent for the
// process."
@property(class, readonly, strong) NSProcessInfo* processInfo;
// foundation/processinfo/1415596-arguments: "Array of strings with the command-line arguments for
// the process."
@property(readonly, copy) NSArray<NSString*>* arguments;
// foundation/processinfo/1415929-processidentifier: "The identifier of the process (often called
// process ID)."
@property(readonly) int processIdentifier;
// foundation/processinfo/1410906-operatingsystemversion: "The version of the operating system on
// which the process is executing."
@property(readonly) NSOperatingSystemVersion operatingSystemVersion;
// foundation/processinfo/1414553-systemuptime: "The amount of time the system has been awake since
// the last time it was restarted."
@property(readonly) NSTimeInterval systemUptime;
// foundation/processinfo/1414876-isoperatingsystematleast: "Returns a Boolean value indicating
// whether the version of the operating system on which the process is executing is the same or
// later than the given version."
- (BOOL)isOperatingSystemAtLeastVersion:(NSOperatingSystemVersion)version;
@end

@interface NSProcessInfo (NSProcessInfoActivity)
// foundation/nsprocessinfo/1415995-beginactivitywithoptions: "Begin an activity using the given
// options and reason."
- (id<NSObject>)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString*)reason;
// foundation/nsprocessinfo/1411321-endactivity: "Ends the given activity."
- (void)endActivity:(id<NSObject>)activity;
@end

// foundation/nslocale/key: "The keys used to access components of a locale."
typedef NSString* NSLocaleKey NS_TYPED_ENUM;
// foundation/nslocale/key/1408898-languagecode: "The locale language code."
FOUNDATION_EXPORT NSLocaleKey const NSLocaleLanguageCode;
// foundation/nslocale/1418141-currentlocaledidchangenotificati: "A notification that indicates
// that the user’s locale changed."
FOUNDATION_EXPORT NSNotificationName const NSCurrentLocaleDidChangeNotification;

// foundation/nslocale: "An object representing information about linguistic, cultural, and
// technological conventions that bridges to Locale; use NSLocale when you need reference semantics
// or other Foundation-specific behavior."
@interface NSLocale : NSObject <NSCopying>
// foundation/nslocale/1418430-object: "Returns the value of the component corresponding to the
// specified key."
- (nullable id)objectForKey:(NSLocaleKey)key;
// foundation/nslocale/1414217-init: "Initializes a locale using a given locale identifier."
- (instancetype)initWithLocaleIdentifier:(NSString*)string NS_DESIGNATED_INITIALIZER;
@end

@interface NSLocale (NSExtendedLocale)
// foundation/nslocale/1416263-localeidentifier: "The identifier for the locale."
@property(readonly, copy) NSString* localeIdentifier;
// foundation/nslocale/1643026-languagecode: "The language code for the locale."
@property(readonly, copy) NSString* languageCode;
@end

@interface NSLocale (NSLocaleCreation)
// foundation/nslocale/1409990-current: "A locale representing the user's region settings at the
// time the property is read."
@property(class, readonly, copy) NSLocale* currentLocale;
// foundation/nslocale/1414388-autoupdatingcurrent: "A locale which tracks the user’s current
// preferences."
@property(class, readonly, strong) NSLocale* autoupdatingCurrentLocale;
// docs.rs/objc2-foundation/NSLocale: "pub fn localeWithLocaleIdentifier(ident: &NSString) ->
// Retained<Self>"
+ (instancetype)localeWithLocaleIdentifier:(NSString*)ident;
@end

@interface NSLocale (NSLocaleGeneralInfo)
// foundation/nslocale/1415614-preferredlanguages: "An ordered list of the user's preferred
// languages."
@property(class, readonly, copy) NSArray<NSString*>* preferredLanguages;
@end

NS_ASSUME_NONNULL_END
