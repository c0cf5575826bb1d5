#pragma once

#include "App/Linux/LinuxDesktop.h"
#include "App/Linux/WaylandSession.h"
#include "Platform/Linux/Audio/PulseMicrophoneAccess.h"
#include "Platform/Linux/Keys/X11FocusedProgram.h"
#include "Platform/Linux/Overlay/FocusScreens.h"
#include "Platform/Linux/Pasteboard/BridgedPasteboard.h"
#include "Platform/Linux/Pasteboard/DataControlPasteboard.h"
#include "Platform/Linux/Pasteboard/X11Pasteboard.h"
#include "Platform/Linux/Portal/PortalAccess.h"
#include "Platform/Linux/Wayland/WaylandConnection.h"
#include "Ports/Permissions.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vorlin {

/// A Wayland session with XWayland whose compositor leaves keys to the desktop's portals: the keys
/// and the chord go through those, what is shown through XWayland, and so does the clipboard where
/// the compositor does not let it be managed.
class PortalDesktop final : private WaylandSession, public LinuxDesktop {
public:
    /// `services` must outlive this object.
    PortalDesktop(LinuxServices& services, const Environment& environment,
                  std::unique_ptr<WaylandConnection> connection);
    ~PortalDesktop() override;

    Ports ports() override;

    bool outlivesDisplay() override { return goesOn(); }

    std::vector<Subscription> watchEnd(const std::function<void()>& ended) override;

    void leaveInHaste() override;

private:
    /// What the person has agreed to.
    class Consent final : public Permissions {
    public:
        Consent(PortalAccess& portals, const X11KeyAccess& display,
                const PulseMicrophoneAccess& microphone)
            : portals(portals), display(display), microphone(microphone)
        {
        }

        bool isTrusted() const override { return display.granted().get() && portals.isGranted(); }
        bool microphoneGranted() const override { return microphone.granted().get(); }
        bool microphoneAnswered() const override { return microphone.answered(); }
        void promptForTrust() override {} // it would at every start
        bool canAskForTrust() const override { return portals.canAsk(); }
        void askForTrust(const Hotkey& hotkey) override { portals.ask(hotkey); }
        void requestMicrophone() override {}

    private:
        PortalAccess& portals;
        const X11KeyAccess& display;
        const PulseMicrophoneAccess& microphone;
    };

    /// The compositor's own: what is written there is there before the chord is, which comes
    /// another way. Through XWayland the chord may be first.
    struct Clipboard {
        Clipboard(WaylandConnection& connection, MainLoop& loop, X11Pasteboard& x11Pasteboard,
                  X11Connection& server)
            : compositors(connection, loop, [] { return std::nullopt; }),
              pasteboard(compositors, x11Pasteboard, server, loop)
        {
        }

        DataControlPasteboard compositors;
        BridgedPasteboard pasteboard;
    };

    PortalAccess portals;
    X11FocusedProgram focusedProgram;
    X11Pasteboard x11Pasteboard;
    std::optional<Clipboard> clipboard;
    Consent consent;
    /// Where the focused window is nobody tells.
    FocusScreens mainScreen;
};

} // namespace vorlin
