#pragma once

#include "Platform/macOS/Objects/Ref.h"
#include "Platform/macOS/Plain/ErrorLine.h"

#include <Foundation/Foundation.h>

#include <filesystem>
#include <string>

namespace vorlin {

/// UTF-8; empty for nil.
inline std::string textOf(NSString* text)
{
    const char* const bytes = text.UTF8String;
    return bytes != nullptr ? bytes : "";
}

/// Empty when `text` is no UTF-8.
inline NSString* nsText(const std::string& text)
{
    NSString* const made = [[NSString alloc] initWithBytes:text.data()
                                                    length:text.size()
                                                  encoding:NSUTF8StringEncoding];
    return made != nil ? autoreleased(made) : @"";
}

/// The address of a file or folder.
inline NSURL* fileURL(const std::filesystem::path& path)
{
    return [NSURL fileURLWithPath:nsText(path.string())];
}

/// What an error says, in one line for a person.
inline std::string lineOf(NSError* error)
{
    return errorLine(textOf(error.localizedDescription));
}

/// What an exception says, in one line for a person.
inline std::string lineOf(NSException* exception)
{
    return errorLine(textOf(exception.reason));
}

} // namespace vorlin
