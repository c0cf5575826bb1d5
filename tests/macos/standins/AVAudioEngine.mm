// An engine with a microphone.

#include "AVAudio.h"
#include "Described.h"

NSNotificationName const AVAudioEngineConfigurationChangeNotification =
    @"AVAudioEngineConfigurationChange";

namespace {

__weak AVAudioEngine* lastEngine = nil;

} // namespace

@implementation AVAudioNode {
@public
    AVAudioNodeTapBlock _tap;
}
- (AVAudioFormat*)outputFormatForBus:(AVAudioNodeBus)bus
{
    standins::note(self, _cmd, bus);
    return standins::sound().microphone;
}
- (void)installTapOnBus:(AVAudioNodeBus)bus
             bufferSize:(AVAudioFrameCount)bufferSize
                 format:(AVAudioFormat*)format
                  block:(AVAudioNodeTapBlock)block
{
    standins::note(self, _cmd, bus, bufferSize, format.description);
    if (standins::sound().tapRefusal != nil)
        @throw standins::sound().tapRefusal;
    if (_tap != nil)
        [[NSException exceptionWithName:NSInternalInconsistencyException
                                 reason:@"required condition is false: nullptr == Tap()"
                               userInfo:nil] raise];
    _tap = block;
    if (standins::sound().keepsTap)
        standins::sound().keptTap = block;
}
- (void)removeTapOnBus:(AVAudioNodeBus)bus
{
    standins::note(self, _cmd, bus);
    _tap = nil;
}
@end

@implementation AVAudioIONode
@end

@implementation AVAudioInputNode
@end

@implementation AVAudioEngine {
@public
    AVAudioInputNode* _input;
    BOOL _running;
}
- (instancetype)init
{
    self = [super init];
    standins::note(self, _cmd);
    _input = [[AVAudioInputNode alloc] init];
    lastEngine = self;
    return self;
}
- (AVAudioInputNode*)inputNode
{
    standins::note(self, _cmd);
    return _input;
}
- (BOOL)isRunning
{
    return _running;
}
- (void)prepare
{
    standins::note(self, _cmd);
    if (standins::sound().prepareFault != nil)
        @throw standins::sound().prepareFault;
}
- (BOOL)startAndReturnError:(NSError**)error
{
    standins::note(self, _cmd);
    if (standins::sound().startFault != nil)
        @throw standins::sound().startFault;
    if (standins::sound().startFails) {
        *error = standins::sound().startRefusal;
        return NO;
    }
    _running = YES;
    return YES;
}
- (void)stop
{
    standins::note(self, _cmd);
    _running = NO;
}
@end

namespace standins {

AVAudioEngine* lastAudioEngine()
{
    return lastEngine;
}

void stopByItself(AVAudioEngine* engine)
{
    engine->_running = NO;
}

bool hear(AVAudioPCMBuffer* buffer)
{
    AVAudioEngine* engine = lastEngine;
    if (engine == nil || !engine->_running || engine->_input->_tap == nil)
        return false;
    AVAudioNodeTapBlock tap = engine->_input->_tap;
    AVAudioTime* when = nil;
    tap(buffer, when); // within no pool of ours
    return true;
}

} // namespace standins
