#include "App/Linux/PortalDesktop.h"

#include "Platform/Linux/Pasteboard/DataControl.h"

#include <QDBusConnection>

#include <chrono>
#include <utility>

namespace vorlin {

namespace {

/// Connections of their own: the portals must hear who asks before anything else is asked.
const QString keysBus = QStringLiteral("portals");
const QString escapeBus = QStringLiteral("portals of Escape");

QDBusConnection connectAs(const QString& name)
{
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
}

} // namespace

PortalDesktop::PortalDesktop(LinuxServices& services, const Environment& environment,
                             std::unique_ptr<WaylandConnection> compositor)
    : LinuxDesktop(services, environment), connection(std::move(compositor)),
      portals(connectAs(keysBus), connectAs(escapeBus), services.state,
              environment("XDG_CURRENT_DESKTOP").value_or("desktop"), services.loop),
      focusedProgram(keyboard.server()), x11Pasteboard(services.loop),
      consent(portals, keyAccess, services.microphoneAccess)
{
    if (DataControl::isOffered(*connection)) {
        clipboard.emplace(*connection, services.loop, x11Pasteboard, keyboard.server());
    }
}

PortalDesktop::~PortalDesktop()
{
    QDBusConnection::disconnectFromBus(keysBus);
    QDBusConnection::disconnectFromBus(escapeBus);
}

bool PortalDesktop::outlivesDisplay()
{
    return connection->sync(std::chrono::milliseconds(500)); // it may be ending, too
}

Ports PortalDesktop::ports()
{
    Pasteboard& pasteboard =
        clipboard ? static_cast<Pasteboard&>(clipboard->pasteboard) : x11Pasteboard;
    return portsWith({.eventTap = portals.eventTap(),
                      .keyPoster = portals.keyPoster(),
                      .focusedProgram = focusedProgram,
                      .pasteboard = pasteboard,
                      .permissions = consent,
                      .screens = screens});
}

} // namespace vorlin
