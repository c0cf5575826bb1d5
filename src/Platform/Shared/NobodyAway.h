#pragma once

#include "Ports/Session.h"

namespace vorlin {

/// "Not available here": the port on a desktop that does not say when the person is away.
class NobodyAway final : public Session {};

} // namespace vorlin
