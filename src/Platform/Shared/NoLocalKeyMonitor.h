#pragma once

#include "Ports/LocalKeyMonitor.h"

namespace vorlin {

/// "Not available here": the port on a desktop that lets no program have the keyboard.
class NoLocalKeyMonitor final : public LocalKeyMonitor {
public:
    std::optional<std::string> start(Handler /*handler*/, std::function<void()> /*onEnd*/) override
    {
        return "This desktop lets no key be recorded.";
    }
    void stop() override {}
};

} // namespace vorlin
