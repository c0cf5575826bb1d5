#include "NSNotificationCenter.h"

#include "Described.h"

#include <vector>

@interface NSNotification () {
@public
    NSNotificationName told;
    id teller;
}
@end

@implementation NSNotification
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
- (NSNotificationName)name
{
    return told;
}
- (id)object
{
    return teller;
}
- (NSDictionary*)userInfo
{
    return nil;
}
@end

/// One entry; it is the token, too.
@interface StandInListener : NSObject {
@public
    NSNotificationName name;
    id object;
    void (^block)(NSNotification* notification);
}
@end

@implementation StandInListener
@end

@implementation NSNotificationCenter {
@public
    std::vector<StandInListener*> _listeners;
}
+ (NSNotificationCenter*)defaultCenter
{
    static NSNotificationCenter* center = [[NSNotificationCenter alloc] init];
    return center;
}
- (id<NSObject>)addObserverForName:(NSNotificationName)name
                            object:(id)object
                             queue:(NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification* notification))block
{
    standins::note(self, _cmd, name, object, queue);
    StandInListener* listener = [[StandInListener alloc] init];
    listener->name = name;
    listener->object = object;
    listener->block = block;
    _listeners.push_back(listener);
    return listener;
}
- (void)removeObserver:(id)observer
{
    standins::note(
        self, _cmd,
        [observer isKindOfClass:StandInListener.class] ? ((StandInListener*)observer)->name : nil);
    std::erase(_listeners, observer);
}
@end

@implementation NSDistributedNotificationCenter
+ (NSDistributedNotificationCenter*)defaultCenter
{
    static NSDistributedNotificationCenter* center = [[NSDistributedNotificationCenter alloc] init];
    return center;
}
- (void)postNotificationName:(NSNotificationName)name
                      object:(NSString*)object
                    userInfo:(NSDictionary*)userInfo
          deliverImmediately:(BOOL)deliverImmediately
{
    standins::note(self, _cmd, name, object, userInfo, deliverImmediately);
    standins::post(self, name, object);
}
@end

namespace standins {

void post(NSNotificationCenter* center, NSNotificationName name, id object)
{
    NSNotification* notification = [[NSNotification alloc] init];
    notification->told = name;
    notification->teller = object;
    const auto listeners = center->_listeners; // one may leave
    for (StandInListener* listener : listeners)
        if ([listener->name isEqualToString:name] &&
            (listener->object == nil || listener->object == object))
            listener->block(notification);
}

NSUInteger observers(NSNotificationCenter* center)
{
    return center->_listeners.size();
}

} // namespace standins
