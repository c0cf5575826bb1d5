#include "Platform/Linux/Tray/TestPanel.h"

#include "Platform/Linux/Tray/BusMenu.h"
#include "Platform/Linux/Tray/StatusNotifier.h"
#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <QDBusConnectionInterface>
#include <QDBusPendingCall>

namespace vorlin {

namespace {

const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString menuInterface = QStringLiteral("com.canonical.dbusmenu");

} // namespace

TestPanel::TestPanel(bool hasHost)
    : hasHost(hasHost), bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, "panel"))
{
    registerTrayTypes();
    new TestWatcher(*this); // it belongs to this object
    bus.registerObject("/StatusNotifierWatcher", this);
    bus.connect({}, StatusNotifier::path, itemInterface, "NewIcon", this, SLOT(iconChanged()));
    bus.connect({}, BusMenu::path, menuInterface, "LayoutUpdated", this,
                SLOT(layoutChanged(uint, int)));
    EXPECT_TRUE(bus.registerService(service));
}

void TestWatcher::RegisterStatusNotifierItem(const QString& service, const QDBusMessage& message)
{
    if (panel.refusals == 0) {
        panel.items.push_back(service);
        return;
    }
    --panel.refusals;
    message.setDelayedReply(true);
    panel.send(message.createErrorReply(QDBusError::Failed, "not yet"));
}

TestPanel::~TestPanel()
{
    bus.unregisterService(service);
    bus.unregisterObject("/StatusNotifierWatcher");
    QDBusConnection::disconnectFromBus("panel");
}

void TestPanel::setHost(bool present)
{
    hasHost = present;
    auto* const watcher = findChild<TestWatcher*>();
    Q_EMIT(present ? watcher->StatusNotifierHostRegistered()
                   : watcher->StatusNotifierHostUnregistered());
}

QDBusMessage TestPanel::ask(const QString& path, const QString& interface, const QString& method,
                            const QVariantList& arguments)
{
    auto message = QDBusMessage::createMethodCall(items.isEmpty() ? QString(":none") : items.back(),
                                                  path, interface, method);
    message.setArguments(arguments);
    const auto answer = bus.asyncCall(message);
    EXPECT_TRUE(runUntil([&] { return answer.isFinished(); }));
    EXPECT_FALSE(answer.isError()) << answer.error().message().toStdString();
    return answer.reply();
}

QVariant TestPanel::property(const QString& name)
{
    const auto reply =
        ask(StatusNotifier::path, "org.freedesktop.DBus.Properties", "Get", {itemInterface, name});
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

TrayPixmaps TestPanel::pixmaps()
{
    return qdbus_cast<TrayPixmaps>(property("IconPixmap"));
}

MenuLayout TestPanel::menu()
{
    const auto reply = ask(BusMenu::path, menuInterface, "GetLayout", {0, -1, QStringList()});
    revision = reply.arguments().value(0).toUInt();
    return qdbus_cast<MenuLayout>(reply.arguments().value(1));
}

std::optional<MenuLayout> TestPanel::entry(const QString& label)
{
    for (const auto& each : menu().children) {
        const auto child = qdbus_cast<MenuLayout>(each.variant());
        if (child.properties.value("label") == label) {
            return child;
        }
    }
    return std::nullopt;
}

void TestPanel::click(int id)
{
    ask(BusMenu::path, menuInterface, "Event",
        {id, "clicked", QVariant::fromValue(QDBusVariant(0)), 0U});
}

void TestPanel::activate()
{
    ask(StatusNotifier::path, itemInterface, "Activate", {10, 10});
}

} // namespace vorlin
