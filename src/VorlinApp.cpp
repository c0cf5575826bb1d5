#include "VorlinApp.h"

namespace vorlin {

VorlinApp::VorlinApp(const Ports& ports) : ports(ports) {}

AppModel& VorlinApp::model()
{
    if (!created) {
        created = std::make_unique<AppModel>(ports);
    }
    return *created;
}

} // namespace vorlin
