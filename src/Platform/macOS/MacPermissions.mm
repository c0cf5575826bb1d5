#include "Platform/macOS/MacPermissions.h"

#include <AVFAudio/AVFAudio.h>
#include <ApplicationServices/ApplicationServices.h>
#include <Carbon/Carbon.h>
#include <Foundation/Foundation.h>

namespace vorlin {

bool MacPermissions::isTrusted() const
{
    return AXIsProcessTrusted() != 0;
}

bool MacPermissions::microphoneGranted() const
{
    return [AVAudioApplication sharedInstance].recordPermission ==
           AVAudioApplicationRecordPermissionGranted;
}

bool MacPermissions::microphoneAnswered() const
{
    return [AVAudioApplication sharedInstance].recordPermission !=
           AVAudioApplicationRecordPermissionUndetermined;
}

bool MacPermissions::isKeyboardSecured() const
{
    return IsSecureEventInputEnabled() != 0;
}

void MacPermissions::promptForTrust()
{
    const void* names[] = {kAXTrustedCheckOptionPrompt};
    const void* values[] = {kCFBooleanTrue};
    const CFDictionaryRef options =
        CFDictionaryCreate(kCFAllocatorDefault, names, values, 1, &kCFTypeDictionaryKeyCallBacks,
                           &kCFTypeDictionaryValueCallBacks);
    AXIsProcessTrustedWithOptions(options);
    CFRelease(options);
}

void MacPermissions::requestMicrophone()
{
    const auto way = door.shared();
    [AVAudioApplication requestRecordPermissionWithCompletionHandler:^(BOOL /*granted*/) {
      @autoreleasepool { // on a thread of the system's
          way->post([this] { onMicrophoneAnswer(); });
      }
    }];
}

} // namespace vorlin
