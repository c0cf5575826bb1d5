#pragma once

#include "AppModel.h"
#include "Async/MainLoop.h"
#include "Ports/Ports.h"
#include "Settings/SettingsScene.h"

namespace vorlin {

/// Opens the settings by itself at the very first start, and never again: on Permissions where
/// the keyboard cannot be watched, or the sound server has answered that there is no microphone,
/// else on General. Somebody who has opened them meanwhile is left alone. Main loop.
class FirstRun {
public:
    /// All must outlive this object.
    FirstRun(AppModel& model, const Ports& ports, SettingsScene& scene);
    FirstRun(const FirstRun&) = delete;
    FirstRun& operator=(const FirstRun&) = delete;

private:
    void look();
    void open(SettingsTab tab);

    AppModel& model;
    MainLoop& loop;
    Permissions& permissions;
    SettingsScene& scene;
    /// Until the sound server's answer is not waited for any more.
    TimePoint limit;
    Timer timer;
};

} // namespace vorlin
