#include "Platform/Linux/Desktop/SessionLock.h"

#include "Platform/Linux/Desktop/AwayServices.h"
#include "Platform/Linux/Portal/BusSocket.h"

#include <QString>

#include <algorithm>
#include <optional>
#include <utility>

namespace vorlin {

namespace {

constexpr const char* usualSystemBus = "unix:path=/var/run/dbus/system_bus_socket";

} // namespace

SessionLock::SessionLock(const QDBusConnection& sessionBus, const Environment& environment,
                         Workers& workers, MainLoop& loop)
    : idle(sessionBus)
{
    if (sessionBus.isConnected()) {
        for (const QString desktop : {"freedesktop", "gnome", "cinnamon", "mate", "xfce"}) {
            follow(std::make_unique<ScreenSaver>(sessionBus, "org." + desktop + ".ScreenSaver",
                                                 "/org/" + desktop + "/ScreenSaver"));
        }
    }
    const auto opened = std::make_shared<std::optional<QDBusConnection>>();
    const auto address = environment("DBUS_SYSTEM_BUS_ADDRESS").value_or(usualSystemBus);
    const auto id = environment("XDG_SESSION_ID");
    workers.runPatiently(
        WorkPriority::normal,
        [opened, address] { *opened = openBus(address, QString::fromStdString(address)); }, loop,
        lifetime.guard([this, opened, id] {
            if (*opened) {
                systemBus = (*opened)->name();
                follow(std::make_unique<LoginSession>(**opened, id));
            }
        }));
}

SessionLock::~SessionLock()
{
    services.clear();
    QDBusConnection::disconnectFromBus(systemBus);
}

void SessionLock::follow(std::unique_ptr<AwayService> service)
{
    QObject::connect(service.get(), &AwayService::changed, [this] {
        setAway(std::ranges::any_of(services, [](const auto& each) { return each->isAway(); }));
    });
    services.push_back(std::move(service));
}

} // namespace vorlin
