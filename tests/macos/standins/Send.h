#pragma once

#include "Runtime.h"

#import <Foundation/Foundation.h>

namespace standins {

/// Sends what a target was given to be sent, with one or two objects.
inline void send(id target, SEL action, id first, id second = nil)
{
    auto* cls = (__bridge Class*)(id)[target class];
    const auto code = reinterpret_cast<void (*)(id, SEL, id, id)>(
        implementation(cls, reinterpret_cast<const char*>(action)));
    code(target, action, first, second);
}

} // namespace standins
