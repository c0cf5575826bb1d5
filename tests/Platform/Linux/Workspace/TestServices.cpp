#include "Platform/Linux/Workspace/TestServices.h"

#include <gtest/gtest.h>

namespace vorlin {

namespace {

QDBusConnection connectAs(const QString& name)
{
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
}

} // namespace

TestFileManager::TestFileManager() : bus(connectAs("file manager"))
{
    new FileManagerInterface(*this); // it belongs to this object
    bus.registerObject("/org/freedesktop/FileManager1", this);
    EXPECT_TRUE(bus.registerService("org.freedesktop.FileManager1"));
}

TestFileManager::~TestFileManager()
{
    bus.unregisterService("org.freedesktop.FileManager1");
    QDBusConnection::disconnectFromBus("file manager");
}

void FileManagerInterface::ShowItems(const QStringList& uris, const QString& /*startupId*/,
                                     const QDBusMessage& message)
{
    if (manager.refuses) {
        message.setDelayedReply(true);
        connectAs("file manager").send(message.createErrorReply(QDBusError::Failed, "no"));
        return;
    }
    manager.shown += uris;
}

TestPortal::TestPortal(uint version) : version(version), bus(connectAs("portal"))
{
    new FileChooserInterface(*this); // they belong to this object
    new RequestInterface(*this);
    bus.registerObject("/org/freedesktop/portal/desktop", this);
    EXPECT_TRUE(bus.registerService("org.freedesktop.portal.Desktop"));
}

TestPortal::~TestPortal()
{
    bus.unregisterService("org.freedesktop.portal.Desktop");
    QDBusConnection::disconnectFromBus("portal");
}

void TestPortal::respond(uint response, const QStringList& uris)
{
    auto message =
        QDBusMessage::createSignal(request, "org.freedesktop.portal.Request", "Response");
    message << response << QVariantMap{{"uris", uris}};
    bus.send(message);
}

QDBusObjectPath FileChooserInterface::OpenFile(const QString& parent, const QString& title,
                                               const QVariantMap& options,
                                               const QDBusMessage& message)
{
    if (portal.refuses) {
        message.setDelayedReply(true);
        connectAs("portal").send(message.createErrorReply(QDBusError::Failed, "no"));
        return {};
    }
    portal.titles.push_back(title);
    portal.parent = parent;
    portal.options = options;
    auto sender = message.service().mid(1);
    portal.request = "/org/freedesktop/portal/desktop/request/" + sender.replace('.', '_') + "/" +
                     options.value("handle_token").toString();
    connectAs("portal").registerObject(portal.request, &portal);
    return QDBusObjectPath(portal.request);
}

} // namespace vorlin
