#pragma once

#include "Ports/Defaults.h"

#include <optional>
#include <string>

namespace vorlin {

/// What the person answered to a question of the desktop.
enum class PortalConsent {
    unasked,
    granted,
    /// Not to be asked again, unless the person wishes it.
    refused,
};

/// What the portals of one desktop were asked for once, kept over restarts of the program. Main
/// loop.
class PortalMemory {
public:
    /// `state` must outlive this object; `desktop` tells desktops apart that a person uses in turn.
    PortalMemory(Defaults& state, std::string desktop) : state(state), desktop(std::move(desktop))
    {
    }

    /// Whether `what` was asked for in just this form: a key, another key.
    PortalConsent consent(const std::string& what, const std::string& form) const;
    void setConsent(const std::string& what, const std::string& form, PortalConsent consent);

    /// With what the next session is opened without a question; nothing if it cannot be.
    std::optional<std::string> token(const std::string& what) const;
    void setToken(const std::string& what, const std::optional<std::string>& token);

private:
    std::string key(const std::string& what, const char* which) const;
    std::optional<std::string> text(const std::string& key) const;

    Defaults& state;
    std::string desktop;
};

} // namespace vorlin
