#pragma once

#include "Async/MainLoop.h"
#include "Async/Published.h"
#include "Platform/Linux/Sway/SwayFrames.h"
#include "Platform/Shared/Descriptor.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QSocketNotifier>
#include <sys/types.h>

namespace vorlin {

/// Whether this process listens at the socket that SWAYSOCK names: the variable outlives its sway,
/// and a compositor inside a sway inherits it. True where the system tells of no process
/// (`compositor` is 0); false where nobody listens.
bool isSwaySocketOf(const std::string& path, pid_t compositor);

/// A connection to sway's socket, served by the main loop. One that is lost, or on which nonsense
/// came, is made anew until sway is there again; what was asked on it stays unanswered. Answers and
/// events come in the order in which sway gave them. Main loop; create it after the Qt application.
class SwaySocket {
public:
    /// Called with the answer, or with null when none will come; never inside `ask`.
    using Answer = std::function<void(const nlohmann::json* answer)>;
    using Observer = std::function<void(SwayEvent event, const nlohmann::json& details)>;

    /// `path` is what SWAYSOCK says. Connects at once: a local socket that is there accepts or
    /// refuses without waiting. `loop` must outlive this object.
    SwaySocket(std::string path, MainLoop& loop);
    SwaySocket(const SwaySocket&) = delete;
    SwaySocket& operator=(const SwaySocket&) = delete;
    ~SwaySocket();

    /// Whether sway can be asked. Turns true again when a lost connection was made anew: sway may
    /// be another one then, and have forgotten what it was told.
    const Published<bool, SwaySocket>& connected() const { return isConnected; }

    const std::string& path() const { return address; }

    /// Asks something. Without a connection the answer is null, from the loop.
    void ask(SwayRequest request, std::string_view payload, Answer answer);

    /// Calls `observer` at every event of `SwayEvent`, for as long as the result is kept.
    [[nodiscard]] Subscription observe(Observer observer);

    /// Waits until everything asked so far was answered, at most for `limit`; answers and events
    /// are delivered meanwhile. For the end of the program: sway drops what it has not read yet
    /// when a client goes. Returns whether nothing is open any more.
    bool drain(std::chrono::milliseconds limit);

private:
    struct Question {
        SwayRequest request;
        Answer answer;
    };

    void connect();
    void send();
    void receive();
    void deliver();
    void handle(const SwayFrame& frame);
    void lose();

    const std::string address;
    MainLoop& loop;
    Published<bool, SwaySocket> isConnected{false};
    Descriptor socket;
    std::unique_ptr<QSocketNotifier> readable;
    std::unique_ptr<QSocketNotifier> writable;
    SwayFrames frames;
    std::string outgoing;
    std::deque<Question> open;
    std::vector<std::weak_ptr<const Observer>> observers;
    /// Grows with every connection; what is under way for an older one stops.
    std::uint64_t generation = 0;
    /// How often in a row there was nobody, or a connection that did not last.
    std::size_t attempt = 0;
    Timer again;
    /// Runs until the connection has proved to be one that lasts.
    Timer proof;
    /// Tells those whose question nobody takes.
    Timer refusal;
    std::vector<Answer> refused;
};

} // namespace vorlin
