#pragma once

#include "AppModel.h"
#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Published.h"
#include "Ports/Ports.h"
#include "Ports/Session.h"
#include "Ports/StatusItem.h"
#include "Settings/SettingsScene.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// The program's status item: its symbol, and the menu that says how to dictate. Follows what it
/// shows. Main loop.
class MenuContent {
public:
    /// All must outlive this object. `quit` ends the program.
    MenuContent(AppModel& model, const Ports& ports, SettingsScene& scene,
                std::function<void()> quit);
    MenuContent(const MenuContent&) = delete;
    MenuContent& operator=(const MenuContent&) = delete;
    /// Lets go of the item's clicks.
    ~MenuContent();

private:
    void show();
    std::vector<MenuItem> items() const;
    void chosen(const std::string& id);

    AppModel& model;
    StatusItem& statusItem;
    const Session& session;
    const EventTap& tap;
    const Wording& wording;
    SettingsScene& scene;
    std::function<void()> quit;
    /// What the item was last told to show.
    std::optional<StatusContent> shown;
    std::vector<Subscription> changes;
    Lifetime lifetime;
};

} // namespace vorlin
