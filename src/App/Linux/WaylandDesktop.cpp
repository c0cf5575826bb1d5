#include "App/Linux/WaylandDesktop.h"

#include "Platform/Linux/Keys/X11KeyPlaces.h"
#include "Platform/Linux/Overlay/LayerOverlayWindow.h"
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

/// Clicks on a window of XWayland's do not always fall through to what is below.
X11OverlayPanel::MakeWindow overlayWindowOf(WaylandConnection& connection)
{
    if (!LayerOverlayWindow::isOffered(connection)) {
        return {};
    }
    return [&connection](std::function<void()> showAgain) {
        return std::make_unique<LayerOverlayWindow>(connection, std::move(showAgain));
    };
}

} // namespace

WaylandDesktop::Sway::Sway(const std::string& path, LinuxServices& services,
                           const Environment& environment, X11Keyboard& keyboard)
    : socket(path, services.loop), layouts(keyboard, services.loop),
      eventTap({.socket = socket,
                .loop = services.loop,
                .workers = services.workers,
                .typesCharacters =
                    [this](std::uint16_t keyCode) { return layouts.typesCharacters(keyCode); },
                .guard = {.program = guardProgram(),
                          .socket = path,
                          .ledger = SwayGuard::ledgerPath(
                              environment("XDG_RUNTIME_DIR").value_or("/tmp"), path)}}),
      focus(socket, services.loop)
{
}

WaylandDesktop::Accessibility::Accessibility(LinuxServices& services, X11FocusedProgram& xwayland)
    : bus(QDBusConnection::sessionBus(), services.workers, services.loop),
      focus(
          bus,
          [&xwayland](std::string_view file, std::string_view name) {
              return xwayland.chordFor(file, name);
          },
          xwayland)
{
}

WaylandDesktop::Portals::Portals(LinuxServices& services, const Environment& environment,
                                 std::optional<RemoteDesktopPoster::Places> places)
    : access(connectAs(keysBus), connectAs(escapeBus), services.state,
             environment("XDG_CURRENT_DESKTOP").value_or("desktop"), services.loop,
             std::move(places))
{
}

WaylandDesktop::Portals::~Portals()
{
    QDBusConnection::disconnectFromBus(keysBus);
    QDBusConnection::disconnectFromBus(escapeBus);
}

WaylandDesktop::Clipboard::Clipboard(WaylandConnection& connection, MainLoop& loop,
                                     std::function<std::optional<pid_t>()> focusedProcess,
                                     X11Pasteboard& x11Pasteboard, X11Connection& server)
    : compositors(connection, loop, std::move(focusedProcess)),
      pasteboard(compositors, x11Pasteboard, server, loop)
{
}

WaylandDesktop::WaylandDesktop(LinuxServices& services, const Environment& environment,
                               std::unique_ptr<WaylandConnection> compositor)
    : WaylandSession{std::move(compositor)},
      LinuxDesktop(services, environment, overlayWindowOf(*connection)),
      x11FocusedProgram(keyboard.server(), X11FocusedProgram::Reach::xwayland),
      x11Pasteboard(services.loop), heldModifiers(*connection),
      consent(*this, services.microphoneAccess),
      focusScreens(screens, [this] { return focusedFrame(); })
{
    if (const auto path = environment("SWAYSOCK");
        path && isSwaySocketOf(*path, connection->compositor())) {
        sway.emplace(*path, services, environment, keyboard);
    } else if (ToplevelFocus::isOffered(*connection)) {
        toplevels.emplace(*connection, x11FocusedProgram);
    } else {
        accessibility.emplace(services, x11FocusedProgram);
    }
    if (VirtualKeyboardPoster::isOffered(*connection)) {
        ownKeyboard.emplace(*connection);
    }
    if (!sway || !ownKeyboard) {
        const RemoteDesktopPoster::Places places = [this](std::uint16_t keyCode) {
            return placeInAllLayouts(keyboard, keyCode);
        };
        portals.emplace(services, environment, ownKeyboard ? std::nullopt : std::optional(places));
    }
    if (!ownKeyboard) {
        portalsKeyboard.emplace(*portals->access.keyPoster(),
                                [this] { return heldModifiers.any(); });
    }
    if (DataControl::isOffered(*connection)) {
        clipboard.emplace(
            *connection, services.loop, [this] { return focusedProcess(); }, x11Pasteboard,
            keyboard.server());
        const auto noteChord = [this] { clipboard->compositors.noteChord(); };
        if (ownKeyboard) {
            ownKeyboard->onChord = noteChord;
        } else {
            portals->access.whenChordGoes(noteChord);
        }
    }
}

