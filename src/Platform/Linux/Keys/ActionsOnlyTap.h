#pragma once

#include "Ports/EventTap.h"

namespace vorlin {

/// The keyboard of a desktop that shows its keys to no program: nothing is told and nothing
/// swallowed, and what Vorlin is to do the person binds to a key of the desktop's. What is known of
/// the layouts comes from another tap, which is never asked for a key.
class ActionsOnlyTap final : public EventTap {
public:
    /// `layouts` must outlive this object, and be nobody else's.
    explicit ActionsOnlyTap(EventTap& layouts);
    ~ActionsOnlyTap() override;

    /// Always true. While it runs the conflict is `KeyConflict::unwatched`.
    bool start(Handler handler) override;
    void stop() override;
    void enable() override {}
    void setInterest(const KeyInterest& /*interest*/) override {}
    bool typesCharacters(std::uint16_t keyCode) override;
    KeyWatch watchable(const Hotkey& /*hotkey*/) const override { return KeyWatch::nothing; }
    bool losesReleases() const override { return true; }

private:
    EventTap& layouts;
    Subscription layoutsChange;
};

} // namespace vorlin
