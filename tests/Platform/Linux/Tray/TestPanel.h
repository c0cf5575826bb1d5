#pragma once

#include "Platform/Linux/Tray/TrayTypes.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// A panel that takes status items over the session bus, and the desktop's list of them. On a
/// connection of its own, as another program.
class TestPanel final : public QObject {
    Q_OBJECT

public:
    explicit TestPanel(bool hasHost = true);
    ~TestPanel() override;

    /// The panel, without which the list alone shows nothing, comes or goes.
    void setHost(bool present);

    /// A property of the latest item.
    QVariant property(const QString& name);
    TrayPixmaps pixmaps();

    /// The menu of the latest item, and which revision it is.
    MenuLayout menu();
    uint revision = 0;
    /// The properties of the entry with this label; nothing when there is none.
    std::optional<MenuLayout> entry(const QString& label);

    void send(const QDBusMessage& message) const { bus.send(message); }

    /// Clicks on an entry of the menu, or on the item itself.
    void click(int id);
    void activate();

    /// The bus names of the items that were registered.
    QStringList items;
    /// How many registrations are refused from now on.
    int refusals = 0;
    bool hasHost;
    int newIcons = 0;
    std::vector<uint> layouts;

public Q_SLOTS:
    void iconChanged() { ++newIcons; }
    void layoutChanged(uint number, int /*parent*/) { layouts.push_back(number); }

private:
    QDBusMessage ask(const QString& path, const QString& interface, const QString& method,
                     const QVariantList& arguments);

    QDBusConnection bus;
};

/// org.kde.StatusNotifierWatcher; the names of its members are the interface's.
class TestWatcher final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

public:
    explicit TestWatcher(TestPanel& panel) : QDBusAbstractAdaptor(&panel), panel(panel) {}
    bool hasHost() const { return panel.hasHost; }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& service, const QDBusMessage& message);

Q_SIGNALS:
    void StatusNotifierHostRegistered();
    void StatusNotifierHostUnregistered();

private:
    TestPanel& panel;
};

} // namespace vorlin
