#pragma once

#include "Platform/macOS/Objects/Ref.h"
#include "Platform/macOS/Plain/ErrorLine.h"

#include <Foundation/Foundation.h>

#include <filesystem>
#include <string>

namespace vorlin {

/// UTF-8; empty for nil.
inline std::string textOf(NSString* _Nullable text)
{
    const char* const bytes = text.UTF8String;
    return bytes != nullptr ? bytes : "";
}

/// Empty when `text` is no UTF-8.
inline NSString* _Nonnull nsText(const std::string& text)
{
    NSString* const made = [[NSString alloc] initWithBytes:text.data()
                                                    length:text.size()
                                                  encoding:NSUTF8StringEncoding];
    return made != nil ? autoreleased(made) : @"";
}

/// The address of a file or folder. Nothing when `path` is empty or no UTF-8: to the system that
/// would be the folder that the program runs in.
inline NSURL* _Nullable fileURL(const std::filesystem::path& path)
{
    NSString* const text = nsText(path.string());
    return text.length != 0 ? [NSURL fileURLWithPath:text] : nil;
}

/// What an error says, in one line for a person.
inline std::string lineOf(NSError* _Nullable error)
{
    return errorLine(textOf(error.localizedDescription));
}

/// What an exception says, in one line for a person.
inline std::string lineOf(NSException* _Nonnull exception)
{
    return errorLine(textOf(exception.reason));
}

} // namespace vorlin
