#pragma once

#include "Platform/Linux/Environment.h"
#include "Platform/Shared/Descriptor.h"

#include <filesystem>

namespace vorlin {

/// A lock that one process per display can hold; the system gives it back however that process
/// ends. Not synchronised.
class InstanceLock {
public:
    enum class Outcome {
        taken,
        /// Another process holds it.
        heldElsewhere,
        /// It cannot be had here, and says nothing about other processes.
        unavailable,
    };

    /// `path` is a file that serves nothing else.
    explicit InstanceLock(std::filesystem::path path);
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;
    ~InstanceLock() = default;

    /// Tries once, without waiting. Taken already: `taken`.
    Outcome take();
    void release() { held.close(); }

    /// The lock file of the environment's display: in $XDG_RUNTIME_DIR, or in /tmp, named after
    /// the person, where there is none.
    static std::filesystem::path pathFor(const Environment& environment);

private:
    std::filesystem::path path;
    Descriptor held;
};

} // namespace vorlin
