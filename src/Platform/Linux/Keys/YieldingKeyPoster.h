#pragma once

#include "Ports/KeyPoster.h"

#include <functional>
#include <utility>

namespace vorlin {

/// Posts keys where the modifiers that the person holds join the chord: it is not ready while there
/// are some. Main loop.
class YieldingKeyPoster final : public KeyPoster {
public:
    /// `poster` must outlive this.
    YieldingKeyPoster(KeyPoster& poster, std::function<bool()> holdsModifiers)
        : poster(poster), holdsModifiers(std::move(holdsModifiers))
    {
    }

    void prepare() override { poster.prepare(); }
    void rest() override { poster.rest(); }
    KeyReadiness readiness() const override
    {
        const auto readiness = poster.readiness();
        const bool yields = readiness == KeyReadiness::ready && holdsModifiers();
        return yields ? KeyReadiness::soon : readiness;
    }
    void post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags) override
    {
        poster.post(keyCode, keyDown, flags);
    }

private:
    KeyPoster& poster;
    std::function<bool()> holdsModifiers;
};

} // namespace vorlin
