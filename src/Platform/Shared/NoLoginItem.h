#pragma once

#include "Ports/LoginItem.h"

#include <stdexcept>

namespace vorlin {

/// "Not available here": the port on a desktop that starts nothing by itself.
class NoLoginItem final : public LoginItem {
public:
    bool isEnabled() const override { return false; }
    void setEnabled(bool enabled) override
    {
        if (enabled) {
            throw std::runtime_error("This desktop starts no programs by itself.");
        }
    }
};

} // namespace vorlin
