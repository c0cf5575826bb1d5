#pragma once

#include <ApplicationServices/ApplicationServices.h>

// unconfirmed: docs.rs/objc2-carbon: "fn IsSecureEventInputEnabled() -> Boolean"
SURFACE_EXTERN Boolean IsSecureEventInputEnabled(void);
