#pragma once

#include "Platform/Shared/Descriptor.h"

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace vorlin {

/// A started process, by its number and by a descriptor that cannot come to mean another one.
struct SpawnedEngine {
    pid_t number = -1;
    Descriptor process;

    /// Ends it, whatever it does. Harmless when it has ended.
    void kill() const;

    /// Waits until it has ended, without reaping it, for at most `time`; returns whether it has.
    bool endsWithin(std::chrono::milliseconds time) const;

    /// What it has spent of the processor. Only before it is reaped.
    std::optional<std::chrono::nanoseconds> processorTime() const;
};

/// Starts the engine program with an empty environment, in a session of its own, with nothing
/// open but the three standard descriptors on /dev/null, `control` and `folder`. It ends when the
/// calling thread does. Returns what went wrong instead if it could not be started.
std::variant<SpawnedEngine, std::string> spawnEngine(const std::filesystem::path& program,
                                                     const Descriptor& folder,
                                                     const Descriptor& control);

} // namespace vorlin
