#pragma once

#include "Ports/HTTPClient.h"
#include "simulation/SimulatedLoop.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vorlin {

/// A network that the test plays, on virtual time.
class FakeHTTPClient final : public HTTPClient {
public:
    /// What a server does with one request.
    struct Answer {
        int status = 200;
        std::map<std::string, std::string> headers;
        std::vector<std::string> pieces;
        /// How it ends other than well.
        std::optional<URLError::Code> error;
        /// Gives nothing any more behind the pieces.
        bool stalls = false;
        /// Before the head, each piece and the end.
        Duration delay = Duration::zero();
    };

    explicit FakeHTTPClient(SimulatedLoop& loop) : loop(loop) {}

    /// What the requests for a URL are answered, one after the other; the last one repeats.
    std::map<std::string, std::deque<Answer>> answers;
    /// Answers where that says nothing.
    std::function<Answer(const HTTPRequest&)> otherwise = [](const HTTPRequest& /*request*/) {
        return Answer{404, {}, {}, std::nullopt, false, {}};
    };
    /// Those that were started.
    std::vector<HTTPRequest> requests;
    std::size_t inFlight = 0;
    std::size_t mostInFlight = 0;
    /// Tasks that were made and not started.
    std::size_t waiting() const { return made.size() - inFlight; }

    TaskId makeTask(HTTPRequest request, std::shared_ptr<HTTPBody> body, Events events) override
    {
        const TaskId id = ++lastId;
        made[id] = std::make_shared<Running>(
            Running{id, std::move(request), std::move(body), std::move(events), {}, false, 0});
        return id;
    }

    void start(TaskId task) override
    {
        const auto running = made.at(task);
        requests.push_back(running->request);
        mostInFlight = std::max(mostInFlight, ++inFlight);
        running->started = true;
        running->answer = next(running->request);
        later(running, [this, running] { head(running); });
    }

    void cancel(TaskId task) override
    {
        const auto found = made.find(task);
        if (found == made.end()) {
            return;
        }
        const auto running = found->second;
        if (running->started) {
            loop.executor(WorkPriority::normal).post([this, running] {
                finish(running, URLError(URLError::Code::cancelled));
            });
        } else {
            made.erase(found);
        }
    }

    bool wasHeldUp(Duration within) const override
    {
        return heldUp || (heldUpUntil && loop.now() - *heldUpUntil <= within);
    }
    /// From now on the disk does not answer the thread that transfers, until it is released.
    void holdUp() { heldUp = true; }
    void release()
    {
        heldUp = false;
        heldUpUntil = loop.now();
    }

private:
    struct Running {
        TaskId id;
        HTTPRequest request;
        std::shared_ptr<HTTPBody> body;
        Events events;
        Answer answer;
        bool finished = false;
        std::int64_t total = 0;
        bool started = false;
    };
    using Task = std::shared_ptr<Running>;

    Answer next(const HTTPRequest& request)
    {
        const auto found = answers.find(request.url);
        if (found == answers.end()) {
            return otherwise(request);
        }
        Answer answer = found->second.front();
        if (found->second.size() > 1) {
            found->second.pop_front();
        }
        return answer;
    }

    /// `step` on a thread of the client's, unless the task has ended by then.
    void later(const Task& running, Work step)
    {
        auto work = [this, running, step = std::move(step)] {
            loop.executor(WorkPriority::normal).post([running, step] {
                if (!running->finished) {
                    step();
                }
            });
        };
        loop.postAfter(running->answer.delay, std::move(work));
    }

    void head(const Task& running)
    {
        const auto& answer = running->answer;
        if (answer.status == 0) {
            end(running);
        } else if (running->body->accept({answer.status, answer.headers})) {
            report(running);
            later(running, [this, running] { piece(running, 0); });
        } else {
            finish(running, std::nullopt);
        }
    }

    void report(const Task& running)
    {
        loop.post([running, total = running->total] {
            if (running->events.didWrite) {
                running->events.didWrite(running->id, total);
            }
        });
    }

    void piece(const Task& running, std::size_t number)
    {
        if (number == running->answer.pieces.size()) {
            end(running);
            return;
        }
        const std::string& text = running->answer.pieces[number];
        if (!running->body->write(std::as_bytes(std::span(text)))) {
            finish(running, std::nullopt);
            return;
        }
        running->total += static_cast<std::int64_t>(text.size());
        report(running);
        later(running, [this, running, number] { piece(running, number + 1); });
    }

    void end(const Task& running)
    {
        const auto& answer = running->answer;
        if (!answer.stalls) {
            finish(running, answer.error ? std::optional(URLError(*answer.error)) : std::nullopt);
        }
    }

    void finish(const Task& running, const std::optional<URLError>& error)
    {
        if (running->finished) {
            return;
        }
        running->finished = true;
        loop.post([this, running, error] {
            --inFlight;
            made.erase(running->id);
            const Events events = std::exchange(running->events, {});
            running->body.reset();
            if (events.didWrite) {
                events.didWrite(running->id, running->total); // as the client that is shipped does
            }
            events.didComplete(running->id, error);
        });
    }

    SimulatedLoop& loop;
    bool heldUp = false;
    std::optional<TimePoint> heldUpUntil;
    TaskId lastId = 0;
    std::map<TaskId, Task> made;
};

} // namespace vorlin
