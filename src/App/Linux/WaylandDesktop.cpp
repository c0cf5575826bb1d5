#include "App/Linux/WaylandDesktop.h"

#include "Platform/Linux/Overlay/LayerOverlayWindow.h"

#include <utility>

namespace vorlin {

namespace {

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

bool WaylandDesktop::canUse(const WaylandConnection& connection)
{
    return connection.alive().get() && VirtualKeyboardPoster::isOffered(connection) &&
           DataControl::isOffered(connection);
}

WaylandDesktop::Sway::Sway(const std::string& path, LinuxServices& services,
                           const Environment& environment, EventTap& layouts)
    : socket(path, services.loop),
      eventTap({.socket = socket,
                .loop = services.loop,
                .workers = services.workers,
                .typesCharacters =
                    [&layouts](std::uint16_t keyCode) { return layouts.typesCharacters(keyCode); },
                .guard = {.program = guardProgram(),
                          .socket = path,
                          .ledger = SwayGuard::ledgerPath(
                              environment("XDG_RUNTIME_DIR").value_or("/tmp"), path)}}),
      focus(socket)
{
}

WaylandDesktop::WaylandDesktop(LinuxServices& services, const Environment& environment,
                               std::unique_ptr<WaylandConnection> compositor)
    : WaylandSession{std::move(compositor)},
      LinuxDesktop(services, environment, overlayWindowOf(*connection)),
      x11EventTap(keyboard, services.loop),
      x11FocusedProgram(keyboard.server(), X11FocusedProgram::Reach::xwayland),
      keyPoster(*connection),
      compositorsPasteboard(*connection, services.loop, [this] { return focusedProcess(); }),
      x11Pasteboard(services.loop),
      pasteboard(compositorsPasteboard, x11Pasteboard, keyboard.server(), services.loop),
      permissions([this] { return keyPoster.available() && keyAccess.granted().get(); },
                  services.microphoneAccess),
      focusScreens(screens, [this] { return focusedFrame(); })
{
    keyPoster.onChord = [this] { compositorsPasteboard.noteChord(); };
    if (const auto path = environment("SWAYSOCK");
        path && isSwaySocketOf(*path, connection->compositor())) {
        sway.emplace(*path, services, environment, x11EventTap);
    } else {
        noKeys.emplace(x11EventTap);
    }
}

std::vector<Subscription> WaylandDesktop::watchEnd(const std::function<void()>& ended)
{
    auto watches = LinuxDesktop::watchEnd(ended);
    watches.push_back(WaylandSession::watchEnd(ended));
    return watches;
}

Ports WaylandDesktop::ports()
{
    EventTap& eventTap = sway ? static_cast<EventTap&>(sway->eventTap) : *noKeys;
    FocusedProgram& focus = sway ? static_cast<FocusedProgram&>(sway->focus) : x11FocusedProgram;
    return portsWith({.eventTap = eventTap,
                      .keyPoster = keyPoster,
                      .focusedProgram = focus,
                      .pasteboard = pasteboard,
                      .permissions = permissions,
                      .screens = focusScreens});
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

} // namespace vorlin
