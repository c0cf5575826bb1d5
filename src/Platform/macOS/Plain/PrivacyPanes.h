#pragma once

#include "Ports/Workspace.h"

#include <string>

namespace vorlin {

/// The address of a page of the system's settings about privacy.
std::string privacyPane(SystemPanel panel);

} // namespace vorlin
