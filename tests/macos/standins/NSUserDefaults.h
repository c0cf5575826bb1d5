#pragma once

namespace standins {

/// Empties every store of user defaults.
void forgetDefaults();

} // namespace standins
