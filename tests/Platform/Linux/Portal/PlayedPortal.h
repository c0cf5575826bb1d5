#pragma once

#include "Platform/Linux/Desktop/PlayedBus.h"
#include "Platform/Linux/Portal/PortalShortcut.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// The desktop's portals, played by the test: each request is noted, and answered as the test says.
class PlayedPortal final : public QDBusVirtualObject {
public:
    struct Response {
        unsigned code = 0;
        QVariantMap results = {};
        /// The signal comes ahead of the method's reply, as some portals have it.
        bool early = false;
    };
    /// What is answered to a method; nothing: the test answers later, by `respond`.
    using Answer = std::function<std::optional<Response>(const QDBusMessage&)>;

    /// Takes the place of another one, which has another name.
    explicit PlayedPortal(const PlayedBus& on, const QString& name = "portal");
    ~PlayedPortal() override;

    /// By the name of the method; one without an answer is refused.
    std::map<std::string, Answer> answers;
    /// Every call in order: the method, and what tells calls apart.
    std::vector<std::string> calls;
    /// Who made each of them, by the name on the bus.
    std::vector<QString> callers;
    /// Whether there is a registry; and which name it refuses.
    bool hasRegistry = true;
    QString refusedName;
    /// The method that answers by an error.
    QString failing;
    unsigned deviceTypes = 3;
    bool hasKeys = true;
    /// Whether the test replies to names, and to keys that are to be pressed.
    bool holdsReplies = false;
    /// Replies to what has waited longest.
    void reply(bool well = true);

    /// Answers the latest request that has no answer.
    void respond(const Response& response);
    /// A signal of the portals; the bus has it when this returns.
    void emitSignal(const QString& interface, const QString& name, const QVariantList& arguments,
                    const QString& path = "/org/freedesktop/portal/desktop");
    /// The session of the latest CreateSession.
    QString session;
    /// All calls that were sent to it by now, by `from`, have been noted.
    void takeIn(const QDBusConnection& from) const;
    int count(const std::string& call) const;

    /// What a portal tells of bound keys: ids and triggers.
    static QVariantMap bound(const BoundShortcuts& shortcuts);
    /// A portal for keys that has these bound when a session begins.
    void watchesKeys(const BoundShortcuts& listed = {});
    /// The answer that makes a session.
    Response opened() const { return {.results = {{"session_handle", session}}}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& from) override;
    QString introspect(const QString& /*path*/) const override { return {}; }

    PlayedProgram program;

private:
    void send(const QString& request, const Response& response);
    QDBusMessage replyToSimple(const QDBusMessage& message) const;

    QString pending;
    std::deque<QDBusMessage> held;
};

} // namespace vorlin
