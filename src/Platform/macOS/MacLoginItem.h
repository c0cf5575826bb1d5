#pragma once

#include "Ports/LoginItem.h"

namespace vorlin {

/// The main program among the system's login items.
class MacLoginItem final : public LoginItem {
public:
    bool isEnabled() const override;
    void setEnabled(bool enabled) override;
};

} // namespace vorlin
