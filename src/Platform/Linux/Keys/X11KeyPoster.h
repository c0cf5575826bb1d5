#pragma once

#include "Platform/Linux/Keys/X11Keyboard.h"
#include "Ports/KeyPoster.h"

#include <optional>
#include <vector>

namespace vorlin {

/// Posts keys through XTEST. Modifiers that are down are lifted first, and put back with the key
/// up if the person still holds them. A letter is posted with the key that types it in the
/// present layout, any other key, or a letter no key types, by its position; but Control+V, where
/// nothing types a "v" and so no program takes it for that, as Shift+Insert, which pastes as well.
///
/// A key down reaches the server together with its key up, in one piece, if that follows in the
/// same turn of the loop: a process that dies leaves no key down. `keyboard` must outlive this.
class X11KeyPoster final : public KeyPoster {
public:
    explicit X11KeyPoster(X11Keyboard& keyboard) : keyboard(keyboard) {}
    X11KeyPoster(const X11KeyPoster&) = delete;
    X11KeyPoster& operator=(const X11KeyPoster&) = delete;
    ~X11KeyPoster() override;

    void post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags) override;

private:
    /// A key that is posted down, and what its key up has to undo.
    struct Chord {
        std::uint16_t keyCode = 0;
        HardwareKey key = 0;
        std::vector<HardwareKey> lifted;
        std::vector<HardwareKey> modifiers;
        XModifiers unlocked = 0;
    };

    std::optional<HardwareKey> keyFor(std::uint16_t keyCode, unsigned group);
    void press(std::uint16_t keyCode, std::uint64_t flags);
    void release();
    void liftOthers(const KeySet& pressed, XModifiers wanted);
    void pressModifiers(const KeySet& pressed, std::uint64_t flags);
    bool canOpenMenus(HardwareKey key);

    X11Keyboard& keyboard;
    std::optional<Chord> chord;
};

} // namespace vorlin