std::vector<Subscription> WaylandDesktop::watchEnd(const std::function<void()>& ended)
{
    auto watches = LinuxDesktop::watchEnd(ended);
    watches.push_back(WaylandSession::watchEnd(ended));
    return watches;
}

/// The clipboard first: portals that hang could take all the time that there is.
WaylandDesktop::~WaylandDesktop()
{
    WaylandDesktop::leaveInHaste();
}

void WaylandDesktop::leaveInHaste()
{
    if (clipboard) {
        clipboard->compositors.leave();
    }
}

Ports WaylandDesktop::ports()
{
    Pasteboard& pasteboard =
        clipboard ? static_cast<Pasteboard&>(clipboard->pasteboard) : x11Pasteboard;
    return portsWith({.eventTap = eventTap(),
                      .keyPoster = keyPoster(),
                      .focusedProgram = focusedProgram(),
                      .pasteboard = pasteboard,
                      .permissions = consent,
                      .screens = focusScreens});
}

EventTap& WaylandDesktop::eventTap()
{
    return sway ? sway->eventTap : portals->access.eventTap();
}

KeyPoster& WaylandDesktop::keyPoster()
{
    return ownKeyboard ? static_cast<KeyPoster&>(*ownKeyboard) : *portalsKeyboard;
}

FocusedProgram& WaylandDesktop::focusedProgram()
{
    if (sway) {
        return sway->focus;
    }
    return toplevels ? static_cast<FocusedProgram&>(*toplevels) : accessibility->focus;
}

/// The process that reads the clipboard for the focused window: for a program on XWayland the
/// compositor does.
std::optional<pid_t> WaylandDesktop::focusedProcess() const
{
    if (!sway) {
        return std::nullopt;
    }
    const pid_t compositor = connection->compositor();
    if (sway->focus.isOnXWayland()) {
        return compositor > 0 ? std::optional(compositor) : std::nullopt;
    }
    return sway->focus.process();
}

std::optional<Rect> WaylandDesktop::focusedFrame() const
{
    const auto area = sway ? sway->focus.focusedArea() : std::nullopt;
    if (!area) {
        return std::nullopt;
    }
    const auto [top, scale] = screens.space();
    return Rect{.x = area->x / scale,
                .y = top - (area->y + area->height) / scale,
                .width = area->width / scale,
                .height = area->height / scale};
}

bool WaylandDesktop::Consent::isTrusted() const
{
    const auto& own = desktop.ownKeyboard;
    const auto& portals = desktop.portals;
    return desktop.keyAccess.granted().get() && (!own || own->available()) &&
           (!portals || portals->access.isUnrefused());
}

bool WaylandDesktop::Consent::isTrustUnasked() const
{
    return desktop.portals && desktop.portals->access.isUnrefused() &&
           !desktop.portals->access.isGranted();
}

bool WaylandDesktop::Consent::canAskForTrust() const
{
    return desktop.portals && desktop.portals->access.canAsk();
}

bool WaylandDesktop::Consent::wouldAskForTyping() const
{
    return desktop.portals && desktop.portals->access.canAskForChord();
}

std::string WaylandDesktop::Consent::trustObstacle() const
{
    return desktop.portals ? desktop.portals->access.obstacle() : std::string();
}

void WaylandDesktop::Consent::askForTrust(const Hotkey& hotkey)
{
    if (desktop.portals) {
        desktop.portals->access.ask(hotkey);
    }
}

} // namespace vorlin
