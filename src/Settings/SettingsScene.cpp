#include "Settings/SettingsScene.h"

#include "Ports/Workspace.h"

#include <chrono>
#include <utility>

namespace vorlin {

namespace {

constexpr auto secondRaise = std::chrono::milliseconds(150);

} // namespace

SettingsScene::SettingsScene(const Ports& ports) : loop(ports.loop), workspace(ports.workspace) {}

void SettingsScene::setWindow(Window next)
{
    window = std::move(next);
    hasWindow = true;
    if (std::exchange(wanted, false)) {
        open();
    }
}

void SettingsScene::open()
{
    opened = true;
    if (!hasWindow) {
        wanted = true;
        return;
    }
    window.open();
    soon = loop.startTimer(Duration::zero(), [this] { raise(); });
    later = loop.startTimer(secondRaise, [this] { raise(); });
}

void SettingsScene::raise()
{
    if (const auto number = window.number()) {
        workspace.bringToFront(*number);
    }
}

} // namespace vorlin
