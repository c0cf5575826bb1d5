#pragma once

#include "Platform/Linux/Keys/SwayBindings.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vorlin {

/// Which bindings a process may have left in sway: written down before they are made, for whoever
/// must take them back in its stead. A value type.
struct SwayLedger {
    /// The name that the process's bindings go by.
    std::string token;
    SwayBindings bindings;
    /// The keys of them that may be down.
    std::set<HardwareKey> held{};

    std::string text() const;

    /// What such a text says; nothing for any other.
    static std::optional<SwayLedger> parse(std::string_view text);

    /// The ledger that lies at `path`; nothing when there is none, or none that can be read.
    static std::optional<SwayLedger> read(const std::filesystem::path& path);

    /// Puts it in the place of what lies there, at once and as a whole; with no bindings, takes
    /// that away. Returns whether that went well.
    bool write(const std::filesystem::path& path) const;
};

} // namespace vorlin
