#pragma once

#include "AppModel.h"
#include "Async/MainLoop.h"
#include "Ports/Ports.h"
#include "Settings/SettingsScene.h"

#include <vector>

namespace vorlin {

/// Opens the settings by itself at the very first start, and never again: on Permissions where
/// the keyboard cannot be watched, or the sound server has answered that there is no microphone,
/// else on General. From Permissions it goes on to General, which says the key, once there is
/// nothing left to allow. Somebody who has opened them meanwhile, or has gone to another tab, is
/// left alone. Main loop.
class FirstRun {
public:
    /// All must outlive this object.
    FirstRun(AppModel& model, const Ports& ports, SettingsScene& scene);
    FirstRun(const FirstRun&) = delete;
    FirstRun& operator=(const FirstRun&) = delete;

private:
    void look();
    void open(SettingsTab which);
    void goOn();

    AppModel& model;
    MainLoop& loop;
    Permissions& permissions;
    EventTap& tap;
    SettingsScene& scene;
    /// Until the sound server's answer is not waited for any more.
    TimePoint limit;
    Timer timer;
    /// While it has stopped at Permissions.
    std::vector<Subscription> changes;
};

} // namespace vorlin
