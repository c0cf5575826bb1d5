#pragma once

#include "Ports/KeyPoster.h"

#include <memory>

namespace vorlin {

/// Key events posted where the keyboard's own come in. Without the permission of accessibility
/// they have no effect.
class MacKeyPoster final : public KeyPoster {
public:
    MacKeyPoster();
    ~MacKeyPoster() override;

    void post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags) override;

private:
    struct Source;
    /// From a key that goes down to the next one: a press and its release come from one source.
    std::unique_ptr<Source> source;
};

} // namespace vorlin
