// The numbers that macOS gives to what we ask of it. An adapter uses the names; this file holds
// them to the numbers, so that a name of a neighbour, or a wrong declaration, does not pass. What
// our plain C++ writes as a number is held to the names.

#include "Hotkey.h"
#include "Platform/macOS/Plain/KeyEvents.h"
#include "Platform/macOS/Plain/ModelFeatures.h"
#include "Platform/macOS/Plain/SampleFormats.h"

#import <AVFAudio/AVFAudio.h>
#import <AppKit/AppKit.h>
#import <Carbon/Carbon.h>
#import <CoreML/CoreML.h>
#import <ServiceManagement/ServiceManagement.h>

#include <pthread/qos.h>

#include <cstdint>
#include <type_traits>

namespace {

using namespace vorlin;

// --- Keys seen ---
static_assert(kCGEventKeyDown == 10, "a key goes down");
static_assert(kCGEventKeyUp == 11, "a key goes up");
static_assert(kCGEventFlagsChanged == 12, "a modifier key goes down or up");
constexpr CGEventMask seen = CGEventMaskBit(kCGEventKeyDown) | CGEventMaskBit(kCGEventKeyUp) |
                             CGEventMaskBit(kCGEventFlagsChanged);
static_assert(seen == 0x1C00, "the tap sees these three and no other");
static_assert(static_cast<std::uint32_t>(kCGEventTapDisabledByTimeout) == 0xFFFFFFFE,
              "the system disabled a tap that was slow");
static_assert(static_cast<std::uint32_t>(kCGEventTapDisabledByUserInput) == 0xFFFFFFFF,
              "the system disabled a tap on a person's demand");
static_assert(static_cast<std::uint32_t>(KeyEventType::keyDown) == kCGEventKeyDown &&
                  static_cast<std::uint32_t>(KeyEventType::keyUp) == kCGEventKeyUp &&
                  static_cast<std::uint32_t>(KeyEventType::flagsChanged) == kCGEventFlagsChanged,
              "our types of key events have the numbers of the tap's");
static_assert(static_cast<std::uint32_t>(KeyEventType::tapDisabledByTimeout) ==
                      static_cast<std::uint32_t>(kCGEventTapDisabledByTimeout) &&
                  static_cast<std::uint32_t>(KeyEventType::tapDisabledByUserInput) ==
                      static_cast<std::uint32_t>(kCGEventTapDisabledByUserInput),
              "and of what it tells of itself");
static_assert(tappedEvents == seen, "the mask that the tap is given");
static_assert(kCGSessionEventTap == 1, "the tap sits where events enter the login session");
static_assert(kCGHeadInsertEventTap == 0, "the tap comes before those that are there");
static_assert(kCGEventTapOptionDefault == 0, "the tap may swallow events");
static_assert(kCGKeyboardEventAutorepeat == 8, "the field that tells a repeat");
static_assert(kCGKeyboardEventKeycode == 9, "the field that holds the key code");

static_assert(kCGEventFlagMaskShift == 0x20000, "Shift in an event's flags");
static_assert(kCGEventFlagMaskControl == 0x40000, "Control in an event's flags");
static_assert(kCGEventFlagMaskAlternate == 0x80000, "Option in an event's flags");
static_assert(kCGEventFlagMaskCommand == 0x100000, "Command in an event's flags");
static_assert(kCGEventFlagMaskSecondaryFn == 0x800000, "fn in an event's flags");
static_assert((kCGEventFlagMaskShift | kCGEventFlagMaskControl | kCGEventFlagMaskAlternate |
               kCGEventFlagMaskCommand) == 0x1E0000,
              "the four modifiers that a dictation key may have");
static_assert(eventFlags::maskShift == kCGEventFlagMaskShift &&
                  eventFlags::maskControl == kCGEventFlagMaskControl &&
                  eventFlags::maskAlternate == kCGEventFlagMaskAlternate &&
                  eventFlags::maskCommand == kCGEventFlagMaskCommand &&
                  eventFlags::maskSecondaryFn == kCGEventFlagMaskSecondaryFn,
              "our flags are the system's");

// --- Keys posted ---
static_assert(kCGEventSourceStateCombinedSessionState == 0, "the source of posted keys");
static_assert(kCGHIDEventTap == 0, "keys are posted where the hardware's enter");
static_assert(kVK_ANSI_V == 9, "the key that pastes together with Command");
static_assert(kVK_Escape == 53, "the key that cancels");
static_assert(keyCodes::v == kVK_ANSI_V && keyCodes::escape == kVK_Escape,
              "our key codes are the system's");

// --- Keys recorded ---
static_assert(NSEventTypeKeyDown == 10 && NSEventTypeKeyUp == 11 && NSEventTypeFlagsChanged == 12,
              "an application's events have the numbers of the tap's");
static_assert((NSEventMaskKeyDown | NSEventMaskFlagsChanged) == 5120,
              "the recorder sees these two");
static_assert(recordedEvents == (NSEventMaskKeyDown | NSEventMaskFlagsChanged),
              "the mask that the monitor is given");
static_assert(NSEventModifierFlagShift == 0x20000 && NSEventModifierFlagControl == 0x40000 &&
                  NSEventModifierFlagOption == 0x80000 && NSEventModifierFlagCommand == 0x100000 &&
                  NSEventModifierFlagFunction == 0x800000,
              "an application's events carry the modifiers in the same bits as the tap's");

// --- The overlay and the settings window ---
static_assert(NSWindowStyleMaskNonactivatingPanel == 128, "the overlay never becomes active");
static_assert(NSBackingStoreBuffered == 2, "the overlay is drawn into a buffer");
static_assert(NSViewLayerContentsRedrawNever == 0, "nothing but us draws the overlay's picture");
static_assert(NSStatusWindowLevel == 25, "the overlay stands above floating windows");
static_assert(NSWindowCollectionBehaviorCanJoinAllSpaces == 1, "it shows on every space");
static_assert(NSWindowCollectionBehaviorStationary == 16, "it stays where spaces are shown");
static_assert(NSWindowCollectionBehaviorFullScreenAuxiliary == 256, "it shows over a full screen");
static_assert((NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorStationary |
               NSWindowCollectionBehaviorFullScreenAuxiliary) == 273,
              "the overlay's behaviour");
static_assert(NSWindowCollectionBehaviorMoveToActiveSpace == 2, "the settings window comes here");
static_assert(NSModalResponseOK == 1, "a person chose a folder");
static_assert(NSApplicationActivationPolicyAccessory == 1, "no icon in the Dock");

static_assert(NSVisualEffectMaterialHUDWindow == 13, "where there is no glass: this material");
static_assert(NSVisualEffectBlendingModeBehindWindow == 0, "of what is behind the window");
static_assert(NSVisualEffectStateActive == 1, "though the window never is");
static_assert(kCGBitmapByteOrder32Little == 0x2000 && kCGImageAlphaPremultipliedFirst == 2,
              "a picture's bytes are blue, green, red, alpha, the colours premultiplied");
static_assert(kCGRenderingIntentDefault == 0, "colours are shown as the screen can");
static_assert(NSKeyValueObservingOptionNew == 1, "the appearance is told as it has become");
static_assert(kCoreEventClass == 0x61657674 && kAEReopenApplication == 0x72617070,
              "the event of a program that is opened again");

// --- Sound ---
static_assert(AVAudioOtherFormat == 0, "samples that are none of these");
static_assert(AVAudioPCMFormatFloat32 == 1, "samples are 32-bit floating-point numbers");
static_assert(AVAudioPCMFormatInt16 == 3, "samples are 16-bit integers");
static_assert(AVAudioPCMFormatInt32 == 4, "samples are 32-bit integers");
static_assert(commonFormats::float32 == AVAudioPCMFormatFloat32 &&
                  commonFormats::int16 == AVAudioPCMFormatInt16 &&
                  commonFormats::int32 == AVAudioPCMFormatInt32,
              "our numbers of sample types are the system's");
static_assert(kAudioChannelLayoutTag_DiscreteInOrder == 0x930000,
              "channels without a place; their count is added");
static_assert(AVAudioConverterInputStatus_HaveData == 0, "the input block hands a buffer over");
static_assert(AVAudioConverterInputStatus_NoDataNow == 1, "it has no more for now");
static_assert(AVAudioConverterInputStatus_EndOfStream == 2, "which it never says");
static_assert(std::is_same_v<AVAudioFrameCount, std::uint32_t>, "a buffer's capacity has 32 bits");
static_assert(AVAudioApplicationRecordPermissionGranted == 0x67726E74,
              "the microphone may be heard");
static_assert(AVAudioApplicationRecordPermissionUndetermined == 0x756E6474,
              "nobody has answered yet");

// --- Models ---
static_assert(MLComputeUnitsCPUOnly == 0, "preprocessor, decoder and joint");
static_assert(MLComputeUnitsCPUAndGPU == 1, "the encoder");
static_assert(MLMultiArrayDataTypeFloat32 == 65568, "32-bit floating-point elements");
static_assert(MLMultiArrayDataTypeFloat16 == 65552, "16-bit floating-point elements");
static_assert(MLMultiArrayDataTypeInt32 == 131104, "32-bit integer elements");
static_assert(dataTypes::float32 == MLMultiArrayDataTypeFloat32 &&
                  dataTypes::float16 == MLMultiArrayDataTypeFloat16 &&
                  dataTypes::int32 == MLMultiArrayDataTypeInt32,
              "our numbers of element types are the system's");
static_assert(MLFeatureTypeMultiArray == 5, "a value that is a multi-array");
static_assert(MLMultiArrayShapeConstraintTypeUnspecified == 1, "any shape will do");
static_assert(MLMultiArrayShapeConstraintTypeEnumerated == 2, "one of some shapes");
static_assert(MLMultiArrayShapeConstraintTypeRange == 3, "extents within ranges");
static_assert(QOS_CLASS_UTILITY == 0x11, "work that may wait");
static_assert(QOS_CLASS_DEFAULT == 0x15, "work that nobody has said anything of");
static_assert(QOS_CLASS_UNSPECIFIED == 0, "a thread that has no class");

// --- Files, settings, login ---
static_assert(NSUTF8StringEncoding == 4, "how text crosses between the languages");
static_assert(NSApplicationSupportDirectory == 14 && NSUserDomainMask == 1,
              "the folder above the models, in a person's home");
static_assert(NSByteCountFormatterCountStyleFile == 0, "sizes read as in the Finder");
static_assert(NSURLErrorCancelled == -999, "a download that was cancelled");
static_assert(NSURLErrorBadServerResponse == -1011, "a download that the server answered wrongly");
static_assert(SMAppServiceStatusEnabled == 1, "the program opens at login");

} // namespace
