#pragma once

#include "Ports/EventTap.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace vorlin {

/// A keyboard that the test plays.
class FakeEventTap final : public EventTap {
public:
    bool allowed = true;
    Handler handler;
    KeyInterest interest;
    std::optional<Hotkey> chosen;
    int starts = 0;
    /// Called when it has started.
    std::function<void()> onStart = [] {};
    /// The modifier keys that type characters.
    std::set<std::uint16_t> typing;
    /// Keys of which less is told than of the others, by key code.
    std::map<std::uint16_t, KeyWatch> watches;
    bool canLoseReleases = false;
    int enables = 0;
    int interestChanges = 0;
    /// What the keyboard refuses from now on.
    using EventTap::noteLayoutChange;
    using EventTap::setConflict;
    using EventTap::setTrigger;

    bool start(Handler newHandler) override
    {
        ++starts;
        if (allowed) {
            handler = std::move(newHandler);
            onStart();
        }
        return allowed;
    }
    void stop() override
    {
        handler = nullptr;
        setConflict(KeyConflict::none);
    }
    bool typesCharacters(std::uint16_t keyCode) override { return typing.contains(keyCode); }
    KeyWatch watchable(const Hotkey& hotkey) const override
    {
        const auto found = watches.find(hotkey.keyCode);
        return found == watches.end() ? KeyWatch::pressesAndReleases : found->second;
    }
    bool losesReleases() const override { return canLoseReleases; }
    void enable() override { ++enables; }
    void choose(const Hotkey& hotkey) override { chosen = hotkey; }
    void setInterest(const KeyInterest& wanted) override
    {
        ++interestChanges;
        interest = wanted;
    }

    bool isRunning() const { return static_cast<bool>(handler); }

    /// Whether the event was swallowed.
    bool send(KeyEventType type, const KeyEvent& event) const
    {
        return handler && handler(type, event);
    }
    bool keyDown(std::uint16_t keyCode, std::uint64_t flags = 0, bool autorepeat = false) const
    {
        return send(KeyEventType::keyDown, {keyCode, flags, autorepeat});
    }
    bool keyUp(std::uint16_t keyCode, std::uint64_t flags = 0) const
    {
        return send(KeyEventType::keyUp, {keyCode, flags, false});
    }
    bool flagsChanged(std::uint16_t keyCode, std::uint64_t flags) const
    {
        return send(KeyEventType::flagsChanged, {keyCode, flags, false});
    }
    /// The default hotkey, the right Option key.
    void pressOption() const { flagsChanged(keyCodes::rightOption, eventFlags::maskAlternate); }
    void releaseOption() const { flagsChanged(keyCodes::rightOption, 0); }
};

} // namespace vorlin
