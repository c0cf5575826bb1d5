#include "Platform/Linux/Tray/TrayTypes.h"

#include "Platform/Linux/Tray/TraySymbol.h"

#include <QDBusMetaType>
#include <QtEndian>

namespace vorlin {

QDBusArgument& operator<<(QDBusArgument& out, const TrayPixmap& value)
{
    out.beginStructure();
    out << value.width << value.height << value.pixels;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, TrayPixmap& value)
{
    in.beginStructure();
    in >> value.width >> value.height >> value.pixels;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const TrayToolTip& value)
{
    out.beginStructure();
    out << value.icon << value.pixmaps << value.title << value.text;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, TrayToolTip& value)
{
    in.beginStructure();
    in >> value.icon >> value.pixmaps >> value.title >> value.text;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const MenuLayout& value)
{
    out.beginStructure();
    out << value.id << value.properties << value.children;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, MenuLayout& value)
{
    in.beginStructure();
    in >> value.id >> value.properties >> value.children;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const MenuProperties& value)
{
    out.beginStructure();
    out << value.id << value.properties;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, MenuProperties& value)
{
    in.beginStructure();
    in >> value.id >> value.properties;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const MenuEvent& value)
{
    out.beginStructure();
    out << value.id << value.name << value.data << value.time;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, MenuEvent& value)
{
    in.beginStructure();
    in >> value.id >> value.name >> value.data >> value.time;
    in.endStructure();
    return in;
}

void registerTrayTypes()
{
    qDBusRegisterMetaType<TrayPixmap>();
    qDBusRegisterMetaType<TrayPixmaps>();
    qDBusRegisterMetaType<TrayToolTip>();
    qDBusRegisterMetaType<MenuLayout>();
    qDBusRegisterMetaType<MenuProperties>();
    qDBusRegisterMetaType<MenuPropertiesList>();
    qDBusRegisterMetaType<MenuEvent>();
    qDBusRegisterMetaType<MenuEvents>();
    qDBusRegisterMetaType<MenuShortcuts>();
}

TrayPixmaps trayPixmaps(StatusSymbol symbol)
{
    TrayPixmaps result;
    for (const int size : {16, 22, 24, 32, 48}) {
        const auto image = traySymbol(symbol, size);
        TrayPixmap pixmap{size, size, QByteArray(size * size * 4, '\0')};
        qToBigEndian<quint32>(image.constBits(), size * size, pixmap.pixels.data());
        result.push_back(std::move(pixmap));
    }
    return result;
}

} // namespace vorlin
