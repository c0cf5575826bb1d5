#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

SURFACE_EXTERN CFStringRef kAXTrustedCheckOptionPrompt;
SURFACE_EXTERN Boolean AXIsProcessTrusted(void);
SURFACE_EXTERN Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef _Nullable options);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
