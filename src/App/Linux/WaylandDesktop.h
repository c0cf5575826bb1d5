#pragma once

#include "App/Linux/LinuxDesktop.h"
#include "App/Linux/LinuxPermissions.h"
#include "App/Linux/WaylandSession.h"
#include "Platform/Linux/Keys/ActionsOnlyTap.h"
#include "Platform/Linux/Keys/SwayEventTap.h"
#include "Platform/Linux/Keys/SwayFocus.h"
#include "Platform/Linux/Keys/VirtualKeyboardPoster.h"
#include "Platform/Linux/Keys/X11EventTap.h"
#include "Platform/Linux/Keys/X11FocusedProgram.h"
#include "Platform/Linux/Overlay/FocusScreens.h"
#include "Platform/Linux/Pasteboard/BridgedPasteboard.h"
#include "Platform/Linux/Pasteboard/DataControlPasteboard.h"
#include "Platform/Linux/Pasteboard/X11Pasteboard.h"
#include "Platform/Linux/Sway/SwaySocket.h"
#include "Platform/Linux/Wayland/WaylandConnection.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace vorlin {

/// A Wayland session with XWayland: the chord and the clipboard go to the compositor itself, and so
/// do the keys where it can be asked for them; what is shown goes through XWayland.
class WaylandDesktop final : private WaylandSession, public LinuxDesktop {
public:
    /// Whether the compositor answers and offers what this needs.
    static bool canUse(const WaylandConnection& connection);

    /// `services` must outlive this object.
    WaylandDesktop(LinuxServices& services, const Environment& environment,
                   std::unique_ptr<WaylandConnection> connection);

    Ports ports() override;

    bool outlivesDisplay() override { return goesOn(); }

    std::vector<Subscription> watchEnd(const std::function<void()>& ended) override;

    void leaveInHaste() override { compositorsPasteboard.leave(); }

private:
    /// What the compositor tells of keys and windows over sway's socket.
    struct Sway {
        Sway(const std::string& path, LinuxServices& services, const Environment& environment,
             EventTap& layouts);

        SwaySocket socket;
        SwayEventTap eventTap;
        SwayFocus focus;
    };

    std::optional<pid_t> focusedProcess() const;
    std::optional<Rect> focusedFrame() const;

    /// What XWayland alone tells: the layouts, and the focus among its own programs. Its keys are
    /// those that are pressed over its own windows, and no promise.
    X11EventTap x11EventTap;
    X11FocusedProgram x11FocusedProgram;
    std::optional<Sway> sway;
    /// Where it tells nothing.
    std::optional<ActionsOnlyTap> noKeys;
    VirtualKeyboardPoster keyPoster;
    DataControlPasteboard compositorsPasteboard;
    X11Pasteboard x11Pasteboard;
    BridgedPasteboard pasteboard;
    LinuxPermissions permissions;
    FocusScreens focusScreens;
};

} // namespace vorlin
