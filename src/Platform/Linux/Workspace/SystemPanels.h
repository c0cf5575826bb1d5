#pragma once

#include "Platform/Linux/Environment.h"
#include "Ports/Workspace.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace vorlin {

/// What to start.
struct Command {
    /// An absolute path.
    QString program;
    QStringList arguments;
};

/// The program of this name in the folders of `PATH`; nothing where there is none.
std::optional<QString> findProgram(const Environment& environment, const QString& name);

/// What shows this page of the desktop's settings, as `XDG_CURRENT_DESKTOP` names the desktop;
/// nothing where the desktop is not known, or the program is not installed.
std::optional<Command> panelCommand(const Environment& environment, SystemPanel panel);

} // namespace vorlin
