#pragma once

#include "Platform/Linux/Wayland/WaylandConnection.h"

#include <functional>
#include <memory>

namespace vorlin {

/// What all of a Wayland session speak to the compositor with; made before them, gone after them.
struct WaylandSession {
    /// Whether the session goes on, with this compositor or with one that has taken its place.
    bool goesOn() const;

    /// Calls `ended` when the compositor is gone, for as long as the result is kept.
    [[nodiscard]] Subscription watchEnd(std::function<void()> ended) const;

    const std::unique_ptr<WaylandConnection> connection;
};

} // namespace vorlin
