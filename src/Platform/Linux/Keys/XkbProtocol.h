#pragma once

// A field of one of the structures in xcb's header has the name of a C++ keyword.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit explicitComponents // NOLINT(readability-identifier-naming): theirs
#include <xcb/xkb.h>
#undef explicit
#ifdef __clang__
#pragma clang diagnostic pop
#endif
