// What a program is asked for before it may listen and type.

#include "Permissions.h"

#include "Described.h"

#import <ApplicationServices/ApplicationServices.h>
#import <Carbon/Carbon.h>

#include <thread>
#include <utility>
#include <vector>

CFStringRef kAXTrustedCheckOptionPrompt = (CFStringRef) @"AXTrustedCheckOptionPrompt";
const CFBooleanRef kCFBooleanTrue =
    (CFBooleanRef)(__bridge_retained const void*)[NSNumber numberWithBool:YES];
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {};

namespace {

std::vector<void (^)(BOOL granted)> asked;

} // namespace

namespace standins {

Permissions& permissions()
{
    static Permissions answers;
    return answers;
}

void answerAboutTheMicrophone(bool granted)
{
    permissions().record = granted ? AVAudioApplicationRecordPermissionGranted
                                   : AVAudioApplicationRecordPermissionDenied;
    for (const auto& one : std::exchange(asked, {}))
        std::thread([one, granted] { one(granted); }).join();
}

} // namespace standins

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values,
                                   CFIndex count, const CFDictionaryKeyCallBacks* keyCalls,
                                   const CFDictionaryValueCallBacks* valueCalls)
{
    // Without these functions a dictionary holds nothing, and compares by address.
    if (keyCalls != &kCFTypeDictionaryKeyCallBacks ||
        valueCalls != &kCFTypeDictionaryValueCallBacks)
        return nullptr;
    NSMutableDictionary* made = [[NSMutableDictionary alloc] init];
    for (CFIndex index = 0; index < count; ++index)
        [made setObject:(__bridge id)values[index] forKey:(__bridge id)keys[index]];
    return (CFDictionaryRef)(__bridge_retained const void*)made;
}

Boolean AXIsProcessTrusted(void)
{
    standins::note("AXIsProcessTrusted");
    return standins::permissions().isTrusted;
}

Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options)
{
    std::string said;
    NSDictionary* given = (__bridge NSDictionary*)options;
    for (NSString* key in given.allKeys)
        said += " " + standins::described(key) + "=" +
                standins::described((bool)[(NSNumber*)given[key] boolValue]);
    standins::note("AXIsProcessTrustedWithOptions" + said);
    return standins::permissions().isTrusted;
}

Boolean IsSecureEventInputEnabled(void)
{
    standins::note("IsSecureEventInputEnabled");
    return standins::permissions().isKeyboardSecured;
}

@implementation AVAudioApplication
+ (AVAudioApplication*)sharedInstance
{
    static AVAudioApplication* shared = [[AVAudioApplication alloc] init];
    return shared;
}
- (AVAudioApplicationRecordPermission)recordPermission
{
    standins::note(self, _cmd);
    return standins::permissions().record;
}
+ (void)requestRecordPermissionWithCompletionHandler:(void (^)(BOOL granted))response
{
    standins::note(self, _cmd);
    asked.push_back(response);
}
@end
