#include "Platform/Linux/Overlay/DesktopAppearance.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QPalette>
#include <QSettings>

#include <algorithm>
#include <array>

namespace vorlin {

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString portalInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString gnomeGroup = QStringLiteral("org.gnome.desktop.interface");
const QString kdeGroup = QStringLiteral("org.kde.kdeglobals.KDE");

bool isDarkTheme(const QString& name)
{
    return name.endsWith("-dark", Qt::CaseInsensitive) || name.endsWith(":dark");
}

/// Red, green and blue, each from 0 to 1; a desktop says with others that nothing was chosen.
std::optional<QColor> chosenColor(const QVariant& value)
{
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != "(ddd)") {
        return std::nullopt;
    }
    std::array<double, 3> parts{};
    argument.beginStructure();
    for (double& part : parts) {
        argument >> part;
    }
    argument.endStructure();
    const bool chosen =
        std::ranges::all_of(parts, [](double part) { return part >= 0 && part <= 1; });
    return chosen ? std::optional(QColor::fromRgbF(static_cast<float>(parts[0]),
                                                   static_cast<float>(parts[1]),
                                                   static_cast<float>(parts[2])))
                  : std::nullopt;
}

} // namespace

DesktopAppearance::DesktopAppearance(const Environment& environment)
{
    readGtkSettings(environment);
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return;
    }
    // By its name Qt knows this type of its own only once it was registered.
    qRegisterMetaType<QDBusVariant>();
    bus.connect(portalService, portalPath, portalInterface, "SettingChanged", this,
                SLOT(settingChanged(QString, QString, QDBusVariant)));
    auto* watcher = new QDBusServiceWatcher(portalService, bus,
                                            QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] { askPortal(); });
    askPortal();
}

bool DesktopAppearance::isDark() const
{
    if (portalDark) {
        return *portalDark;
    }
    return gtkDark.value_or(QGuiApplication::palette().color(QPalette::Window).lightness() < 128);
}

bool DesktopAppearance::hasReducedMotion() const
{
    return portalReducedMotion.value_or(gtkReducedMotion.value_or(false));
}

void DesktopAppearance::readGtkSettings(const Environment& environment)
{
    if (const auto theme = environment("GTK_THEME")) {
        gtkDark = isDarkTheme(QString::fromStdString(*theme));
    }
    const auto folder = configurationFolder(environment);
    for (const char* version : {"gtk-4.0", "gtk-3.0"}) {
        const auto path = folder / version / "settings.ini";
        QSettings settings(QString::fromStdString(path.string()), QSettings::IniFormat);
        settings.beginGroup("Settings");
        const auto theme = settings.value("gtk-theme-name");
        const auto prefersDark = settings.value("gtk-application-prefer-dark-theme");
        const auto animations = settings.value("gtk-enable-animations");
        if (!gtkDark && (theme.isValid() || prefersDark.isValid())) {
            gtkDark = prefersDark.toBool() || isDarkTheme(theme.toString());
        }
        if (!gtkReducedMotion && animations.isValid()) {
            gtkReducedMotion = !animations.toBool();
        }
    }
}

void DesktopAppearance::askPortal()
{
    auto message =
        QDBusMessage::createMethodCall(portalService, portalPath, portalInterface, "ReadAll");
    message << QStringList{appearanceGroup, gnomeGroup, kdeGroup};
    // A desktop that has a portal has started it.
    message.setAutoStartService(false);
    auto* answer =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, asked = changes] {
        answer->deleteLater();
        if (asked != changes) {
            askPortal(); // the answer may be older than the change
            return;
        }
        const QDBusMessage reply = answer->reply();
        if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "a{sa{sv}}") {
            return;
        }
        const auto groups = qdbus_cast<QMap<QString, QVariantMap>>(reply.arguments().constFirst());
        for (auto group = groups.begin(); group != groups.end(); ++group) {
            for (auto each = group->begin(); each != group->end(); ++each) {
                takePortal(group.key(), each.key(), each.value());
            }
        }
    });
}

void DesktopAppearance::settingChanged(const QString& group, const QString& key,
                                       const QDBusVariant& value)
{
    ++changes;
    takePortal(group, key, value.variant());
}

void DesktopAppearance::takePortal(const QString& group, const QString& key, const QVariant& value)
{
    if (group == appearanceGroup && key == "color-scheme") {
        // 0: no preference, 1: dark, 2: light.
        const auto scheme = value.toUInt();
        portalDark = scheme == 0 ? std::nullopt : std::optional(scheme == 1);
    } else if (group == appearanceGroup && key == "accent-color") {
        portalAccent = chosenColor(value);
    } else if (group == gnomeGroup && key == "enable-animations") {
        portalReducedMotion = !value.toBool();
    } else if (group == kdeGroup && key == "AnimationDurationFactor") {
        portalReducedMotion = value.toDouble() == 0;
    } else {
        return;
    }
    Q_EMIT changed();
}

} // namespace vorlin
