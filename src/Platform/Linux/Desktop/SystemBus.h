#pragma once

#include "Platform/Linux/Environment.h"

#include <QDBusConnection>

#include <optional>
#include <string>

namespace vorlin {

/// $DBUS_SYSTEM_BUS_ADDRESS, or the usual one.
std::string systemBusAddress(const Environment& environment);

/// Opens a connection to a bus on a socket in the file system; its name is the address. Returns
/// nothing where there is none.
///
/// Waits without end for one that does not answer: not for the main thread. Qt is not asked before
/// it has answered, because all its connections share a thread, which would wait, too.
std::optional<QDBusConnection> openSystemBus(const std::string& address);

} // namespace vorlin
