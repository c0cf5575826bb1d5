#include "Platform/Linux/Portal/PortalShortcut.h"

#include <QDBusMetaType>

namespace vorlin {

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

void registerPortalShortcuts()
{
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<PortalShortcuts>();
}

BoundShortcuts boundShortcuts(const QVariant& list)
{
    BoundShortcuts bound;
    if (list.metaType() != QMetaType::fromType<QDBusArgument>()) {
        return bound;
    }
    const auto argument = list.value<QDBusArgument>();
    if (argument.currentSignature() != "a(sa{sv})") {
        return bound;
    }
    for (const auto& shortcut : qdbus_cast<PortalShortcuts>(argument)) {
        bound[shortcut.id.toStdString()] =
            shortcut.properties.value("trigger_description").toString().toStdString();
    }
    return bound;
}

} // namespace vorlin
