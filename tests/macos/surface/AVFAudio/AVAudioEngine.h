#pragma once

#include <AVFAudio/AVAudioFormat.h>

NS_ASSUME_NONNULL_BEGIN

typedef void (^AVAudioNodeTapBlock)(AVAudioPCMBuffer* buffer, AVAudioTime* when);

@interface AVAudioNode : NSObject
- (AVAudioFormat*)inputFormatForBus:(AVAudioNodeBus)bus;
- (AVAudioFormat*)outputFormatForBus:(AVAudioNodeBus)bus;
- (void)installTapOnBus:(AVAudioNodeBus)bus
             bufferSize:(AVAudioFrameCount)bufferSize
                 format:(AVAudioFormat* _Nullable)format
                  block:(AVAudioNodeTapBlock)tapBlock;
- (void)removeTapOnBus:(AVAudioNodeBus)bus;
@end

@interface AVAudioIONode : AVAudioNode
@end

@interface AVAudioInputNode : AVAudioIONode
@end

FOUNDATION_EXPORT NSNotificationName const AVAudioEngineConfigurationChangeNotification;

@interface AVAudioEngine : NSObject
- (instancetype)init;
@property(readonly, nonatomic) AVAudioInputNode* inputNode;
@property(readonly, nonatomic, getter=isRunning) BOOL running;
- (void)prepare;
- (BOOL)startAndReturnError:(NSError* _Nullable* _Nullable)outError;
- (void)stop;
- (void)reset;
@end

typedef NS_ENUM(NSInteger, AVAudioApplicationRecordPermission) {
    AVAudioApplicationRecordPermissionUndetermined = 'undt',
    AVAudioApplicationRecordPermissionDenied = 'deny',
    AVAudioApplicationRecordPermissionGranted = 'grnt',
} API_AVAILABLE(macos(14.0));

API_AVAILABLE(macos(14.0))
@interface AVAudioApplication : NSObject
@property(class, readonly) AVAudioApplication* sharedInstance;
@property(nonatomic, readonly) AVAudioApplicationRecordPermission recordPermission;
+ (void)requestRecordPermissionWithCompletionHandler:(void (^)(BOOL granted))response;
@end

NS_ASSUME_NONNULL_END
