#pragma once

#include <string>

namespace vorlin {

/// Short system sounds by name: "Tink", "Pop", "Funk".
class Sounds {
public:
    virtual ~Sounds() = default;

    /// Starts playing a sound and returns at once. An unknown name or a missing sound device
    /// plays nothing. Main loop.
    virtual void play(const std::string& name) = 0;
};

} // namespace vorlin
