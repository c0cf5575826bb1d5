#include "Platform/Linux/Portal/PortalMemory.h"

#include <variant>

namespace vorlin {

PortalConsent PortalMemory::consent(const std::string& what, const std::string& form) const
{
    if (text(key(what, "refused")) == form) {
        return PortalConsent::refused;
    }
    return text(key(what, "granted")) == form ? PortalConsent::granted : PortalConsent::unasked;
}

void PortalMemory::setConsent(const std::string& what, const std::string& form,
                              PortalConsent consent)
{
    const auto keep = [&](const char* which, bool on) {
        if (on) {
            state.set(key(what, which), form);
        } else if (text(key(what, which)) == form) {
            state.set(key(what, which), std::nullopt);
        }
    };
    keep("granted", consent == PortalConsent::granted);
    keep("refused", consent == PortalConsent::refused);
}

std::optional<std::string> PortalMemory::token(const std::string& what) const
{
    return text(key(what, "token"));
}

void PortalMemory::setToken(const std::string& what, const std::optional<std::string>& token)
{
    if (token) {
        state.set(key(what, "token"), *token);
    } else {
        state.set(key(what, "token"), std::nullopt);
    }
}

std::string PortalMemory::key(const std::string& what, const char* which) const
{
    return "portal." + desktop + "." + what + "." + which;
}

std::optional<std::string> PortalMemory::text(const std::string& key) const
{
    const auto value = state.value(key);
    const auto* found = value ? std::get_if<std::string>(&*value) : nullptr;
    return found == nullptr ? std::nullopt : std::optional(*found);
}

} // namespace vorlin
