#include "Platform/Linux/Wayland/WaylandConnection.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

namespace vorlin {

namespace {

constexpr std::uint32_t seatVersion = 1;

WaylandConnection& self(void* data)
{
    return *static_cast<WaylandConnection*>(data);
}

} // namespace

const wl_registry_listener WaylandConnection::registryListener = {
    .global = [](void* data, wl_registry* /*registry*/, std::uint32_t name, const char* interface,
                 std::uint32_t version) { self(data).added(name, interface, version); },
    .global_remove = [](void* data, wl_registry* /*registry*/,
                        std::uint32_t name) { self(data).removed(name); },
};

WaylandConnection::WaylandConnection(std::chrono::milliseconds patience)
    : display(wl_display_connect(nullptr))
{
    if (display == nullptr) {
        return;
    }
    isAlive.set(true);
    registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, this);
    if (!sync(patience)) {
        noteLoss();
        return;
    }
    const int socket = wl_display_get_fd(display);
    readable = std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Read);
    writable = std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Write);
    writable->setEnabled(false);
    QObject::connect(readable.get(), &QSocketNotifier::activated, &context,
                     [this] { takeEvents(); });
    QObject::connect(writable.get(), &QSocketNotifier::activated, &context, [this] { flush(); });
}

WaylandConnection::~WaylandConnection()
{
    if (display == nullptr) {
        return;
    }
    flush();
    readable.reset();
    writable.reset();
    for (const Seat& each : seats) {
        wl_seat_destroy(each.seat);
    }
    for (const auto& each : barriers) {
        wl_callback_destroy(each->callback);
    }
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
}

pid_t WaylandConnection::compositor() const
{
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (display == nullptr ||
        getsockopt(wl_display_get_fd(display), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return 0;
    }
    return peer.pid;
}

std::uint32_t WaylandConnection::offered(std::string_view interface) const
{
    const auto found = std::ranges::find(globals, interface, &Global::interface);
    return found == globals.end() ? 0 : found->version;
}

std::vector<std::uint32_t> WaylandConnection::namesOf(std::string_view interface) const
{
    std::vector<std::uint32_t> names;
    for (const Global& each : globals) {
        if (each.interface == interface) {
            names.push_back(each.name);
        }
    }
    return names;
}

void* WaylandConnection::bindGlobal(const wl_interface& interface, std::uint32_t version)
{
    const auto found =
        std::ranges::find(globals, std::string_view(interface.name), &Global::interface);
    if (found == globals.end() || !isAlive.get()) {
        return nullptr;
    }
    return wl_registry_bind(registry, found->name, &interface, std::min(found->version, version));
}

void WaylandConnection::added(std::uint32_t name, std::string_view interface, std::uint32_t version)
{
    globals.push_back({name, std::string(interface), version});
    if (interface == wl_seat_interface.name) {
        auto* const seat = static_cast<wl_seat*>(
            wl_registry_bind(registry, name, &wl_seat_interface, seatVersion));
        seats.push_back({name, seat});
        firstSeat.set(seats.front().seat);
    }
}

void WaylandConnection::removed(std::uint32_t name)
{
    std::erase_if(globals, [name](const Global& each) { return each.name == name; });
    const auto gone = std::ranges::find(seats, name, &Seat::name);
    if (gone == seats.end()) {
        return;
    }
    wl_seat* const seat = gone->seat;
    seats.erase(gone);
    firstSeat.set(seats.empty() ? nullptr : seats.front().seat);
    wl_seat_destroy(seat);
}

void WaylandConnection::flush()
{
    flushScheduled = false;
    if (!isAlive.get()) {
        return;
    }
    const bool sent = wl_display_flush(display) >= 0;
    if (!sent && errno != EAGAIN) {
        noteLoss();
    } else if (writable) {
        writable->setEnabled(!sent);
    }
}

void WaylandConnection::flushSoon()
{
    if (!std::exchange(flushScheduled, true)) {
        QMetaObject::invokeMethod(
            &context, [this] { flush(); }, Qt::QueuedConnection);
    }
}

void WaylandConnection::takeEvents()
{
    if (isAlive.get() && !readOnce()) {
        noteLoss();
    }
    flush();
}

/// Reads what is on the socket and lets it be dispatched. False when the connection is gone.
bool WaylandConnection::readOnce()
{
    while (wl_display_prepare_read(display) != 0) {
        if (wl_display_dispatch_pending(display) < 0) {
            return false;
        }
    }
    return wl_display_read_events(display) == 0 && wl_display_dispatch_pending(display) >= 0;
}

bool WaylandConnection::sync(std::chrono::milliseconds patience)
{
    if (!isAlive.get()) {
        return false;
    }
    const auto deadline = std::chrono::steady_clock::now() + patience;
    bool done = false;
    static constexpr wl_callback_listener listener = {
        .done = [](void* data, wl_callback* /*callback*/, std::uint32_t /*serial*/) {
            *static_cast<bool*>(data) = true;
        }};
    wl_callback* const callback = wl_display_sync(display);
    wl_callback_add_listener(callback, &listener, &done);
    bool usable = true;
    while (!done && usable) {
        const bool sent = wl_display_flush(display) >= 0;
        usable = (sent || errno == EAGAIN) &&
                 awaitSocket(static_cast<short>(sent ? POLLIN : POLLIN | POLLOUT), deadline) &&
                 readOnce();
    }
    wl_callback_destroy(callback);
    if (wl_display_get_error(display) != 0) {
        noteLoss();
    }
    return done;
}

void WaylandConnection::whenCarriedOut(std::function<void()> done)
{
    if (!isAlive.get()) {
        return;
    }
    static constexpr wl_callback_listener listener = {
        .done = [](void* data, wl_callback* /*callback*/, std::uint32_t /*serial*/) {
            const auto& barrier = *static_cast<Barrier*>(data);
            barrier.connection.reached(barrier);
        }};
    barriers.push_back(
        std::make_unique<Barrier>(Barrier{*this, wl_display_sync(display), std::move(done)}));
    wl_callback_add_listener(barriers.back()->callback, &listener, barriers.back().get());
    flush();
}

void WaylandConnection::reached(const Barrier& barrier)
{
    const auto found =
        std::ranges::find(barriers, &barrier, [](const auto& each) { return each.get(); });
    const auto done = std::move((*found)->done);
    wl_callback_destroy(barrier.callback);
    barriers.erase(found);
    done();
}

void WaylandConnection::awaitEvents(std::chrono::steady_clock::time_point deadline)
{
    flush();
    if (isAlive.get() && awaitSocket(POLLIN, deadline)) {
        takeEvents();
    }
}

/// False once `deadline` has passed.
bool WaylandConnection::awaitSocket(short events, std::chrono::steady_clock::time_point deadline)
{
    pollfd socket{.fd = wl_display_get_fd(display), .events = events, .revents = 0};
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
        return false;
    }
    const int ready = poll(&socket, 1, static_cast<int>(left.count()));
    return ready > 0 || (ready < 0 && errno == EINTR);
}

void WaylandConnection::noteLoss()
{
    if (readable) {
        readable->setEnabled(false);
        writable->setEnabled(false);
    }
    isAlive.set(false);
}

} // namespace vorlin
