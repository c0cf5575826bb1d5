// User defaults: a store for the program, and one for each suite.

#include "NSUserDefaults.h"

#include "Recorder.h"

#import <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>

#include <map>
#include <string>

const CFStringRef kCFPreferencesCurrentApplication = (__bridge CFStringRef) @"the program";

Boolean CFPreferencesAppSynchronize(CFStringRef applicationID)
{
    standins::note(std::string("CFPreferencesAppSynchronize ") +
                   ((__bridge NSString*)applicationID).UTF8String);
    return true;
}

namespace {

std::map<std::string, NSMutableDictionary*>& stores()
{
    static std::map<std::string, NSMutableDictionary*> bySuite;
    return bySuite;
}

void noteCall(const char* selector, NSString* key)
{
    standins::note(std::string("-[NSUserDefaults ") + selector + "] " + key.UTF8String);
}

} // namespace

namespace standins {

void forgetDefaults()
{
    stores().clear();
}

} // namespace standins

@implementation NSUserDefaults {
    std::string _suite;
}
+ (NSUserDefaults*)standardUserDefaults
{
    standins::note("+[NSUserDefaults standardUserDefaults]");
    static NSUserDefaults* standard = [super alloc];
    return standard;
}
- (instancetype)initWithSuiteName:(NSString*)suite
{
    standins::note(std::string("-[NSUserDefaults initWithSuiteName:] ") + suite.UTF8String);
    self = [super init];
    _suite = suite.UTF8String;
    return self;
}
- (NSMutableDictionary*)store
{
    NSMutableDictionary* __strong& store = stores()[_suite];
    if (store == nil)
        store = [NSMutableDictionary dictionary];
    return store;
}
- (id)objectForKey:(NSString*)key
{
    noteCall("objectForKey:", key);
    return [self store][key];
}
- (void)setObject:(id)value forKey:(NSString*)key
{
    noteCall("setObject:forKey:", key);
    [self store][key] = value;
}
- (void)removeObjectForKey:(NSString*)key
{
    noteCall("removeObjectForKey:", key);
    [[self store] removeObjectForKey:key];
}
- (void)setDouble:(double)value forKey:(NSString*)key
{
    noteCall("setDouble:forKey:", key);
    [self store][key] = [NSNumber numberWithDouble:value];
}
- (void)setBool:(BOOL)value forKey:(NSString*)key
{
    noteCall("setBool:forKey:", key);
    [self store][key] = [NSNumber numberWithBool:value];
}
@end
