#pragma once

#include "Ports/StatusItem.h"

#include <QByteArray>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QMetaType>
#include <QStringList>
#include <QVariantMap>

namespace vorlin {

/// What the two interfaces of a tray item carry over the bus, in the order of their members.

/// (iiay): ARGB32 in network order.
struct TrayPixmap {
    int width = 0;
    int height = 0;
    QByteArray pixels;
};
using TrayPixmaps = QList<TrayPixmap>;

/// (sa(iiay)ss)
struct TrayToolTip {
    QString icon;
    TrayPixmaps pixmaps;
    QString title;
    QString text;
};

/// (ia{sv}av)
struct MenuLayout {
    int id = 0;
    QVariantMap properties;
    QList<QDBusVariant> children;
};

/// (ia{sv})
struct MenuProperties {
    int id = 0;
    QVariantMap properties;
};
using MenuPropertiesList = QList<MenuProperties>;

/// (isvu)
struct MenuEvent {
    int id = 0;
    QString name;
    QDBusVariant data;
    uint time = 0;
};
using MenuEvents = QList<MenuEvent>;

/// One shortcut: modifiers by name, then the key.
using MenuShortcuts = QList<QStringList>;

QDBusArgument& operator<<(QDBusArgument& out, const TrayPixmap& value);
const QDBusArgument& operator>>(const QDBusArgument& in, TrayPixmap& value);
QDBusArgument& operator<<(QDBusArgument& out, const TrayToolTip& value);
const QDBusArgument& operator>>(const QDBusArgument& in, TrayToolTip& value);
QDBusArgument& operator<<(QDBusArgument& out, const MenuLayout& value);
const QDBusArgument& operator>>(const QDBusArgument& in, MenuLayout& value);
QDBusArgument& operator<<(QDBusArgument& out, const MenuProperties& value);
const QDBusArgument& operator>>(const QDBusArgument& in, MenuProperties& value);
QDBusArgument& operator<<(QDBusArgument& out, const MenuEvent& value);
const QDBusArgument& operator>>(const QDBusArgument& in, MenuEvent& value);

/// Makes the types known to the bus; before an object that uses them is registered.
void registerTrayTypes();

/// The symbol in the sizes that panels use.
TrayPixmaps trayPixmaps(StatusSymbol symbol);

} // namespace vorlin

Q_DECLARE_METATYPE(vorlin::TrayPixmap)
Q_DECLARE_METATYPE(vorlin::TrayToolTip)
Q_DECLARE_METATYPE(vorlin::MenuLayout)
Q_DECLARE_METATYPE(vorlin::MenuProperties)
Q_DECLARE_METATYPE(vorlin::MenuEvent)
