#pragma once

#include "Platform/Shared/Curl/CurlHTTPClient.h"
#include "Platform/Shared/DiskWorkingFolders.h"
#include "Platform/Shared/NoFocusedProgram.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/SystemRandom.h"
#include "Platform/Shared/ThreadPool.h"
#include "Platform/macOS/MacAppearance.h"
#include "Platform/macOS/MacAudioConverters.h"
#include "Platform/macOS/MacAudioInput.h"
#include "Platform/macOS/MacDefaults.h"
#include "Platform/macOS/MacEventTap.h"
#include "Platform/macOS/MacFolders.h"
#include "Platform/macOS/MacKeyPoster.h"
#include "Platform/macOS/MacLocalKeyMonitor.h"
#include "Platform/macOS/MacLocale.h"
#include "Platform/macOS/MacLoginItem.h"
#include "Platform/macOS/MacMLModels.h"
#include "Platform/macOS/MacOverlayPanel.h"
#include "Platform/macOS/MacPasteboard.h"
#include "Platform/macOS/MacPermissions.h"
#include "Platform/macOS/MacScreens.h"
#include "Platform/macOS/MacSession.h"
#include "Platform/macOS/MacSounds.h"
#include "Platform/macOS/MacStatusItem.h"
#include "Platform/macOS/MacWorkspace.h"
#include "Platform/macOS/Speech/MacSpeechAnalyzers.h"
#include "Ports/Ports.h"

#include <memory>

namespace vorlin {

/// The adapters of the macOS desktop, in the order in which one needs the other. Create it on the
/// main thread, after the Qt application.
class MacDesktop {
public:
    MacDesktop();
    MacDesktop(const MacDesktop&) = delete;
    MacDesktop& operator=(const MacDesktop&) = delete;
    /// Ends the work of the workers first, which uses all the others.
    ~MacDesktop();

    Ports ports();

    QtMainLoop loop;
    SystemRandom random;
    ThreadPool workers;
    const std::shared_ptr<MacFolders> folders;
    const std::shared_ptr<DiskWorkingFolders> workingFolders;
    CurlHTTPClient http;
    MacMLModels mlModels;
    MacDefaults defaults;
    MacDefaults state;
    MacLocale locale;
    MacLoginItem loginItem;
    MacPermissions permissions;
    MacSession session;
    MacAudioInput audioInput;
    MacAudioConverters audioConverters;
    MacSounds sounds;
    MacSpeechAnalyzers speechAnalyzers;
    MacEventTap eventTap;
    MacKeyPoster keyPoster;
    NoFocusedProgram focusedProgram;
    MacPasteboard pasteboard;
    MacScreens screens;
    MacOverlayPanel overlayPanel;
    MacStatusItem statusItem;
    MacLocalKeyMonitor keyMonitor;
    MacWorkspace workspace;
    MacAppearance appearance;
};

} // namespace vorlin
