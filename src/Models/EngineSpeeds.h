#pragma once

#include "Async/Published.h"
#include "Ports/Defaults.h"

#include <map>
#include <optional>
#include <string>

namespace vorlin {

/// How fast an engine was: seconds of speech, and seconds from its end to the text.
struct EngineSpeed {
    double sentence = 0;
    double wait = 0;

    bool operator==(const EngineSpeed&) const = default;
};

/// How fast the engines were on this computer, as measured. Kept in a store of its own, which
/// holds their ids and numbers alone. Main loop.
class EngineSpeeds {
public:
    /// `store` must outlive this object. What is no sensible number in it is not known.
    explicit EngineSpeeds(Defaults& store) : store(store) {}
    EngineSpeeds(const EngineSpeeds&) = delete;
    EngineSpeeds& operator=(const EngineSpeeds&) = delete;

    /// Counts the measurements of this start of the program.
    Published<int, EngineSpeeds> measured{0};

    /// The latest measurement for an engine. One of less than a second of speech tells nothing and
    /// is dropped.
    void measure(const std::string& id, const EngineSpeed& speed);

    std::optional<EngineSpeed> speed(const std::string& id) const;

    /// The same as a person reads it: "About 0.4 s after a sentence of 5 s"; empty when nothing is
    /// known.
    std::string text(const std::string& id) const;

private:
    Defaults& store;
};

} // namespace vorlin
