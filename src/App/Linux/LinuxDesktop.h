#pragma once

#include "App/Linux/LinuxPermissions.h"
#include "Platform/Linux/Audio/PulseAudioInput.h"
#include "Platform/Linux/Audio/PulseContext.h"
#include "Platform/Linux/Audio/PulseMicrophoneAccess.h"
#include "Platform/Linux/Audio/PulseSounds.h"
#include "Platform/Linux/Desktop/Environment.h"
#include "Platform/Linux/Desktop/EnvironmentLocale.h"
#include "Platform/Linux/Desktop/JsonDefaults.h"
#include "Platform/Linux/Desktop/XDGFolders.h"
#include "Platform/Linux/Engine/EngineModels.h"
#include "Platform/Linux/Keys/X11EventTap.h"
#include "Platform/Linux/Keys/X11FocusedProgram.h"
#include "Platform/Linux/Keys/X11KeyAccess.h"
#include "Platform/Linux/Keys/X11KeyPoster.h"
#include "Platform/Linux/Keys/X11Keyboard.h"
#include "Platform/Linux/Overlay/DesktopAppearance.h"
#include "Platform/Linux/Overlay/X11OverlayPanel.h"
#include "Platform/Linux/Overlay/X11Screens.h"
#include "Platform/Linux/Pasteboard/X11Pasteboard.h"
#include "Platform/Linux/Speech/SphinxAnalyzers.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/Soxr/SoxrConverter.h"
#include "Platform/Shared/SystemRandom.h"
#include "Platform/Shared/ThreadPool.h"
#include "Ports/Ports.h"

namespace vorlin {

/// Every adapter of the Linux (X11) desktop, in the order in which one needs the other. Create
/// it on the main thread, after the Qt application.
class LinuxDesktop {
public:
    explicit LinuxDesktop(const Environment& environment);
    LinuxDesktop(const LinuxDesktop&) = delete;
    LinuxDesktop& operator=(const LinuxDesktop&) = delete;
    /// Ends the work of the workers first, which uses all the others.
    ~LinuxDesktop();

    Ports ports();

    /// Whether the display can be used; turns false, for good, when it is gone.
    const Published<bool, X11KeyAccess>& hasDisplay() const { return keyAccess.granted(); }

    /// For the view, which is drawn apart from the model.
    X11OverlayPanel& panel() { return overlayPanel; }
    DesktopAppearance& look() { return appearance; }

private:
    QtMainLoop loop;
    SystemRandom random;
    ThreadPool workers;
    XDGFolders folders;
    EngineModels mlModels;
    JsonDefaults defaults;
    EnvironmentLocale locale;
    X11Keyboard keyboard;
    X11KeyAccess keyAccess;
    X11EventTap eventTap;
    X11KeyPoster keyPoster;
    X11FocusedProgram focusedProgram;
    X11Pasteboard pasteboard;
    PulseContext pulse;
    PulseMicrophoneAccess microphoneAccess;
    PulseAudioInput audioInput;
    PulseSounds sounds;
    SoxrConverters audioConverters;
    SphinxAnalyzers speechAnalyzers;
    LinuxPermissions permissions;
    X11Screens screens;
    X11OverlayPanel overlayPanel;
    DesktopAppearance appearance;
};

} // namespace vorlin
