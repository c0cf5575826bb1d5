#pragma once

#include "Async/Published.h"
#include "Platform/Linux/Portal/HostRegistry.h"
#include "Platform/Linux/Portal/PortalMemory.h"
#include "Platform/Linux/Portal/ShortcutSession.h"

#include <QDBusConnection>
#include <QObject>

#include <functional>
#include <optional>
#include <string>

namespace vorlin {

/// How far it is with a key that the portals are to tell of.
enum class PortalKeyState {
    /// Nothing is known: none is wanted, or nobody has answered yet.
    unknown,
    /// The desktop has no portal for keys.
    missing,
    /// It would ask the person, who has not been asked, or has not wished to be.
    unasked,
    refused,
    /// It is told of.
    bound,
    /// The person gave it to us, but another program has it, or nothing triggers it.
    taken,
};

/// One key that the desktop tells us of, for as long as it is wanted: at once where it was given to
/// us before, else once the person was asked. Keeps to that over restarts of the portals, and asks
/// nobody by itself. One app id has one such key, since some desktops keep only the latest list of
/// each. Main loop; waits for nothing.
class PortalKey final : public QObject {
    Q_OBJECT

public:
    struct Callbacks {
        /// `again` where the key has not been released since: it repeats, or its release was lost.
        std::function<void(bool again)> pressed;
        /// Comes after each press, also where the portal went meanwhile.
        std::function<void()> released;
    };

    /// `registry` is the one of the same connection; `what` names the key in `memory`. Both must
    /// outlive this object.
    PortalKey(const QDBusConnection& bus, const HostRegistry& registry, std::string what,
              PortalMemory& memory, Callbacks callbacks);

    /// Wants this key from now on, or none. A desktop that knows a key by its id does not change
    /// what triggers it: another trigger needs another id.
    void want(const std::optional<WantedShortcut>& wanted);

    /// Lets the desktop ask the person for `wanted`, unless it is given to us already; `answered`
    /// is called once the person has answered, or nothing is left to be asked.
    void ask(const WantedShortcut& wanted, std::function<void()> answered);

    const Published<PortalKeyState, PortalKey>& state() const { return current; }

    /// Whether the portals are there, and `shortcut` would be told of without a question, as far
    /// as is known.
    bool isGranted(const std::optional<WantedShortcut>& shortcut) const;

    /// What triggers the key, as the desktop says it; empty while none is bound.
    const Published<std::string, PortalKey>& trigger() const { return triggered; }

private:
    struct Question {
        WantedShortcut shortcut;
        std::function<void()> answered;
    };
    void open();
    void bind(const WantedShortcut& shortcut);
    void take(const std::string& id, const BoundShortcuts& bound);
    void changed(const BoundShortcuts& shortcuts);
    void lose(PortalKeyState next);
    void told(const std::string& id, bool pressed);
    void answer();

    const HostRegistry& registry;
    ShortcutSession session;
    std::string what;
    PortalMemory& memory;
    Callbacks callbacks;
    std::optional<WantedShortcut> wanted;
    /// Until the person has answered.
    std::optional<Question> question;
    bool isHeld = false;
    Published<PortalKeyState, PortalKey> current{PortalKeyState::unknown};
    Published<std::string, PortalKey> triggered;
};

} // namespace vorlin
