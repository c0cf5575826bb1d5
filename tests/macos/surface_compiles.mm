// Uses one thing of each framework in the declared surface, as an adapter would.

#import <AVFAudio/AVFAudio.h>
#import <AVFoundation/AVFoundation.h>
#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>
#import <Carbon/Carbon.h>
#import <Cocoa/Cocoa.h>
#import <CoreFoundation/CoreFoundation.h>
#import <CoreGraphics/CoreGraphics.h>
#import <CoreML/CoreML.h>
#import <Foundation/Foundation.h>
#import <QuartzCore/QuartzCore.h>
#import <ServiceManagement/ServiceManagement.h>
#import <TargetConditionals.h>
#import <pthread/qos.h>

#include "Async/MainLoop.h"
#include "Ports/Ports.h"

#include <string>
#include <vector>

namespace {

static_assert(TARGET_OS_OSX && !TARGET_OS_IPHONE);

std::string text(NSString* string)
{
    const char* bytes = string.UTF8String;
    return bytes == nullptr ? std::string() : std::string(bytes);
}

CGEventRef passed(CGEventTapProxy /*proxy*/, CGEventType type, CGEventRef event, void* /*self*/)
{
    return type == kCGEventKeyDown ? nullptr : event;
}

} // namespace

bool prompted();
bool prompted()
{
    NSDictionary* options = @{(__bridge NSString*)kAXTrustedCheckOptionPrompt : @YES};
    return AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)options) != 0 &&
           IsSecureEventInputEnabled() == 0;
}

CFMachPortRef tapped();
CFMachPortRef tapped()
{
    CFMachPortRef port =
        CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap, kCGEventTapOptionDefault,
                         CGEventMaskBit(kCGEventKeyDown), passed, nullptr);
    if (port == nullptr)
        return nullptr;
    CFRunLoopSourceRef source = CFMachPortCreateRunLoopSource(kCFAllocatorDefault, port, 0);
    CFRunLoopAddSource(CFRunLoopGetMain(), source, kCFRunLoopCommonModes);
    CFRelease(source);
    return port;
}

NSPanel* shown();
NSPanel* shown()
{
    NSPanel* panel = [[NSPanel alloc] initWithContentRect:NSZeroRect
                                                styleMask:NSWindowStyleMaskNonactivatingPanel
                                                  backing:NSBackingStoreBuffered
                                                    defer:YES];
    panel.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces;
    panel.backgroundColor = NSColor.clearColor;
    if (@available(macOS 26.0, *)) {
        panel.contentView = [[NSGlassEffectView alloc] initWithFrame:NSZeroRect];
    } else {
        panel.contentView = [[NSVisualEffectView alloc] initWithFrame:NSZeroRect];
    }
    panel.contentView.layer.cornerRadius = 27;
    [NSAnimationContext runAnimationGroup:^(NSAnimationContext* context) {
      context.duration = 0.18;
      panel.animator.alphaValue = 1.0;
    }];
    return panel;
}

std::string heard(AVAudioEngine* engine);
std::string heard(AVAudioEngine* engine)
{
    @autoreleasepool {
        AVAudioInputNode* input = engine.inputNode;
        @try {
            [input installTapOnBus:0
                        bufferSize:2048
                            format:[input outputFormatForBus:0]
                             block:^(AVAudioPCMBuffer* buffer, AVAudioTime* /*when*/) {
                               buffer.frameLength = 0;
                             }];
        } @catch (NSException* exception) {
            return exception.reason == nil ? text(exception.name) : text(exception.reason);
        }
        NSError* error = nil;
        [engine prepare];
        if (![engine startAndReturnError:&error])
            return text(error.localizedDescription);
        if ([AVCaptureDevice authorizationStatusForMediaType:AVMediaTypeAudio] !=
            AVAuthorizationStatusAuthorized)
            return text([SMAppService.mainAppService description]);
        return {};
    }
}

std::vector<long> predicted(MLModel* model);
std::vector<long> predicted(MLModel* model)
{
    NSError* error = nil;
    MLMultiArray* signal = [[MLMultiArray alloc] initWithShape:@[ @1, @240000 ]
                                                      dataType:MLMultiArrayDataTypeFloat32
                                                         error:&error];
    MLDictionaryFeatureProvider* input = [[MLDictionaryFeatureProvider alloc]
        initWithDictionary:@{@"audio_signal" : [MLFeatureValue featureValueWithMultiArray:signal]}
                     error:&error];
    std::vector<long> strides;
    for (NSNumber* stride in [[model predictionFromFeatures:input
                                                      error:&error] featureValueForName:@"mel"]
             .multiArrayValue.strides)
        strides.push_back(stride.integerValue);
    return strides;
}
