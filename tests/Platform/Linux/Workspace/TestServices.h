#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace vorlin {

/// A file manager on the bus, on a connection of its own.
class TestFileManager final : public QObject {
    Q_OBJECT

public:
    TestFileManager();
    ~TestFileManager() override;

    QStringList shown;
    bool refuses = false;

private:
    QDBusConnection bus;
};

/// org.freedesktop.FileManager1; the names of its members are the interface's.
class FileManagerInterface final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    explicit FileManagerInterface(TestFileManager& manager)
        : QDBusAbstractAdaptor(&manager), manager(manager)
    {
    }

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString& startupId, const QDBusMessage& message);

private:
    TestFileManager& manager;
};

/// A portal whose dialog the test plays, on a connection of its own.
class TestPortal final : public QObject {
    Q_OBJECT

public:
    explicit TestPortal(uint version = 3);
    ~TestPortal() override;

    /// The person chooses (0) or cancels (1).
    void respond(uint response, const QStringList& uris = {});

    uint version;
    bool refuses = false;
    QStringList titles;
    /// The window that the latest dialog belongs to.
    QString parent;
    QVariantMap options;
    /// Where the latest dialog's answer is awaited.
    QString request;
    int closes = 0;

private:
    QDBusConnection bus;
};

/// org.freedesktop.portal.FileChooser; the names of its members are the interface's.
class FileChooserInterface final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.FileChooser")
    Q_PROPERTY(uint version READ version)

public:
    explicit FileChooserInterface(TestPortal& portal)
        : QDBusAbstractAdaptor(&portal), portal(portal)
    {
    }
    uint version() const { return portal.version; }

public Q_SLOTS:
    QDBusObjectPath OpenFile(const QString& parent, const QString& title,
                             const QVariantMap& options, const QDBusMessage& message);

private:
    TestPortal& portal;
};

/// org.freedesktop.portal.Request.
class RequestInterface final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Request")

public:
    explicit RequestInterface(TestPortal& portal) : QDBusAbstractAdaptor(&portal), portal(portal) {}

public Q_SLOTS:
    void Close() { ++portal.closes; }

private:
    TestPortal& portal;
};

} // namespace vorlin
