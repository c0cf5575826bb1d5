#pragma once

#include <functional>

namespace vorlin {

/// The running program as the desktop sees it. Main loop.
class Application {
public:
    virtual ~Application() = default;

    /// Claims to be the only one of its kind. Returns false when another one runs already, which
    /// has then been told so; this one must exit. `onActivate` is called when a later one starts.
    virtual bool becomeOnlyInstance(std::function<void()> onActivate) = 0;

    /// Leaves the main loop after the current work.
    virtual void quit() = 0;
};

} // namespace vorlin
