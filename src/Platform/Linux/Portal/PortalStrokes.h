#pragma once

#include "Platform/Linux/Portal/HostRegistry.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <QString>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace vorlin {

/// A key that goes down or up: the one of that place, as the kernel numbers them, or the one that
/// types a symbol.
struct PortalStroke {
    bool isSymbol = false;
    std::uint32_t key = 0;
    bool down = false;
    /// Something happens at its press: the modifiers are down by then.
    bool acts = false;
};

/// Has a session of the RemoteDesktop portal press keys one after the other: the portals keep no
/// order among what they are sent, so each waits for the one before to be answered. Main loop.
class PortalStrokes final : public QObject {
    Q_OBJECT

public:
    struct Callbacks {
        /// A stroke that acts is sent next.
        std::function<void()> acts;
        /// All that was to be pressed has been, or could not be. From the loop.
        std::function<void()> sent;
    };

    /// `registry` is the one of the same connection, and must outlive this object.
    PortalStrokes(const QDBusConnection& bus, const HostRegistry& registry, Callbacks callbacks);

    /// Presses them in `session`, after what is still to be pressed. Where one cannot go down, what
    /// is down is let go, and the rest is not pressed. A release that fails is sent again, three
    /// times in all.
    void send(const QString& session, const std::vector<PortalStroke>& strokes);

    bool isIdle() const { return !sending && waiting.empty(); }

    /// Lets go of what is down, and waits for that: up to a second where the portal hangs. The rest
    /// is not pressed.
    void letGo();

    /// There is no such session any more, nor anything that is down.
    void forget();

private:
    void sendNext();
    void sent(const PortalStroke& stroke, bool arrived);
    void noteUp(const PortalStroke& stroke);
    std::deque<PortalStroke> releases() const;
    QDBusMessage message(const PortalStroke& stroke) const;

    QDBusConnection bus;
    const HostRegistry& registry;
    Callbacks callbacks;
    QString session;
    /// What the portal has not been told yet, in order, and what it was told last.
    std::deque<PortalStroke> waiting;
    std::unique_ptr<QDBusPendingCallWatcher> sending;
    /// What is down, or about to be; until its release has arrived.
    std::vector<PortalStroke> down;
    /// How often the release that is sent has failed.
    int failures = 0;
};

} // namespace vorlin
