#pragma once

#include "Platform/Linux/Audio/PulseAudioInput.h"
#include "Platform/Linux/Audio/PulseContext.h"
#include "Platform/Linux/Audio/PulseMicrophoneAccess.h"
#include "Platform/Linux/Audio/PulseSounds.h"
#include "Platform/Linux/Desktop/EnvironmentLocale.h"
#include "Platform/Linux/Desktop/JsonDefaults.h"
#include "Platform/Linux/Desktop/SessionLock.h"
#include "Platform/Linux/Desktop/XDGFolders.h"
#include "Platform/Linux/Desktop/XDGLoginItem.h"
#include "Platform/Linux/Engine/EngineModels.h"
#include "Platform/Linux/Environment.h"
#include "Platform/Linux/Overlay/DesktopAppearance.h"
#include "Platform/Linux/Speech/SphinxAnalyzers.h"
#include "Platform/Shared/Curl/CurlHTTPClient.h"
#include "Platform/Shared/DiskWorkingFolders.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/Soxr/SoxrConverter.h"
#include "Platform/Shared/SystemRandom.h"
#include "Platform/Shared/ThreadPool.h"

#include <memory>

namespace vorlin {

/// The adapters that are the same on every Linux desktop, whatever shows its windows: loop,
/// workers, settings, network, sound, speech, engine. In the order in which one needs the other.
/// Create them on the main thread, after the Qt application.
class LinuxServices {
public:
    explicit LinuxServices(const Environment& environment);
    LinuxServices(const LinuxServices&) = delete;
    LinuxServices& operator=(const LinuxServices&) = delete;
    /// Ends the work of the workers first, which uses all the others.
    ~LinuxServices();

    QtMainLoop loop;
    SystemRandom random;
    ThreadPool workers;
    const std::shared_ptr<XDGFolders> folders;
    const std::shared_ptr<DiskWorkingFolders> workingFolders;
    CurlHTTPClient http;
    EngineModels mlModels;
    JsonDefaults defaults;
    JsonDefaults state;
    EnvironmentLocale locale;
    XDGLoginItem loginItem;
    SessionLock session;
    PulseContext pulse;
    PulseMicrophoneAccess microphoneAccess;
    PulseAudioInput audioInput;
    PulseSounds sounds;
    SoxrConverters audioConverters;
    SphinxAnalyzers speechAnalyzers;
    DesktopAppearance appearance;
};

} // namespace vorlin
