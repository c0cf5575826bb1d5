#pragma once

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <map>
#include <string>

namespace vorlin {

/// A shortcut as it crosses the bus: (sa{sv}).
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};
using PortalShortcuts = QList<PortalShortcut>;

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut);
const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut);

/// Lets Qt send lists of shortcuts.
void registerPortalShortcuts();

/// What a portal says of shortcuts: by id, what triggers each, in the words of the desktop; empty
/// for one that nothing triggers.
using BoundShortcuts = std::map<std::string, std::string>;

/// Reads an a(sa{sv}) that another program sent; what is none is an empty list.
BoundShortcuts boundShortcuts(const QVariant& list);

} // namespace vorlin

Q_DECLARE_METATYPE(vorlin::PortalShortcut)
