#include "Platform/Linux/Portal/ShortcutSession.h"

#include <QDBusObjectPath>

#include <array>
#include <utility>

namespace vorlin {

namespace {

const QString shortcuts = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
constexpr std::array heardSignals{"Activated", "Deactivated", "ShortcutsChanged"};

} // namespace

ShortcutSession::ShortcutSession(const QDBusConnection& bus, const HostRegistry& registry,
                                 Callbacks callbacks)
    : bus(bus), registry(registry), callbacks(std::move(callbacks)), request(bus)
{
    registerPortalShortcuts();
    connect(&registry, &HostRegistry::gone, this, [this] { end(); });
}

ShortcutSession::~ShortcutSession()
{
    close();
}

void ShortcutSession::open(std::function<void(const std::optional<BoundShortcuts>&)> listed)
{
    close();
    request.send(shortcuts, "CreateSession", {}, {{"session_handle_token", portals::freshToken()}},
                 [this, listed = std::move(listed)](const PortalAnswer& answer) {
                     session = portals::handle(answer, "session_handle");
                     if (session.isEmpty()) {
                         listed(std::nullopt);
                         return;
                     }
                     listen(true);
                     list(listed);
                 });
}

void ShortcutSession::list(std::function<void(const BoundShortcuts&)> listed)
{
    request.send(shortcuts, "ListShortcuts", {QVariant::fromValue(QDBusObjectPath(session))}, {},
                 [listed = std::move(listed)](const PortalAnswer& answer) {
                     listed(boundShortcuts(answer.results.value("shortcuts")));
                 });
}

void ShortcutSession::bind(const WantedShortcut& wanted,
                           std::function<void(const BoundShortcuts&)> bound)
{
    const PortalShortcuts list{{QString::fromStdString(wanted.id),
                                {{"description", QString::fromStdString(wanted.description)},
                                 {"preferred_trigger", QString::fromStdString(wanted.trigger)}}}};
    request.send(
        shortcuts, "BindShortcuts",
        {QVariant::fromValue(QDBusObjectPath(session)), QVariant::fromValue(list), QString()}, {},
        [this, bound = std::move(bound)](const PortalAnswer& answer) {
            const auto told = boundShortcuts(answer.results.value("shortcuts"));
            if (answer.succeeded() && told.empty()) {
                this->list(bound); // some only say that it went well
            } else {
                bound(told);
            }
        });
}

void ShortcutSession::close()
{
    request.close();
    if (isOpen()) {
        portals::closeSession(bus, session);
    }
    end();
}

void ShortcutSession::end()
{
    request.forget();
    listen(false);
    session.clear();
}

/// By the name of no sender, which Qt would wait to learn the owner of.
void ShortcutSession::listen(bool on)
{
    if (!isOpen()) {
        return;
    }
    const auto change = [&](const QString& path, const QString& interface, const QString& name,
                            const char* slot) {
        if (on) {
            bus.connect({}, path, interface, name, this, slot);
        } else {
            bus.disconnect({}, path, interface, name, this, slot);
        }
    };
    for (const auto* name : heardSignals) {
        change(portals::path, shortcuts, name, SLOT(heard(QDBusMessage)));
    }
    change(session, portals::sessionInterface, "Closed", SLOT(closed(QDBusMessage)));
}

void ShortcutSession::heard(const QDBusMessage& message)
{
    const auto arguments = message.arguments();
    if (message.service() != registry.portal() || arguments.size() < 2 || !isOpen() ||
        arguments[0].value<QDBusObjectPath>().path() != session) {
        return;
    }
    if (message.member() == "ShortcutsChanged") {
        callbacks.changed(boundShortcuts(arguments[1]));
    } else if (message.member() == "Activated") {
        callbacks.activated(arguments[1].toString().toStdString());
    } else {
        callbacks.deactivated(arguments[1].toString().toStdString());
    }
}

void ShortcutSession::closed(const QDBusMessage& message)
{
    if (message.service() == registry.portal() && message.path() == session) {
        end();
        callbacks.ended();
    }
}

} // namespace vorlin
