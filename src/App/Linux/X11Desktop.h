#pragma once

#include "App/Linux/LinuxDesktop.h"
#include "App/Linux/LinuxPermissions.h"
#include "Platform/Linux/Keys/X11EventTap.h"
#include "Platform/Linux/Keys/X11FocusedProgram.h"
#include "Platform/Linux/Keys/X11KeyPoster.h"
#include "Platform/Linux/Pasteboard/X11Pasteboard.h"

namespace vorlin {

/// A desktop whose display is an X11 server: it fulfils keys and clipboard, too.
class X11Desktop final : public LinuxDesktop {
public:
    /// `services` must outlive this object.
    X11Desktop(LinuxServices& services, const Environment& environment);

    Ports ports() override;

private:
    X11EventTap eventTap;
    X11KeyPoster keyPoster;
    X11FocusedProgram focusedProgram;
    X11Pasteboard pasteboard;
    LinuxPermissions permissions;
};

} // namespace vorlin
