#include "App/Linux/X11Desktop.h"

#include "Wording.h"

#include <utility>

namespace vorlin {

X11Desktop::X11Desktop(LinuxServices& services, const Environment& environment)
    : services(services), keyAccess(keyboard), eventTap(keyboard, services.loop),
      keyPoster(keyboard), focusedProgram(keyboard.server()), pasteboard(services.loop),
      permissions([this] { return keyAccess.granted().get(); }, services.microphoneAccess),
      screens(environment), overlayPanel(screens), keyMonitor(keyboard, services.loop),
      folderDialog(services.workers, services.loop), workspace(environment)
{
    workspace.setOwnDialog({.open =
                                [this](const std::string& title, const std::string& prompt,
                                       std::function<void(FolderDialog::Chosen)> whenDone) {
                                    folderDialog.open(
                                        title, prompt,
                                        {.dark = this->services.appearance.isDark(),
                                         .accent = this->services.appearance.accent()},
                                        std::move(whenDone));
                                    return true;
                                },
                            .cancel = [this] { folderDialog.cancel(); }});
}

Ports X11Desktop::ports()
{
    return {
        .loop = services.loop,
        .audioInput = services.audioInput,
        .audioConverters = services.audioConverters,
        .speechAnalyzers = services.speechAnalyzers,
        .eventTap = eventTap,
        .keyPoster = keyPoster,
        .focusedProgram = focusedProgram,
        .pasteboard = pasteboard,
        .defaults = services.defaults,
        .state = services.state,
        .permissions = permissions,
        .session = services.session,
        .sounds = services.sounds,
        .locale = services.locale,
        .mlModels = services.mlModels,
        .folders = services.folders,
        .workingFolders = services.workingFolders,
        .http = services.http,
        .random = services.random,
        .workers = services.workers,
        .screens = screens,
        .overlayPanel = overlayPanel,
        .statusItem = statusItem,
        .localKeyMonitor = keyMonitor,
        .loginItem = services.loginItem,
        .workspace = workspace,
        .wording = linuxWording(),
    };
}

} // namespace vorlin
