#pragma once

#include "Async/MainLoop.h"
#include "Hotkey.h"
#include "Platform/Linux/Portal/HostRegistry.h"
#include "Platform/Linux/Portal/PortalBackends.h"
#include "Platform/Linux/Portal/PortalEventTap.h"
#include "Platform/Linux/Portal/PortalKey.h"
#include "Platform/Linux/Portal/PortalMemory.h"
#include "Platform/Linux/Portal/RemoteDesktopPoster.h"
#include "Ports/Defaults.h"
#include "Ports/EventTap.h"
#include "Ports/KeyPoster.h"

#include <QDBusConnection>

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace vorlin {

/// What the portals let this program do with keys, once the person agrees: watch the dictation key
/// and Escape, and press the chord where nothing else does. Where they watch no keys, those that
/// the person binds in the desktop are left. Main loop; waits for nothing.
class PortalAccess {
public:
    /// The names of the desktop entries that the program's questions are asked under: some desktops
    /// keep one list of keys for each.
    static constexpr const char* appId = "org.vorlin.Vorlin";
    static constexpr const char* escapeAppId = "org.vorlin.Vorlin.Escape";

    /// Both buses are connections that nothing else is asked on. What the person answers is kept in
    /// `state`, apart for each `desktop`. The ports must outlive this object. Without `places` the
    /// chord is not theirs.
    PortalAccess(const QDBusConnection& bus, const QDBusConnection& escapeBus, Defaults& state,
                 const std::string& desktop, MainLoop& loop,
                 std::optional<RemoteDesktopPoster::Places> places);

    EventTap& eventTap() { return tap; }
    /// Null where the chord is not theirs.
    KeyPoster* keyPoster() { return poster ? &*poster : nullptr; }

    /// `going` is called right before a chord goes out, where it is theirs.
    void whenChordGoes(std::function<void()> going)
    {
        if (poster) {
            poster->onChord = std::move(going);
        }
    }

    /// Whether they have what the chord needs, and the person has not said no to it or to the key.
    bool isUnrefused() const;

    /// Whether they have what the chord needs, and the person would not have to be asked for it or
    /// for the key.
    bool isGranted() const;

    /// Whether `ask` may bring a question to the person: unless it is known that all is granted,
    /// or what is not cannot be.
    bool canAsk() const;

    /// Whether the chord is among what it may ask for.
    bool canAskForChord() const;

    /// Why the chord cannot be asked for, as a sentence for the person; else empty.
    std::string obstacle() const;

    /// Has the desktop ask the person for what is not granted: `hotkey`, the chord, Escape, one
    /// after the other.
    void ask(const Hotkey& hotkey);

private:
    PortalMemory memory;
    HostRegistry registry;
    HostRegistry escapeRegistry;
    PortalBackends backends;
    PortalKey hotkey;
    PortalKey escape;
    PortalEventTap tap;
    std::optional<RemoteDesktopPoster> poster;
};

} // namespace vorlin
