#pragma once

#include "Async/MainLoop.h"
#include "Platform/Linux/Keys/SwayKnowledge.h"
#include "Platform/Linux/Sway/SwaySocket.h"
#include "Ports/Workers.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace vorlin {

/// Asks sway for everything that binding a key takes, and again for the layouts where the
/// keyboards may have become others. Main loop.
class SwayInquiry {
public:
    struct Needs {
        SwaySocket& socket;
        MainLoop& loop;
        Workers& workers;
    };
    struct Listener {
        /// The mode that sway is in.
        std::function<void(const std::string& mode)> mode;
        /// All of it, from the loop; afterwards whenever the layouts have changed.
        std::function<void(SwayKnowledge knowledge)> learnt;
    };

    /// What `needs` refers to must outlive this object.
    SwayInquiry(Needs needs, Listener listener);

    /// Asks for everything anew. Until that is answered, what was learnt before counts.
    void ask();
    /// The same in a moment: sway takes no questions now.
    void askLater();
    /// The keyboards may have become others.
    void askInputs();
    /// What was learnt counts no more, and what was asked is not answered any more.
    void drop();

    /// Whether anything was learnt that counts.
    bool isAnswered() const { return known.has_value(); }

private:
    void learn();
    void inputsAnswered(const nlohmann::json& answer);
    /// Whether what is being learnt may not know of the keyboards yet.
    bool isBusy() const { return !known || awaited > 0 || learning; }

    const Needs needs;
    const Listener listener;
    /// What sway was last heard to say of itself, while it is being asked.
    SwayFacts facts;
    /// Which of the facts are still awaited.
    int awaited = 0;
    /// What was asked in an earlier one is not heard.
    std::uint64_t epoch = 0;
    std::optional<SwayFacts> known;
    /// The rest of them is being read.
    bool learning = false;
    /// The keyboards may have become others since they were asked for.
    bool stale = false;
    Timer untilAsked;
    std::shared_ptr<const void> alive;
};

} // namespace vorlin
