#pragma once

#include <chrono>

namespace vorlin {

/// How long the engine is waited for. None of these times passes while the machine sleeps.
struct EngineLimits {
    /// Asked for something, it spends no processor time for this long: it hangs, and is ended.
    std::chrono::milliseconds silence{10'000};
    /// A stopped prediction is not waited for any longer.
    std::chrono::milliseconds stopping{500};
    /// One request never takes longer, whatever the engine does: it is ended.
    std::chrono::milliseconds longest{300'000};
    /// The same two for a load, which also waits for a disk: one that was asleep takes ten seconds,
    /// one far away may be slow for long.
    std::chrono::milliseconds loadSilence{40'000};
    std::chrono::milliseconds longestLoad{1'800'000};
};

} // namespace vorlin
