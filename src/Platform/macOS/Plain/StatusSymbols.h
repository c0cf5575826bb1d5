#pragma once

#include "Ports/StatusItem.h"

namespace vorlin {

/// The system's name of a symbol.
const char* systemSymbol(StatusSymbol symbol);

} // namespace vorlin
