#pragma once

#include <cstdint>

namespace vorlin::mil {

/// What becomes of a weight file that a symbolic link leads to, out of the bundle. Follow them
/// only where something else decides which files this process may read.
enum class LinksOut : std::uint8_t { refused, followed };

} // namespace vorlin::mil
