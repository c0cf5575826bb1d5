#pragma once

#include "Platform/Linux/Keys/HardwareKeys.h"
#include "Platform/Linux/Wayland/WaylandConnection.h"
#include "Ports/KeyPoster.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct zwp_virtual_keyboard_manager_v1;
struct zwp_virtual_keyboard_v1;

namespace vorlin {

/// Posts keys through a keyboard of its own on the person's seat (virtual-keyboard-v1). What they
/// hold on theirs is not part of the chord, and theirs alone says what is held afterwards.
///
/// The keyboard brings its own keymap: a letter is that letter in every layout. It has the letters,
/// Insert and the left modifiers; other keys are skipped. It is made with this object and kept: a
/// compositor may take the focus from the program and give it back whenever a keyboard comes.
///
/// A key down reaches the compositor together with its key up if that follows in the same turn of
/// the loop. A process that dies leaves no key down: the compositor releases what a keyboard held.
class VirtualKeyboardPoster final : public KeyPoster {
public:
    /// Whether the compositor offers such keyboards.
    static bool isOffered(const WaylandConnection& connection);

    /// `connection` must outlive this.
    explicit VirtualKeyboardPoster(WaylandConnection& connection);
    VirtualKeyboardPoster(const VirtualKeyboardPoster&) = delete;
    VirtualKeyboardPoster& operator=(const VirtualKeyboardPoster&) = delete;
    ~VirtualKeyboardPoster() override;

    /// Whether keys can be posted now.
    bool available() const { return keyboard != nullptr && connection.alive().get(); }

    void post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags) override;

    /// Called right before a key is requested that is posted down.
    std::function<void()> onChord;

private:
    /// A key that is posted down, and the modifier keys with it.
    struct Chord {
        std::uint16_t keyCode = 0;
        HardwareKey key = 0;
        std::vector<HardwareKey> modifiers;
    };

    void plugIn();
    void unplug();
    void press(std::uint16_t keyCode, std::uint64_t flags);
    void release();
    void send(HardwareKey key, bool down);

    WaylandConnection& connection;
    zwp_virtual_keyboard_manager_v1* manager = nullptr;
    zwp_virtual_keyboard_v1* keyboard = nullptr;
    std::optional<Chord> chord;
    Subscription seatChanges;
};

/// The keymap of the keyboard above, in the text form of XKB, and whether it has a key.
std::string chordKeymap();
bool isInChordKeymap(HardwareKey key);

} // namespace vorlin
