#pragma once

// The one platform of this surface.
#define TARGET_OS_MAC 1
#define TARGET_OS_OSX 1
#define TARGET_OS_IPHONE 0
#define TARGET_CPU_ARM64 1
