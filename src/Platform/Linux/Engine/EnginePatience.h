#pragma once

#include <chrono>
#include <optional>

namespace vorlin {

/// How often somebody who waits for the engine looks up.
inline constexpr std::chrono::milliseconds engineTick{100};

/// Judges, tick by tick, whether there is still a point in waiting for an answer. Hard work is
/// told from hanging by the processor time that the engine spends.
class EnginePatience {
public:
    EnginePatience(std::chrono::milliseconds silence, std::chrono::milliseconds longest)
        : mostSilence(silence), longest(longest)
    {
    }

    /// Tells of one more tick without an answer, and of the engine's processor time by now.
    /// Returns whether to give up.
    bool endsAfterTick(std::optional<std::chrono::nanoseconds> processorTime);

    /// Whether the engine spent processor time in the last tick.
    bool sawWork() const { return silent == std::chrono::milliseconds(0); }

private:
    std::chrono::milliseconds mostSilence;
    std::chrono::milliseconds longest;
    std::optional<std::chrono::nanoseconds> lastSpent;
    // Ticks and no clock: if this very process is halted meanwhile, that is not held against
    // the engine.
    std::chrono::milliseconds silent{0};
    std::chrono::milliseconds waited{0};
};

} // namespace vorlin
