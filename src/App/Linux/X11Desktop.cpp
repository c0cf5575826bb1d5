#include "App/Linux/X11Desktop.h"

namespace vorlin {

X11Desktop::X11Desktop(LinuxServices& services, const Environment& environment)
    : LinuxDesktop(services, environment), eventTap(keyboard, services.loop), keyPoster(keyboard),
      focusedProgram(keyboard.server()), pasteboard(services.loop),
      permissions([this] { return keyAccess.granted().get(); }, services.microphoneAccess)
{
}

Ports X11Desktop::ports()
{
    return portsWith({.eventTap = eventTap,
                      .keyPoster = keyPoster,
                      .focusedProgram = focusedProgram,
                      .pasteboard = pasteboard,
                      .permissions = permissions,
                      .screens = screens});
}

} // namespace vorlin
