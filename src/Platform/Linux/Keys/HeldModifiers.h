#pragma once

#include "Platform/Linux/Wayland/WaylandConnection.h"

#include <cstdint>
#include <set>

struct wl_proxy;

namespace vorlin {

/// The modifiers that are in effect, on whichever keyboard: down, latched or locked, as Sticky Keys
/// do it; all of them join what is typed. Known where the compositor tells this program
/// (org_kde_kwin_keystate, version 5): KWin does where the program's desktop entry says so. They
/// are all it tells of; it lets nobody type, nor read what is typed. Main loop.
class HeldModifiers {
public:
    /// `connection` must outlive this.
    explicit HeldModifiers(WaylandConnection& connection);
    HeldModifiers(const HeldModifiers&) = delete;
    HeldModifiers& operator=(const HeldModifiers&) = delete;
    ~HeldModifiers();

    /// Whether one is in effect: Control, Alt, Shift, Super, or the one for a third level; never
    /// Caps Lock and Num Lock. False where that is not told.
    bool any() const { return !inEffect.empty(); }

private:
    void changed(std::uint32_t key, std::uint32_t state);

    wl_proxy* states = nullptr;
    std::set<std::uint32_t> inEffect;
};

} // namespace vorlin
