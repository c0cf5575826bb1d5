#pragma once

#include "Platform/Linux/Sway/SwayFrames.h"
#include "Platform/Shared/Descriptor.h"

#include <chrono>
#include <string>

namespace vorlin {

/// sway, asked and waited for: the guard has nothing else to do.
class Compositor {
public:
    /// `path` is that of sway's socket.
    explicit Compositor(const std::string& path);

    bool isThere() const { return static_cast<bool>(socket); }

    /// Asks something and waits for the answer, some seconds at most. What comes before it is
    /// dropped. Returns whether there was one.
    bool ask(SwayRequest request, const std::string& payload);

    /// Waits for a key that is bound to something whose name begins with `name`. Returns false
    /// when none came in time, or sway is gone.
    bool awaitBinding(const std::string& name, std::chrono::milliseconds limit);

private:
    using Deadline = std::chrono::steady_clock::time_point;

    std::optional<SwayFrame> await(Deadline deadline);

    Descriptor socket;
    SwayFrames frames;
};

} // namespace vorlin
