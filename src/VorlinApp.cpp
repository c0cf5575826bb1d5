#include "VorlinApp.h"

#include <utility>

namespace vorlin {

VorlinApp::VorlinApp(const Ports& ports, std::function<void()> quit)
    : settings(ports), ports(ports), quit(std::move(quit))
{
}

AppModel& VorlinApp::model()
{
    if (!created) {
        created.emplace(ports);
        menu.emplace(*created, ports, settings, quit);
        firstRun.emplace(*created, ports, settings);
    }
    return *created;
}

} // namespace vorlin
