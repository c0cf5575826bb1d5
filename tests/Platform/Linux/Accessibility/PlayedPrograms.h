#pragma once

#include "Platform/Linux/Desktop/PlayedBus.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QList>
#include <QString>
#include <QVariant>

#include <utility>
#include <vector>

namespace vorlin {

/// An object of a program, as it crosses the bus: (so).
struct AccessibleObject {
    QString program;
    QDBusObjectPath path;
};

inline QDBusArgument& operator<<(QDBusArgument& argument, const AccessibleObject& object)
{
    argument.beginStructure();
    argument << object.program << object.path;
    argument.endStructure();
    return argument;
}

inline const QDBusArgument& operator>>(const QDBusArgument& argument, AccessibleObject& object)
{
    argument.beginStructure();
    argument >> object.program >> object.path;
    argument.endStructure();
    return argument;
}

} // namespace vorlin

Q_DECLARE_METATYPE(vorlin::AccessibleObject)

namespace vorlin {

inline const QString rootPath = QStringLiteral("/org/a11y/atspi/accessible/root");
inline const std::string askForChildren = rootPath.toStdString() + " GetChildren";

inline QVariant objects(const QList<AccessibleObject>& all)
{
    qDBusRegisterMetaType<AccessibleObject>();
    qDBusRegisterMetaType<QList<AccessibleObject>>();
    return QVariant::fromValue(all);
}

inline QVariant state(bool isActive)
{
    return QVariant::fromValue(QList<unsigned>{isActive ? 0x40000102U : 0x40000100U, 0U});
}

/// A program that describes its windows: "/window/1" and on.
class PlayedWindows final : public PlayedService {
public:
    PlayedWindows(const PlayedBus& on, const QString& name, const std::vector<bool>& areActive)
        : PlayedService(on, "org.example." + name)
    {
        answers[rootPath.toStdString() + " Get"] = QVariant::fromValue(QDBusVariant(name));
        QList<AccessibleObject> windows;
        for (std::size_t number = 1; number <= areActive.size(); ++number) {
            windows.push_back({id(), QDBusObjectPath("/window/" + QString::number(number))});
            setActive(areActive[number - 1], number);
        }
        answers[askForChildren] = objects(windows);
    }
    void setActive(bool isActive, std::size_t number = 1)
    {
        answers["/window/" + std::to_string(number) + " GetState"] = state(isActive);
    }
    /// Its own name on the bus.
    QString id() const { return program.bus.baseService(); }
};

/// Who lists the programs.
class PlayedRegistry final : public PlayedService {
public:
    explicit PlayedRegistry(const PlayedBus& on) : PlayedService(on, "org.a11y.atspi.Registry")
    {
        list({});
    }
    void list(const QList<QString>& ids)
    {
        QList<AccessibleObject> programs;
        for (const auto& id : ids) {
            programs.push_back({id, QDBusObjectPath(rootPath)});
        }
        answers[askForChildren] = objects(programs);
    }
};

/// Who says whether it is on, and where.
class PlayedStatus final : public PlayedService {
public:
    PlayedStatus(const PlayedBus& session, bool isOn, const std::string& address)
        : PlayedService(session, "org.a11y.Bus")
    {
        answers["/org/a11y/bus Get"] = QVariant::fromValue(QDBusVariant(isOn));
        answers["/org/a11y/bus GetAddress"] = QString::fromStdString(address);
    }
    void tell(bool isOn, PlayedProgram& by)
    {
        by.emitSignal("/org/a11y/bus", "org.freedesktop.DBus.Properties", "PropertiesChanged",
                      {"org.a11y.Status", QVariantMap{{"IsEnabled", isOn}}, QStringList()});
    }
    void tell(bool isOn) { tell(isOn, program); }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& from) override
    {
        asked.push_back(message.member().toStdString());
        return PlayedService::handleMessage(message, from);
    }
    std::vector<std::string> asked;
};

} // namespace vorlin
