#pragma once

#include "Recorder.h"

#import <Foundation/Foundation.h>

#include <concepts>
#include <string>

namespace standins {

/// The name of an object's class, or of a class.
std::string nameOf(id object);

/// A value as it is written down: texts as they stand, other objects by their class.
std::string described(id object);
std::string described(double number);
std::string described(const NSRect& rect);
std::string described(SEL selector);
template <std::integral T>
std::string described(T value)
{
    if constexpr (std::same_as<T, bool>)
        return value ? "YES" : "NO";
    else
        return std::to_string(value);
}

/// Writes down the call that runs, and with what.
template <class... Arguments>
void note(id self, SEL selector, const Arguments&... arguments)
{
    const std::string which = std::string("[") + nameOf(self) + " " + described(selector) + "]";
    const bool ofClass = (id)[self class] == self;
    note((ofClass ? "+" : "-") + which + (std::string() + ... + (" " + described(arguments))));
}

} // namespace standins
