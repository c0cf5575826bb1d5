#pragma once

#include "Platform/Linux/Desktop/SettingsText.h"

#include <filesystem>
#include <string>

namespace vorlin {

/// The settings file on disk. It holds no state: every call looks at the disk anew. Not
/// synchronised. A call may wait for the disk: not for the main loop, except at start and end.
class SettingsFile {
public:
    enum class State {
        readable,
        absent,
        /// Not a settings text; `setAside` moves it out of the way.
        damaged,
        /// Something is there that this process may not read or that is no file.
        unreadable,
    };

    struct Contents {
        State state = State::absent;
        /// Empty unless readable.
        SettingsText settings;
    };

    /// `path` may be a symbolic link to the file.
    explicit SettingsFile(std::filesystem::path path) : path(std::move(path)) {}

    Contents read() const;

    /// Replaces the file in one step: whatever happens, the path names the old text or the new.
    /// A new file is readable by its owner only, an existing one keeps its mode. Missing folders
    /// above it are made. Throws a `std::system_error` that names what failed.
    void replace(const SettingsText& settings) const;

    /// Renames the file to a free name beside it, its own with ".damaged" and perhaps a number
    /// appended, and returns that. Throws a `std::system_error`.
    std::filesystem::path setAside() const;

    /// Makes the folder that holds the file, for its owner only. Throws a `std::system_error`.
    void makeFolder() const;

    const std::filesystem::path& linkPath() const { return path; }

    /// The file itself, after following symbolic links, whether it exists or not.
    std::filesystem::path target() const;

private:
    std::filesystem::path path;
};

} // namespace vorlin
