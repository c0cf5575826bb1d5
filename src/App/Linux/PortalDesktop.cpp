#include "App/Linux/PortalDesktop.h"

#include "Platform/Linux/Keys/X11KeyPlaces.h"
#include "Platform/Linux/Pasteboard/DataControl.h"

#include <QDBusConnection>

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
    : WaylandSession{std::move(compositor)}, LinuxDesktop(services, environment),
      portals(connectAs(keysBus), connectAs(escapeBus), services.state,
              environment("XDG_CURRENT_DESKTOP").value_or("desktop"), services.loop,
              [this](std::uint16_t keyCode) { return placeInAllLayouts(keyboard, keyCode); }),
      focusedProgram(keyboard.server(), X11FocusedProgram::Reach::xwayland),
      x11Pasteboard(services.loop), consent(portals, keyAccess, services.microphoneAccess),
      mainScreen(screens, [] { return std::nullopt; })
{
    if (DataControl::isOffered(*connection)) {
        clipboard.emplace(*connection, services.loop, x11Pasteboard, keyboard.server());
        portals.whenChordGoes([this] { clipboard->compositors.noteChord(); });
    }
}

PortalDesktop::~PortalDesktop()
{
    QDBusConnection::disconnectFromBus(keysBus);
    QDBusConnection::disconnectFromBus(escapeBus);
}

std::vector<Subscription> PortalDesktop::watchEnd(const std::function<void()>& ended)
{
    auto watches = LinuxDesktop::watchEnd(ended);
    watches.push_back(WaylandSession::watchEnd(ended));
    return watches;
}

void PortalDesktop::leaveInHaste()
{
    if (clipboard) {
        clipboard->compositors.leave();
    }
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
                      .screens = mainScreen});
}

} // namespace vorlin
