#pragma once

#include "Platform/Linux/Keys/SwayKnowledge.h"
#include "Ports/EventTap.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

namespace vorlin {

/// Event flags and what they are to sway; flags of no modifier count for nothing.
SwayModifiers swayModifiersOf(std::uint64_t flags);
std::uint64_t flagsOf(SwayModifiers modifiers);

/// What a tap wants of sway's keys, and what it cannot have of that. A plain value.
struct SwayWishes {
    /// While false nothing is wanted.
    bool active = false;
    KeyInterest interest;
    /// What is the person's.
    SwayKnowledge knowledge;
    /// What sway would not bind.
    std::set<SwayBinding> refused;

    /// Whether there is such a key that sway can bind.
    static bool isKnown(const Hotkey& hotkey);

    bool isLost(const std::string& mode, HardwareKey key, SwayModifiers modifiers) const;
    bool isLost(const std::string& mode, const Hotkey& hotkey) const;

    /// What is to be bound in a mode: the interest, less what cannot be had there.
    std::set<SwayBinding> in(const std::string& mode) const;

    /// What the person is to be told in this mode.
    KeyConflict conflict(const std::string& mode) const;

private:
    bool losesEscape(const std::string& mode) const;
};

/// A step from what is bound to what is to be.
struct SwayChange {
    SwayBindings bind;
    SwayBindings unbind;

    bool isEmpty() const { return bind.empty() && unbind.empty(); }
    /// First what binds, in order, `commandsOfSwayBinding` for each.
    std::string commands(const std::string& token) const;
};

} // namespace vorlin
