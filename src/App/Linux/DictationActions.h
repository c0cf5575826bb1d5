#pragma once

#include "AppModel.h"
#include "Platform/Linux/Desktop/DBusApplication.h"

namespace vorlin {

/// Lets keys that the person has bound in the desktop dictate: the actions `press`, `release`,
/// `toggle` and `cancel` on the session bus. Both must live as long as the other is used.
void followActions(DBusApplication& application, AppModel& model);

} // namespace vorlin
