#pragma once

#include "Async/MainLoop.h"
#include "Ports/URLError.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace vorlin {

/// What to ask a server for, with GET.
struct HTTPRequest {
    /// What follows the first `from` bytes of the entity that a strong tag names.
    struct Rest {
        std::int64_t from = 0;
        std::string entityTag;
    };

    /// Absolute, percent-encoded, "https".
    std::string url;
    /// Asks for the rest only if the entity is still the same, else for all of what it is now.
    std::optional<Rest> rest;
};

/// The beginning of an answer.
struct HTTPHead {
    int status = 0;
    /// By their names in lower case; what stands there twice counts where it stands last.
    std::map<std::string, std::string> headers;
};

/// Where the body of an answer goes. Called on a thread of the client's that may wait for a disk,
/// one call at a time, and no more once its task has completed.
class HTTPBody {
public:
    virtual ~HTTPBody() = default;

    /// The head of the answer, after redirects; called once, before the first byte. False: the
    /// body is not wanted, and the task completes as if it had come to its end.
    virtual bool accept(const HTTPHead& head) = 0;

    /// The next bytes; at least one. False as with `accept`.
    virtual bool write(std::span<const std::byte> bytes) = 0;
};

/// Fetches over HTTPS and in no other way: with certificates verified; through the proxy that the
/// desktop names; at most ten redirects, also to other hosts. Sends no credentials, no cookies and
/// nothing about the person or the machine. Main loop, on which it also calls back.
class HTTPClient {
public:
    using TaskId = std::uint64_t;

    struct Events {
        /// All bytes of this task that the body was given so far: none when its head was accepted,
        /// then more and more. Several reports may be joined.
        std::function<void(TaskId, std::int64_t totalBytesWritten)> didWrite;
        /// The end, exactly once for every task that was started and after its last `didWrite`,
        /// which tells of everything that was written: without an error when the body
        /// has come whole or was not wanted.
        std::function<void(TaskId, const std::optional<URLError>&)> didComplete;
    };

    virtual ~HTTPClient() = default;

    /// A task that has not started. It holds `body` and `events` until it has completed.
    virtual TaskId makeTask(HTTPRequest request, std::shared_ptr<HTTPBody> body, Events events) = 0;

    /// Starts a task. Never calls back inside this call.
    virtual void start(TaskId task) = 0;

    /// Lets a task complete soon with `URLError::Code::cancelled`, unless it completes otherwise
    /// first. Does nothing for one that has completed. One that was never started is forgotten.
    virtual void cancel(TaskId task) = 0;

    /// Whether at any moment of the last `within` a body had not come back for a second or longer:
    /// no task gets anything meanwhile, whatever its server sends.
    virtual bool wasHeldUp(Duration within) const = 0;
};

} // namespace vorlin
