#pragma once

#include <cstdint>

namespace vorlin {

/// Presses keys for the person. Main loop; returns at once.
class KeyPoster {
public:
    virtual ~KeyPoster() = default;

    /// Posts one key event to the focused program, which sees exactly the modifiers of `flags`
    /// with it, whatever is held on the keyboard. `keyCode` and `flags` as in `Hotkey`. An event
    /// that cannot be made is skipped silently. A key down must be followed by its key up.
    virtual void post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags) = 0;
};

} // namespace vorlin
