#include "Platform/Linux/Pasteboard/RequestorWindows.h"

#include <algorithm>

namespace vorlin {

using namespace std::chrono_literals;

namespace {

/// How long pieces of a transfer that was given up are still taken, unread.
constexpr auto drainedFor = 5s;
constexpr auto keptFor = 60s;
constexpr std::size_t mostAbandoned = 64;
/// How long a window rests between two conversions, and how many wait to be used again.
constexpr auto restsFor = 5s;
constexpr std::size_t mostResting = 32;

} // namespace

RequestorWindows::RequestorWindows(const SelectionConnection& connection)
    : connection(connection), receiving(connection.atom("VORLIN_SELECTION"))
{
}

xcb_window_t RequestorWindows::acquire(Deadline now)
{
    if (resting.empty() || now - resting.front().since < restsFor) {
        return connection.createWindow();
    }
    const xcb_window_t window = resting.front().window;
    resting.pop_front();
    xcb_delete_property(connection.get(), window, receiving);
    return window;
}

void RequestorWindows::release(xcb_window_t window, Deadline now)
{
    xcb_delete_property(connection.get(), window, receiving);
    resting.push_back({window, now});
}

void RequestorWindows::abandon(xcb_window_t window, Deadline now)
{
    xcb_delete_property(connection.get(), window, receiving);
    abandoned.push_back({window, now});
    if (abandoned.size() > mostAbandoned) {
        xcb_destroy_window(connection.get(), abandoned.front().window);
        abandoned.pop_front();
    }
}

bool RequestorWindows::arrivedOnAbandoned(xcb_window_t window, Deadline now)
{
    const auto entry = std::find_if(abandoned.begin(), abandoned.end(),
                                    [&](const Used& each) { return each.window == window; });
    if (entry == abandoned.end()) {
        return false;
    }
    if (now - entry->since < drainedFor) {
        xcb_delete_property(connection.get(), window, receiving);
    }
    return true;
}

void RequestorWindows::advance(Deadline now)
{
    while (!abandoned.empty() && now - abandoned.front().since >= keptFor) {
        xcb_destroy_window(connection.get(), abandoned.front().window);
        abandoned.pop_front();
    }
    while (resting.size() > mostResting && now - resting.front().since >= restsFor) {
        xcb_destroy_window(connection.get(), resting.front().window);
        resting.pop_front();
    }
}

std::optional<Deadline> RequestorWindows::nextDeadline() const
{
    std::optional<Deadline> next;
    if (!abandoned.empty()) {
        next = abandoned.front().since + keptFor;
    }
    if (resting.size() > mostResting) {
        next = std::min(next.value_or(Deadline::max()), resting.front().since + restsFor);
    }
    return next;
}

} // namespace vorlin
