#pragma once

#include "App/Linux/LinuxDesktop.h"
#include "App/Linux/WaylandSession.h"
#include "Platform/Linux/Accessibility/AccessibilityBus.h"
#include "Platform/Linux/Accessibility/AccessibleFocus.h"
#include "Platform/Linux/Audio/PulseMicrophoneAccess.h"
#include "Platform/Linux/Keys/HeldModifiers.h"
#include "Platform/Linux/Keys/SwayEventTap.h"
#include "Platform/Linux/Keys/SwayFocus.h"
#include "Platform/Linux/Keys/ToplevelFocus.h"
#include "Platform/Linux/Keys/VirtualKeyboardPoster.h"
#include "Platform/Linux/Keys/X11EventTap.h"
#include "Platform/Linux/Keys/X11FocusedProgram.h"
#include "Platform/Linux/Keys/YieldingKeyPoster.h"
#include "Platform/Linux/Overlay/FocusScreens.h"
#include "Platform/Linux/Pasteboard/BridgedPasteboard.h"
#include "Platform/Linux/Pasteboard/DataControlPasteboard.h"
#include "Platform/Linux/Pasteboard/X11Pasteboard.h"
#include "Platform/Linux/Portal/PortalAccess.h"
#include "Platform/Linux/Sway/SwaySocket.h"
#include "Platform/Linux/Wayland/WaylandConnection.h"
#include "Ports/Permissions.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace vorlin {

/// A Wayland session with XWayland, through which goes what is shown. Key, chord, clipboard, focus
/// and overlay each go the first way that answers here:
///
/// - the key: sway's socket, the desktop's portals, a key that the person binds in the desktop;
/// - the chord: a keyboard of our own, the portals;
/// - the clipboard: the compositor's own, XWayland's;
/// - the focused program: sway's socket, the compositor's list of windows, what programs tell to
///   those who read windows out, where that is on; else only those on XWayland are known;
/// - the overlay: a layer of the compositor's, XWayland.
class WaylandDesktop final : private WaylandSession, public LinuxDesktop {
public:
    /// `services` must outlive this object.
    WaylandDesktop(LinuxServices& services, const Environment& environment,
                   std::unique_ptr<WaylandConnection> connection);
    ~WaylandDesktop() override;

    Ports ports() override;

    bool outlivesDisplay() override { return goesOn(); }

    std::vector<Subscription> watchEnd(const std::function<void()>& ended) override;

    void leaveInHaste() override;

private:
    /// What the compositor tells of keys and windows over sway's socket.
    struct Sway {
        Sway(const std::string& path, LinuxServices& services, const Environment& environment,
             X11Keyboard& keyboard);

        SwaySocket socket;
        /// Of XWayland's keyboard only the layouts matter.
        X11EventTap layouts;
        SwayEventTap eventTap;
        SwayFocus focus;
    };

    /// What programs themselves tell of their windows.
    struct Accessibility {
        Accessibility(LinuxServices& services, X11FocusedProgram& xwayland);

        AccessibilityBus bus;
        AccessibleFocus focus;
    };

    /// The desktop's portals, and our connections to them.
    struct Portals {
        Portals(LinuxServices& services, const Environment& environment,
                std::optional<RemoteDesktopPoster::Places> places);
        Portals(const Portals&) = delete;
        Portals& operator=(const Portals&) = delete;
        ~Portals();

        PortalAccess access;
    };

    /// The compositor's own: what is written there is there before the chord is, whichever way that
    /// comes. Through XWayland the chord may be first.
    struct Clipboard {
        Clipboard(WaylandConnection& connection, MainLoop& loop,
                  std::function<std::optional<pid_t>()> focusedProcess,
                  X11Pasteboard& x11Pasteboard, X11Connection& server);

        DataControlPasteboard compositors;
        BridgedPasteboard pasteboard;
    };

    /// What answers, and what the person has agreed to where they are asked.
    class Consent final : public Permissions {
    public:
        Consent(WaylandDesktop& desktop, const PulseMicrophoneAccess& microphone)
            : desktop(desktop), microphone(microphone)
        {
        }

        bool isTrusted() const override;
        bool isTrustUnasked() const override;
        bool microphoneGranted() const override { return microphone.granted().get(); }
        bool microphoneAnswered() const override { return microphone.answered(); }
        void promptForTrust() override {} // it would at every start
        bool canAskForTrust() const override;
        bool wouldAskForTyping() const override;
        std::string trustObstacle() const override;
        void askForTrust(const Hotkey& hotkey) override;
        void requestMicrophone() override {}

    private:
        WaylandDesktop& desktop;
        const PulseMicrophoneAccess& microphone;
    };

    EventTap& eventTap();
    KeyPoster& keyPoster();
    FocusedProgram& focusedProgram();
    std::optional<pid_t> focusedProcess() const;
    std::optional<Rect> focusedFrame() const;

    X11FocusedProgram x11FocusedProgram;
    std::optional<Sway> sway;
    std::optional<ToplevelFocus> toplevels;
    /// Where neither of the two tells.
    std::optional<Accessibility> accessibility;
    X11Pasteboard x11Pasteboard;
    /// Is told of each chord, for as long as either keyboard is there.
    std::optional<Clipboard> clipboard;
    std::optional<VirtualKeyboardPoster> ownKeyboard;
    /// Where one of the two lacks.
    std::optional<Portals> portals;
    /// The person's modifiers join the portals' chord.
    HeldModifiers heldModifiers;
    std::optional<YieldingKeyPoster> portalsKeyboard;
    Consent consent;
    FocusScreens focusScreens;
};

} // namespace vorlin
