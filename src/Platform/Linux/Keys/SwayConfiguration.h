#pragma once

#include "Platform/Linux/Keys/SwayBindings.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin {

/// One file of the person's configuration of sway.
struct SwayConfigurationFile {
    std::string path;
    std::string text;
};

/// A key that the person has bound, in whichever of the ways there are, but not with other keys
/// held that are no modifiers.
struct SwayOwnBinding {
    std::string mode;
    SwayModifiers modifiers = 0;
    /// X's number of the key, for one that is bound by that; else 0.
    unsigned code = 0;
    /// Else the name of what it types, as written.
    std::string symbol;

    bool operator==(const SwayOwnBinding&) const = default;
};

/// The files that an `include` line brings in; `folder` is where the file with the line lies.
using SwayIncludes = std::function<std::vector<SwayConfigurationFile>(const std::string& pattern,
                                                                      const std::string& folder)>;

/// The keys that a configuration binds. Read the way sway reads it: variables, blocks, continued
/// lines, includes, each file once. What is unbound again counts as bound. Of a text that nobody
/// vouches for; what it does not understand it skips.
std::vector<SwayOwnBinding> swayOwnBindings(const SwayConfigurationFile& main,
                                            const SwayIncludes& includes);

/// Reads what a line includes from the disk, as shells expand it; a command in it is not run, and
/// what it would bring in is not known. At most some hundred files, none too large. Waits for the
/// disk; any thread.
std::vector<SwayConfigurationFile> readSwayIncludes(const std::string& pattern,
                                                    const std::string& folder);

} // namespace vorlin
