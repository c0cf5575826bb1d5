#pragma once

#include "Platform/Linux/Keys/SwayConfiguration.h"

#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace vorlin {

/// What sway says of itself, as far as keys are concerned.
struct SwayFacts {
    /// The main file of the configuration.
    SwayConfigurationFile configuration;
    /// The layouts of the keyboards, by what they are called.
    std::set<std::string> layouts;

    bool operator==(const SwayFacts& other) const
    {
        return configuration.path == other.configuration.path &&
               configuration.text == other.configuration.text && layouts == other.layouts;
    }
};

/// What follows from it. A plain value.
struct SwayKnowledge {
    /// By mode, key and modifiers: what the person has bound.
    std::set<std::tuple<std::string, HardwareKey, SwayModifiers>> taken;
    /// The modifier keys that type other characters while they are held (AltGr), in one of the
    /// layouts.
    std::set<HardwareKey> chooseLevel;

    /// Reads the rest of the configuration and the layouts from the disk. Any thread; takes some
    /// ten milliseconds, or as long as the disk.
    static SwayKnowledge of(const SwayFacts& facts);

    bool isTaken(const std::string& mode, HardwareKey key, SwayModifiers modifiers) const
    {
        return taken.contains({mode, key, modifiers});
    }
};

} // namespace vorlin
