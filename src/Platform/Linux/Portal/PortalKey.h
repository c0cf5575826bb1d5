#pragma once

#include "Async/Published.h"
#include "Platform/Linux/Portal/HostRegistry.h"
#include "Platform/Linux/Portal/PortalMemory.h"
#include "Platform/Linux/Portal/ShortcutSession.h"

#include <QDBusConnection>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace vorlin {

/// How far it is with a key that the portals are to tell of.
enum class PortalKeyState {
    /// Nothing is known: none is wanted, or nobody has answered yet.
    unknown,
    /// The desktop has no portal for keys, or none that may be asked; also while none is wanted.
    missing,
    /// It would ask the person, who has not been asked, or has not wished to be.
    unasked,
    refused,
    /// It was given to us, and the desktop does not say whether it is bound: it is busy, or asks
    /// the person. What it says later counts.
    unanswered,
    /// It is told of.
    bound,
    /// The person gave it to us, but another program has it, or nothing triggers it.
    taken,
};

/// What is known of the portal for keys.
enum class KeysPortal { unknown, missing, there };

/// How long a key waits.
struct PortalKeyTimes {
    /// What needs no question is answered within that; else the desktop is busy, or asks the
    /// person: nobody waits for it any more, and what it answers later counts.
    std::chrono::milliseconds patience{std::chrono::seconds(5)};
    /// Before a session that ended, or failed to open, is opened anew; each further time twice
    /// as long, until the key is pressed or the portals start anew.
    std::chrono::milliseconds retry{std::chrono::seconds(1)};
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
        /// `timestamp` is the desktop's time of it, in ms; 0 where it tells none.
        std::function<void(bool again, std::uint64_t timestamp)> pressed;
        /// Comes after each press, also where the portal went meanwhile.
        std::function<void()> released;
    };

    /// `registry` is the one of the same connection; `what` names the key in `memory`. Both must
    /// outlive this object.
    PortalKey(const QDBusConnection& bus, const HostRegistry& registry, std::string what,
              PortalMemory& memory, Callbacks callbacks, const PortalKeyTimes& times = {});

    /// Wants this key from now on, or none; while the person is asked, from their answer on. A
    /// desktop that knows a key by its id does not change what triggers it: another trigger needs
    /// another id.
    void want(const std::optional<WantedShortcut>& wanted);

    /// Lets the desktop ask the person for `wanted`, unless it is given to us already; `answered`
    /// is called once the person has answered, or nothing is left to be asked. A later call takes
    /// the place of an earlier one, and the end of the portals, or of who serves them, takes it
    /// back: neither is answered. Where `wanted` is still to be answered for, that answer serves;
    /// where another key is, the question follows it.
    void ask(const WantedShortcut& wanted, std::function<void()> answered);

    /// What serves the portals has changed, and may know no session of ours any more. It is asked
    /// nothing at once: whoever starts it by that may have it start before the desktop has noticed
    /// that the one before is gone.
    void reopen();

    const Published<PortalKeyState, PortalKey>& state() const { return current; }
    const Published<KeysPortal, PortalKey>& portal() const { return known; }

    /// Whether the portals are there, and `shortcut` would be told of without a question, as far
    /// as is known.
    bool isGranted(const std::optional<WantedShortcut>& shortcut) const;

    /// Whether the portals are there, and the person has refused `shortcut`.
    bool isRefused(const WantedShortcut& shortcut) const;

    /// Whether the portals are there, and the person would be asked for `shortcut` first, or would
    /// have to be where nothing is answered.
    bool needsQuestion(const WantedShortcut& shortcut) const;

    /// What triggers the key, as the desktop says it; empty while none is bound.
    const Published<std::string, PortalKey>& trigger() const { return triggered; }

Q_SIGNALS:
    /// See `ShortcutSession`.
    void orphaned(const QString& session);

private:
    struct Question {
        WantedShortcut shortcut;
        std::function<void()> answered;
    };
    void look();
    void setPortal(KeysPortal next);
    void open();
    void listed(const WantedShortcut& shortcut, const ShortcutAnswer& answer);
    void bind(const WantedShortcut& shortcut);
    void take(const std::string& id, const BoundShortcuts& bound);
    void changed(const BoundShortcuts& shortcuts);
    void late();
    void doubt(const std::string& id);
    void keep();
    void declined(const std::string& id);
    void ended(bool isDeclined);
    void fail();
    void openLater();
    void lose(PortalKeyState next);
    void pressed(const std::string& id, std::uint64_t timestamp);
    void released(const std::string& id);
    void answer();
    PortalConsent consent(const std::string& id) const;

    QDBusConnection bus;
    const HostRegistry& registry;
    ShortcutSession session;
    std::string what;
    PortalMemory& memory;
    Callbacks callbacks;
    PortalKeyTimes times;
    std::optional<WantedShortcut> wanted;
    /// Until the person has answered.
    std::optional<Question> question;
    /// What was given to us, and is bound late: to whoever starts after us it is not given, since
    /// they would ask the person anew.
    std::optional<std::string> doubted;
    bool isHeld = false;
    /// Until what failed is tried again, and how long it was the last time.
    QTimer retry;
    std::chrono::milliseconds retryIn;
    Published<KeysPortal, PortalKey> known{KeysPortal::unknown};
    Published<PortalKeyState, PortalKey> current{PortalKeyState::unknown};
    Published<std::string, PortalKey> triggered;
};

} // namespace vorlin
