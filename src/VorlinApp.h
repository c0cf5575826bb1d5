#pragma once

#include "AppModel.h"
#include "MenuContent.h"
#include "Ports/Ports.h"
#include "Settings/FirstRun.h"
#include "Settings/SettingsScene.h"

#include <functional>
#include <optional>

namespace vorlin {

/// The application: holds the one model for the life of the process, and the two scenes in which
/// a person sees it, the status item and the settings window. Main loop.
class VorlinApp {
public:
    /// What `ports` names must outlive this object. `quit` ends the program; it is called when the
    /// person chooses to.
    VorlinApp(const Ports& ports, std::function<void()> quit);

    /// The model, created by the first call; the status item appears with it.
    AppModel& model();

    SettingsScene settings;

private:
    const Ports ports;
    std::function<void()> quit;
    std::optional<AppModel> created;
    std::optional<MenuContent> menu;
    std::optional<FirstRun> firstRun;
};

} // namespace vorlin
