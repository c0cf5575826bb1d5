#include "App/macOS/MacDesktop.h"

#include "Platform/macOS/MacThreadPriority.h"
#include "Platform/macOS/Plain/PasteChord.h"
#include "Wording.h"

namespace vorlin {

MacDesktop::MacDesktop()
    : workers(lowerThreadPriority), folders(std::make_shared<MacFolders>()),
      workingFolders(std::make_shared<DiskWorkingFolders>()), http(loop, workers), mlModels(loop),
      state("Vorlin.state"), permissions(loop), audioInput(loop), speechAnalyzers(loop),
      focusedProgram(commandV), overlayPanel(loop), statusItem(loop), keyMonitor(loop),
      workspace(loop)
{
}

MacDesktop::~MacDesktop()
{
    http.close();
    workers.close();
}

Ports MacDesktop::ports()
{
    return {
        .loop = loop,
        .audioInput = audioInput,
        .audioConverters = audioConverters,
        .speechAnalyzers = speechAnalyzers,
        .eventTap = eventTap,
        .keyPoster = keyPoster,
        .focusedProgram = focusedProgram,
        .pasteboard = pasteboard,
        .defaults = defaults,
        .state = state,
        .permissions = permissions,
        .session = session,
        .sounds = sounds,
        .locale = locale,
        .mlModels = mlModels,
        .folders = folders,
        .workingFolders = workingFolders,
        .http = http,
        .random = random,
        .workers = workers,
        .screens = screens,
        .overlayPanel = overlayPanel,
        .statusItem = statusItem,
        .localKeyMonitor = keyMonitor,
        .loginItem = loginItem,
        .workspace = workspace,
        .wording = plainWording(),
    };
}

} // namespace vorlin
