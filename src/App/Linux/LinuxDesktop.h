#pragma once

#include "App/Linux/LinuxServices.h"
#include "Platform/Linux/Keys/X11KeyAccess.h"
#include "Platform/Linux/Keys/X11KeyMonitor.h"
#include "Platform/Linux/Keys/X11Keyboard.h"
#include "Platform/Linux/Overlay/X11OverlayPanel.h"
#include "Platform/Linux/Overlay/X11Screens.h"
#include "Platform/Linux/Tray/TrayStatusItem.h"
#include "Platform/Linux/Workspace/LinuxWorkspace.h"
#include "Ports/Ports.h"
#include "UI/FolderDialog.h"

#include <functional>
#include <memory>
#include <vector>

namespace vorlin {

/// What an X11 display fulfils on every Linux desktop, also where that is XWayland in a Wayland
/// session: screens, overlay, tray, the settings' keys. What is fulfilled otherwise from one
/// desktop to the next are the desktops' own. Create it on the main thread, after the Qt
/// application.
class LinuxDesktop {
public:
    LinuxDesktop(const LinuxDesktop&) = delete;
    LinuxDesktop& operator=(const LinuxDesktop&) = delete;
    virtual ~LinuxDesktop() = default;

    /// These adapters and those of the services.
    virtual Ports ports() = 0;

    /// Calls `ended` when what the program needs of the session is gone for good, for as long as
    /// the result is kept; more than once if more than one thing goes.
    virtual std::vector<Subscription> watchEnd(const std::function<void()>& ended);

    /// Whether the session goes on when that is gone, so that the program is to be started
    /// anew.
    virtual bool outlivesDisplay() { return false; }

    /// The process is about to be replaced without its objects' end.
    virtual void leaveInHaste() {}

    /// Whether the display can be used; turns false, for good, when it is gone.
    const Published<bool, X11KeyAccess>& hasDisplay() const { return keyAccess.granted(); }

    /// For the view, which is drawn apart from the model.
    X11OverlayPanel& panel() { return overlayPanel; }

protected:
    /// What a desktop adds.
    struct Own {
        EventTap& eventTap;
        KeyPoster& keyPoster;
        FocusedProgram& focusedProgram;
        Pasteboard& pasteboard;
        Permissions& permissions;
        Screens& screens;
    };

    /// Makes the overlay's window, where that is none of the X11 display.
    using MakeOverlayWindow = X11OverlayPanel::MakeWindow;

    /// `services` must outlive this object.
    LinuxDesktop(LinuxServices& services, const Environment& environment,
                 const MakeOverlayWindow& makeOverlayWindow = {});

    Ports portsWith(const Own& own);

    LinuxServices& services;
    X11Keyboard keyboard;
    X11KeyAccess keyAccess;
    X11Screens screens;

private:
    X11OverlayPanel overlayPanel;
    TrayStatusItem statusItem;
    X11KeyMonitor keyMonitor;
    FolderDialog folderDialog;
    LinuxWorkspace workspace;
};

/// The desktop of the session that `environment` tells of: a Wayland one where a compositor
/// answers; else an X11 one.
std::unique_ptr<LinuxDesktop> desktopOf(LinuxServices& services, const Environment& environment);

} // namespace vorlin
