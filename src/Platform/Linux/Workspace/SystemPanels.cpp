#include "Platform/Linux/Workspace/SystemPanels.h"

#include <QStandardPaths>

namespace vorlin {

namespace {

struct Entry {
    const char* desktop;
    SystemPanel panel;
    const char* program;
    QStringList arguments;
};

/// In the order of preference.
QList<Entry> entries()
{
    using enum SystemPanel;
    return {
        {"GNOME", microphone, "gnome-control-center", {"sound"}},
        {"GNOME", accessibility, "gnome-control-center", {"universal-access"}},
        {"KDE", microphone, "systemsettings", {"kcm_pulseaudio"}},
        {"KDE", microphone, "systemsettings5", {"kcm_pulseaudio"}},
        {"KDE", accessibility, "systemsettings", {"kcm_access"}},
        {"KDE", accessibility, "systemsettings5", {"kcm_access"}},
        {"XFCE", microphone, "pavucontrol", {"--tab=4"}}, // its page of microphones
        {"XFCE", accessibility, "xfce4-accessibility-settings", {}},
        // Not "--tab=input", at which it fails.
        {"X-Cinnamon", microphone, "cinnamon-settings", {"sound", "-t", "input"}},
        {"X-Cinnamon", accessibility, "cinnamon-settings", {"universal-access"}},
        {"MATE", microphone, "mate-volume-control", {"--page=input"}},
        {"MATE", accessibility, "mate-at-properties", {}},
        {"LXQt", microphone, "pavucontrol-qt", {"--tab=4"}},
    };
}

QString variable(const Environment& environment, const char* name)
{
    return QString::fromStdString(environment(name).value_or(""));
}

} // namespace

std::optional<QString> findProgram(const Environment& environment, const QString& name)
{
    const auto folders = variable(environment, "PATH").split(':', Qt::SkipEmptyParts);
    const auto path = folders.isEmpty() ? QString() : QStandardPaths::findExecutable(name, folders);
    return path.isEmpty() ? std::nullopt : std::optional(path);
}

std::optional<Command> panelCommand(const Environment& environment, SystemPanel panel)
{
    const auto desktops = variable(environment, "XDG_CURRENT_DESKTOP").split(':');
    for (const auto& each : entries()) {
        if (each.panel == panel && desktops.contains(each.desktop)) {
            if (const auto program = findProgram(environment, each.program)) {
                return Command{*program, each.arguments};
            }
        }
    }
    return std::nullopt;
}

} // namespace vorlin
