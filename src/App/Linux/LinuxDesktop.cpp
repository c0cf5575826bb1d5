#include "App/Linux/LinuxDesktop.h"

#include "App/Linux/WaylandDesktop.h"
#include "App/Linux/X11Desktop.h"
#include "Wording.h"

#include <chrono>
#include <utility>

namespace vorlin {

LinuxDesktop::LinuxDesktop(LinuxServices& services, const Environment& environment,
                           const MakeOverlayWindow& makeOverlayWindow)
    : services(services), keyAccess(keyboard), screens(environment),
      overlayPanel(screens, makeOverlayWindow ? makeOverlayWindow : X11OverlayPanel::inDisplay),
      keyMonitor(keyboard, services.loop), folderDialog(services.workers, services.loop),
      workspace(environment)
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

Ports LinuxDesktop::portsWith(const Own& own)
{
    return {
        .loop = services.loop,
        .audioInput = services.audioInput,
        .audioConverters = services.audioConverters,
        .speechAnalyzers = services.speechAnalyzers,
        .eventTap = own.eventTap,
        .keyPoster = own.keyPoster,
        .focusedProgram = own.focusedProgram,
        .pasteboard = own.pasteboard,
        .defaults = services.defaults,
        .state = services.state,
        .permissions = own.permissions,
        .session = services.session,
        .sounds = services.sounds,
        .locale = services.locale,
        .mlModels = services.mlModels,
        .folders = services.folders,
        .workingFolders = services.workingFolders,
        .http = services.http,
        .random = services.random,
        .workers = services.workers,
        .screens = own.screens,
        .overlayPanel = overlayPanel,
        .statusItem = statusItem,
        .localKeyMonitor = keyMonitor,
        .loginItem = services.loginItem,
        .workspace = workspace,
        .wording = linuxWording(),
    };
}

std::vector<Subscription> LinuxDesktop::watchEnd(const std::function<void()>& ended)
{
    return {keyAccess.granted().observe([ended](bool) { ended(); })};
}

namespace {

/// A compositor that has just begun its session may be busy; where there is none it is known at
/// once.
constexpr std::chrono::seconds compositorPatience{10};

} // namespace

std::unique_ptr<LinuxDesktop> desktopOf(LinuxServices& services, const Environment& environment)
{
    if (environment("WAYLAND_DISPLAY")) {
        auto connection = std::make_unique<WaylandConnection>(compositorPatience);
        if (connection->alive().get()) {
            return std::make_unique<WaylandDesktop>(services, environment, std::move(connection));
        }
    }
    return std::make_unique<X11Desktop>(services, environment);
}

} // namespace vorlin
