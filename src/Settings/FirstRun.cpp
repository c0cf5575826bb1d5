#include "Settings/FirstRun.h"

#include "Ports/Defaults.h"
#include "Ports/Permissions.h"

#include <chrono>

namespace vorlin {

namespace {

/// A sound server answers within milliseconds; one that is just being started, within a second.
constexpr auto lookInterval = std::chrono::milliseconds(100);
constexpr auto patience = std::chrono::seconds(2);

} // namespace

FirstRun::FirstRun(AppModel& model, const Ports& ports, SettingsScene& scene)
    : model(model), loop(ports.loop), permissions(ports.permissions), tap(ports.eventTap),
      scene(scene), limit(loop.now() + patience)
{
    if (ports.defaults.create()) {
        look();
    }
}

void FirstRun::look()
{
    if (scene.wasOpened()) {
        return; // the person was faster: the tab is theirs, and so is closing the window
    }
    const bool answered = permissions.microphoneAnswered();
    if (!answered && loop.now() < limit) { // or a microphone would be said to be missing
        timer = loop.startTimer(lookInterval, [this] { look(); });
        return;
    }
    const bool lacksMicrophone = answered && !permissions.microphoneGranted();
    const bool lacksKeys = !permissions.isTrusted() || permissions.isTrustUnasked();
    open(lacksKeys || lacksMicrophone ? SettingsTab::permissions : SettingsTab::general);
}

void FirstRun::open(SettingsTab which)
{
    model.refreshPermissions(); // what the tab shows is what was just asked
    scene.showTab(which);
    scene.open();
    if (which != SettingsTab::permissions) {
        return;
    }
    const auto follow = [this](const auto& source) {
        changes.push_back(source.observe([this](const auto&) { goOn(); }));
    };
    follow(model.microphoneGranted);
    follow(model.accessibilityGranted);
    follow(model.trustUnasked);
    follow(tap.conflict()); // what is still to be asked for may be one of the keys
    follow(scene.tab);
}

void FirstRun::goOn()
{
    const bool isThere = scene.tab.get() == SettingsTab::permissions;
    if (isThere && (!model.microphoneGranted.get() || !model.accessibilityGranted.get() ||
                    permissions.canAskForTrust())) {
        return;
    }
    changes.clear();
    if (isThere) {
        scene.showTab(SettingsTab::general);
    }
}

} // namespace vorlin
