#pragma once

#include <QDBusConnection>
#include <QString>

#include <optional>
#include <string>

namespace vorlin {

/// Opens a connection to a bus on a socket in the file system; Qt knows it by `name`. Returns
/// nothing where there is none.
///
/// Waits without end for one that does not answer: not for the main thread. Qt is not asked before
/// it has answered, because all its connections share a thread, which would wait, too.
std::optional<QDBusConnection> openBus(const std::string& address, const QString& name);

} // namespace vorlin
