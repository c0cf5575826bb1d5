#pragma once

#include "App/Linux/LinuxPermissions.h"
#include "App/Linux/LinuxServices.h"
#include "Platform/Linux/Keys/X11EventTap.h"
#include "Platform/Linux/Keys/X11FocusedProgram.h"
#include "Platform/Linux/Keys/X11KeyAccess.h"
#include "Platform/Linux/Keys/X11KeyMonitor.h"
#include "Platform/Linux/Keys/X11KeyPoster.h"
#include "Platform/Linux/Keys/X11Keyboard.h"
#include "Platform/Linux/Overlay/X11OverlayPanel.h"
#include "Platform/Linux/Overlay/X11Screens.h"
#include "Platform/Linux/Pasteboard/X11Pasteboard.h"
#include "Platform/Linux/Tray/TrayStatusItem.h"
#include "Platform/Linux/Workspace/LinuxWorkspace.h"
#include "Ports/Ports.h"
#include "UI/FolderDialog.h"

namespace vorlin {

/// The adapters that an X11 display fulfils: keys, clipboard, screens, overlay, tray. Create it on
/// the main thread, after the Qt application.
class X11Desktop {
public:
    /// `services` must outlive this object.
    X11Desktop(LinuxServices& services, const Environment& environment);
    X11Desktop(const X11Desktop&) = delete;
    X11Desktop& operator=(const X11Desktop&) = delete;

    /// These adapters and those of the services.
    Ports ports();

    /// Whether the display can be used; turns false, for good, when it is gone.
    const Published<bool, X11KeyAccess>& hasDisplay() const { return keyAccess.granted(); }

    /// For the view, which is drawn apart from the model.
    X11OverlayPanel& panel() { return overlayPanel; }

private:
    LinuxServices& services;
    X11Keyboard keyboard;
    X11KeyAccess keyAccess;
    X11EventTap eventTap;
    X11KeyPoster keyPoster;
    X11FocusedProgram focusedProgram;
    X11Pasteboard pasteboard;
    LinuxPermissions permissions;
    X11Screens screens;
    X11OverlayPanel overlayPanel;
    TrayStatusItem statusItem;
    X11KeyMonitor keyMonitor;
    FolderDialog folderDialog;
    LinuxWorkspace workspace;
};

} // namespace vorlin
