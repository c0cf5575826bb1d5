#pragma once

#include <ApplicationServices/ApplicationServices.h>

SURFACE_EXTERN Boolean IsSecureEventInputEnabled(void);
