#pragma once

#include "Platform/Linux/Portal/HostRegistry.h"
#include "Platform/Linux/Portal/PortalRequest.h"
#include "Platform/Linux/Portal/PortalShortcut.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>
#include <string>

namespace vorlin {

/// A key that a program asks the desktop to be told of.
struct WantedShortcut {
    /// Which one it is to the desktop, which remembers by it what the person decided.
    std::string id;
    /// What the person reads.
    std::string description;
    /// As the desktops' common specification of shortcuts writes keys: "CTRL+ALT+d".
    std::string trigger;

    bool operator==(const WantedShortcut&) const = default;
};

/// One session of org.freedesktop.portal.GlobalShortcuts: tells of the press and the release of
/// the keys that were bound in it. Main loop; waits for nothing.
class ShortcutSession final : public QObject {
    Q_OBJECT

public:
    struct Callbacks {
        std::function<void(const std::string& id)> activated;
        std::function<void(const std::string& id)> deactivated;
        /// The person chose other keys in the desktop's settings.
        std::function<void(const BoundShortcuts&)> changed;
        /// The desktop ended the session; or its portal went, and took it along.
        std::function<void()> ended;
    };

    /// `registry` must outlive this object and be the one of the same connection.
    ShortcutSession(const QDBusConnection& bus, const HostRegistry& registry, Callbacks callbacks);
    ~ShortcutSession() override;

    /// Makes a session, in place of one that is open, and asks what is bound in it already:
    /// nothing where the desktop has no such portal. Asks the person nothing.
    void open(std::function<void(const std::optional<BoundShortcuts>&)> listed);

    /// Binds one key in the open session, perhaps after a question to the person, and tells what is
    /// bound then. A desktop may take only one such call a session.
    void bind(const WantedShortcut& wanted, std::function<void(const BoundShortcuts&)> bound);

    /// Gives the keys back. No callback comes from then on.
    void close();

    bool isOpen() const { return !session.isEmpty(); }

private Q_SLOTS:
    void heard(const QDBusMessage& message);
    void closed(const QDBusMessage& message);

private:
    void listen(bool on);
    void list(std::function<void(const BoundShortcuts&)> listed);
    void end();

    QDBusConnection bus;
    const HostRegistry& registry;
    Callbacks callbacks;
    PortalRequest request;
    /// The session's object; empty while none is open.
    QString session;
};

} // namespace vorlin
