#pragma once

#include <cstdint>

namespace vorlin {

/// Whether a posted key reaches the focused program.
enum class KeyReadiness {
    ready,
    /// Not yet; it is `ready` or `never` within moments.
    soon,
    never,
};

/// Presses keys for the person. Main loop; returns at once.
class KeyPoster {
public:
    virtual ~KeyPoster() = default;

    /// Keys may be posted before long, until `rest`: what must be opened for them is.
    virtual void prepare() {}
    /// No key will be posted before the next `prepare`.
    virtual void rest() {}

    /// Asked between the two, ahead of each `post`.
    virtual KeyReadiness readiness() const { return KeyReadiness::ready; }

    /// Posts one key event to the focused program, which sees exactly the modifiers of `flags`
    /// with it, whatever is held on the keyboard. `keyCode` and `flags` as in `Hotkey`. An event
    /// that cannot be made is skipped silently. A key down must be followed by its key up.
    virtual void post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags) = 0;
};

} // namespace vorlin
