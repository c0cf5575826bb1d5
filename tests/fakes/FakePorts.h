#pragma once

#include "Ports/Ports.h"
#include "Wording.h"
#include "fakes/FakeAudioConverters.h"
#include "fakes/FakeAudioInput.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeEventTap.h"
#include "fakes/FakeFolders.h"
#include "fakes/FakeHTTPClient.h"
#include "fakes/FakeMLModels.h"
#include "fakes/FakeOverlay.h"
#include "fakes/FakePasteboard.h"
#include "fakes/FakeRandom.h"
#include "fakes/FakeShell.h"
#include "fakes/FakeSpeechAnalyzers.h"
#include "fakes/FakeWorkingFolders.h"
#include "simulation/SimulatedLoop.h"

namespace vorlin {

/// A whole desktop that the test plays, on virtual time.
struct FakePorts {
    explicit FakePorts(std::uint64_t seed = 0) : loop(seed) {}

    SimulatedLoop loop;
    FakeAudioInput microphone;
    FakeAudioConverters converters;
    FakeSpeechAnalyzers analyzers;
    FakeEventTap tap;
    FakeKeyPoster keys;
    FakeFocusedProgram focus;
    FakePasteboard pasteboard;
    FakeDefaults defaults;
    FakeDefaults state;
    FakePermissions permissions;
    FakeSession session;
    FakeSounds sounds;
    FakeLocale locale;
    FakeMLModels mlModels{loop};
    const std::shared_ptr<FakeFolders> heldFolders = std::make_shared<FakeFolders>();
    FakeFolders& folders = *heldFolders;
    const std::shared_ptr<FakeWorkingFolders> workingFolders =
        std::make_shared<FakeWorkingFolders>();
    FakeHTTPClient http{loop};
    FakeRandom random;
    FakeScreens screens;
    FakeOverlayPanel panel{loop};
    FakeStatusItem statusItem;
    FakeLocalKeyMonitor recorderKeys;
    FakeLoginItem loginItem;
    FakeWorkspace workspace;

    const Wording* wording = &plainWording();

    Ports ports()
    {
        return {
            .loop = loop,
            .audioInput = microphone,
            .audioConverters = converters,
            .speechAnalyzers = analyzers,
            .eventTap = tap,
            .keyPoster = keys,
            .focusedProgram = focus,
            .pasteboard = pasteboard,
            .defaults = defaults,
            .state = state,
            .permissions = permissions,
            .session = session,
            .sounds = sounds,
            .locale = locale,
            .mlModels = mlModels,
            .folders = heldFolders,
            .workingFolders = workingFolders,
            .http = http,
            .random = random,
            .workers = loop,
            .screens = screens,
            .overlayPanel = panel,
            .statusItem = statusItem,
            .localKeyMonitor = recorderKeys,
            .loginItem = loginItem,
            .workspace = workspace,
            .wording = *wording,
        };
    }
};

} // namespace vorlin
