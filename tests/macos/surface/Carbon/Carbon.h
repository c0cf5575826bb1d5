#pragma once

#include <ApplicationServices/ApplicationServices.h>

// unconfirmed: docs.rs/objc2-carbon: "fn IsSecureEventInputEnabled() -> Boolean"
SURFACE_EXTERN Boolean IsSecureEventInputEnabled(void);

// Keys by where they are on an American keyboard.
enum {
    // unconfirmed: docs.rs/objc2-carbon: "pub const kVK_ANSI_V: c_uint = 0x09"
    kVK_ANSI_V = 0x09,
    // unconfirmed: docs.rs/objc2-carbon: "pub const kVK_Escape: c_uint = 0x35"
    kVK_Escape = 0x35,
};
