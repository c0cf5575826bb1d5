#pragma once

#import <AVFAudio/AVFAudio.h>

namespace standins {

/// What the system says of what the program may do.
struct Permissions {
    bool isTrusted = false;
    bool isKeyboardSecured = false;
    AVAudioApplicationRecordPermission record = AVAudioApplicationRecordPermissionUndetermined;
};
Permissions& permissions();

/// The person answers all questions about the microphone; whoever asked is told on a thread of the
/// system's.
void answerAboutTheMicrophone(bool granted);

} // namespace standins
