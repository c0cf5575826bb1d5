#pragma once

#include <AVFAudio/AVAudioFormat.h>

NS_ASSUME_NONNULL_BEGIN

// avfaudio/avaudionodetapblock: "The block that receives copies of the output of an audio node."
typedef void (^AVAudioNodeTapBlock)(AVAudioPCMBuffer* buffer, AVAudioTime* when);

// avfaudio/avaudionode: "An object you use for audio generation, processing, or an I/O block."
@interface AVAudioNode : NSObject
// avfaudio/avaudionode/outputformat(forbus:): "Retrieves the output format for the bus you
// specify."
- (AVAudioFormat*)outputFormatForBus:(AVAudioNodeBus)bus;
// avfaudio/avaudionode/installtap(onbus:buffersize:format:block:): "Installs an audio tap on a bus
// you specify to record, monitor, and observe the output of the node."
- (void)installTapOnBus:(AVAudioNodeBus)bus
             bufferSize:(AVAudioFrameCount)bufferSize
                 format:(AVAudioFormat* _Nullable)format
                  block:(AVAudioNodeTapBlock)tapBlock;
// avfaudio/avaudionode/removetap(onbus:): "Removes an audio tap on a bus you specify."
- (void)removeTapOnBus:(AVAudioNodeBus)bus;
@end

// avfaudio/avaudioionode: "An object that performs audio input or output in the engine."
@interface AVAudioIONode : AVAudioNode
@end

// avfaudio/avaudioinputnode: "An object that connects to the system’s audio input."
@interface AVAudioInputNode : AVAudioIONode
@end

// avfaudio/avaudioengineconfigurationchangenotification: "A notification the framework posts when
// the audio engine configuration changes."
FOUNDATION_EXPORT NSNotificationName const AVAudioEngineConfigurationChangeNotification;

// avfaudio/avaudioengine: "An object that manages a graph of audio nodes, controls playback, and
// configures real-time rendering constraints."
@interface AVAudioEngine : NSObject
// avfaudio/avaudioengine/init(): "Creates an audio engine instance for rendering in real time."
- (instancetype)init;
// avfaudio/avaudioengine/inputnode: "The audio engine’s singleton input audio node."
@property(readonly, nonatomic) AVAudioInputNode* inputNode;
// avfaudio/avaudioengine/isrunning: "A Boolean value that indicates whether the audio engine is
// running."
@property(readonly, nonatomic, getter=isRunning) BOOL running;
// avfaudio/avaudioengine/prepare(): "Prepares the audio engine for starting."
- (void)prepare;
// avfaudio/avaudioengine/start(): "Starts the audio engine."
- (BOOL)startAndReturnError:(NSError* _Nullable* _Nullable)outError;
// avfaudio/avaudioengine/stop(): "Stops the audio engine and releases any previously prepared
// resources."
- (void)stop;
// avfaudio/avaudioengine/reset(): "Resets all audio nodes in the audio engine."
- (void)reset;
@end

// avfaudio/avaudioapplication/recordpermission-swift.enum: "Constants that indicate the app’s
// permission to record audio."
typedef NS_ENUM(NSInteger, AVAudioApplicationRecordPermission) {
    // avfaudio/avaudioapplication/recordpermission-swift.enum/undetermined: "Indicates the app
    // hasn’t requested recording permission."
    AVAudioApplicationRecordPermissionUndetermined = 'undt',
    // avfaudio/avaudioapplication/recordpermission-swift.enum/denied: "Indicates the user denies
    // the app permission to record audio."
    AVAudioApplicationRecordPermissionDenied = 'deny',
    // avfaudio/avaudioapplication/recordpermission-swift.enum/granted: "Indicates the user grants
    // the app permission to record audio."
    AVAudioApplicationRecordPermissionGranted = 'grnt',
} API_AVAILABLE(macos(14.0));

// avfaudio/avaudioapplication: "An object that manages one or more audio sessions that belong to
// an app."
API_AVAILABLE(macos(14.0))
@interface AVAudioApplication : NSObject
// avfaudio/avaudioapplication/shared: "Accesses the shared audio application instance."
@property(class, readonly) AVAudioApplication* sharedInstance;
// avfaudio/avaudioapplication/recordpermission-swift.property: "The app’s permission to record
// audio."
@property(nonatomic, readonly) AVAudioApplicationRecordPermission recordPermission;
// avfaudio/avaudioapplication/requestrecordpermission(completionhandler:): "Determines whether the
// app has permission to record audio."
+ (void)requestRecordPermissionWithCompletionHandler:(void (^)(BOOL granted))response;
@end

NS_ASSUME_NONNULL_END
