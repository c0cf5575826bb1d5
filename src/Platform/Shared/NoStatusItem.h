#pragma once

#include "Ports/StatusItem.h"

namespace vorlin {

/// "Not available here": the port on a desktop without a place for status symbols.
class NoStatusItem final : public StatusItem {
public:
    void setHandlers(Handlers /*handlers*/) override {}
    void show(const StatusContent& /*content*/) override {}
};

} // namespace vorlin
