#pragma once

#include "Settings/AboutTab.h"

namespace vorlin {

/// What was fixed when this program was built.
BuildFacts buildFacts();

} // namespace vorlin
