#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

// applicationservices/kaxtrustedcheckoptionprompt: "kAXTrustedCheckOptionPrompt"
SURFACE_EXTERN CFStringRef kAXTrustedCheckOptionPrompt;
// applicationservices/1460720-axisprocesstrusted: "Returns whether the current process is a
// trusted accessibility client."
SURFACE_EXTERN Boolean AXIsProcessTrusted(void);
// applicationservices/1459186-axisprocesstrustedwithoptions: "Returns whether the current process
// is a trusted accessibility client."
SURFACE_EXTERN Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef _Nullable options);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
