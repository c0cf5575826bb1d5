#pragma once

// Which system has a declaration first. Clang looks at these for a macOS target only. Declarations
// that are older than macOS 11, the first on Arm, carry none: nothing we support lacks them.
#define SURFACE_INTRODUCED_macos(version) availability(macos, introduced = version)
#define SURFACE_PERIOD_macos(since, until)                                                         \
    availability(macos, introduced = since, deprecated = until)
#define API_AVAILABLE(platform) __attribute__((SURFACE_INTRODUCED_##platform))
#define API_DEPRECATED(text, platform) __attribute__((SURFACE_PERIOD_##platform))
