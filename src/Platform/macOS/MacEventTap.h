#pragma once

#include "Ports/EventTap.h"

#include <memory>

namespace vorlin {

/// A Quartz event tap of the session, which sees every key before any program and may swallow it.
/// It needs the permission of accessibility.
class MacEventTap final : public EventTap {
public:
    MacEventTap();
    ~MacEventTap() override;

    bool start(Handler handler) override;
    void stop() override;
    void enable() override;
    /// A tap sees all keys: there is nothing to tell beforehand.
    void setInterest(const KeyInterest& interest) override;
    /// None: both Option keys may be the dictation key, whatever they type.
    bool typesCharacters(std::uint16_t keyCode) override;

private:
    struct Tap;
    std::unique_ptr<Tap> tap;
};

} // namespace vorlin
