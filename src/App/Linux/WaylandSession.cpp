#include "App/Linux/WaylandSession.h"

#include <chrono>
#include <utility>

namespace vorlin {

bool WaylandSession::goesOn() const
{
    constexpr std::chrono::milliseconds patience{500}; // it may be ending, too
    return connection->alive().get() ? connection->sync(patience)
                                     : WaylandConnection(patience).alive().get();
}

Subscription WaylandSession::watchEnd(std::function<void()> ended) const
{
    return connection->alive().observe([ended = std::move(ended)](bool) { ended(); });
}

} // namespace vorlin
