#include "Platform/Linux/Overlay/DesktopAppearance.h"

#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QFile>
#include <QTemporaryDir>

#include <map>
#include <string>

namespace vorlin {
namespace {

using Groups = QMap<QString, QVariantMap>;

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

/// The settings portal of a desktop, as the test plays it.
class Portal final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    Groups settings;

    Portal()
    {
        qDBusRegisterMetaType<Groups>();
        EXPECT_TRUE(bus.registerObject(
            path, this, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
        EXPECT_TRUE(bus.registerService(service));
    }
    ~Portal() override
    {
        bus.unregisterService(service);
        QDBusConnection::disconnectFromBus(bus.name());
    }

    /// Changes a setting of the look, and tells of it.
    void set(const QString& key, const QVariant& value)
    {
        const QString group = QStringLiteral("org.freedesktop.appearance");
        settings[group][key] = value;
        auto signal =
            QDBusMessage::createSignal(path, "org.freedesktop.portal.Settings", "SettingChanged");
        signal << group << key << QVariant::fromValue(QDBusVariant(value));
        bus.send(signal);
    }

public Q_SLOTS:
    // NOLINTNEXTLINE(readability-identifier-naming): the interface's name
    QMap<QString, QVariantMap> ReadAll(const QStringList& /*groups*/) const { return settings; }

private:
    /// Another program's connection.
    QDBusConnection bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("portal"));
};

QVariant colour(double red, double green, double blue)
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << red << green << blue;
    argument.endStructure();
    return QVariant::fromValue(argument);
}

class DesktopAppearanceTest : public testing::Test {
protected:
    QTemporaryDir folder;
    std::map<std::string, std::string> variables;
    Environment environment = [this](const char* name) -> std::optional<std::string> {
        const auto found = variables.find(name);
        return found == variables.end() ? std::nullopt : std::optional(found->second);
    };

    DesktopAppearanceTest()
    {
        variables["HOME"] = folder.path().toStdString();
        variables["XDG_CONFIG_HOME"] = folder.path().toStdString();
    }

    void writeGtkSettings(const QByteArray& text)
    {
        QDir(folder.path()).mkdir("gtk-3.0");
        QFile file(folder.path() + "/gtk-3.0/settings.ini");
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[Settings]\n" + text);
    }
};

TEST_F(DesktopAppearanceTest, isLightAndMovesWhereNobodySaysAnything)
{
    const DesktopAppearance look(environment);
    EXPECT_FALSE(look.isDark());
    EXPECT_FALSE(look.hasReducedMotion());
}

TEST_F(DesktopAppearanceTest, followsGtksSettings)
{
    writeGtkSettings("gtk-theme-name=Adwaita-dark\ngtk-enable-animations=0\n");
    const DesktopAppearance look(environment);
    EXPECT_TRUE(look.isDark());
    EXPECT_TRUE(look.hasReducedMotion());
}

TEST_F(DesktopAppearanceTest, prefersDarkAsGtkDoes)
{
    writeGtkSettings("gtk-application-prefer-dark-theme=1\ngtk-enable-animations=true\n");
    const DesktopAppearance look(environment);
    EXPECT_TRUE(look.isDark());
    EXPECT_FALSE(look.hasReducedMotion());
}

TEST_F(DesktopAppearanceTest, asksThePortalFirst)
{
    writeGtkSettings("gtk-theme-name=Adwaita-dark\n");
    Portal portal;
    portal.settings["org.freedesktop.appearance"]["color-scheme"] = 2U;
    portal.settings["org.gnome.desktop.interface"]["enable-animations"] = false;
    DesktopAppearance look(environment);
    ASSERT_TRUE(runUntil([&] { return look.hasReducedMotion() && !look.isDark(); }));
}

TEST_F(DesktopAppearanceTest, takesThePortalsAccentWhereOneWasChosen)
{
    DesktopAppearance look(environment);
    EXPECT_FALSE(look.accent());
    Portal portal;
    portal.set("accent-color", colour(0.2, 0.4, 1));
    ASSERT_TRUE(runUntil([&] { return look.accent().has_value(); }));
    EXPECT_EQ(look.accent()->rgb(), qRgb(51, 102, 255));
    portal.set("accent-color", colour(-1, -1, -1));
    EXPECT_TRUE(runUntil([&] { return !look.accent(); }));
}

TEST_F(DesktopAppearanceTest, anAccentThatIsNoColourIsNone)
{
    Portal portal;
    portal.settings["org.freedesktop.appearance"]["accent-color"] = "blue";
    portal.settings["org.freedesktop.appearance"]["color-scheme"] = 1U;
    DesktopAppearance look(environment);
    ASSERT_TRUE(runUntil([&] { return look.isDark(); }));
    EXPECT_FALSE(look.accent());
}

TEST_F(DesktopAppearanceTest, asksAPortalThatStartsLater)
{
    DesktopAppearance look(environment);
    EXPECT_FALSE(look.isDark());
    Portal portal;
    portal.settings["org.freedesktop.appearance"]["color-scheme"] = 1U;
    EXPECT_TRUE(runUntil([&] { return look.isDark(); }));
}

} // namespace
} // namespace vorlin

#include "DesktopAppearanceTest.moc"
