#pragma once

#include "Async/Published.h"

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>
#include <wayland-client.h>

namespace vorlin {

/// One connection of our own to the compositor that `WAYLAND_DISPLAY` names, served by the main
/// loop. Neither a protocol error nor the compositor's death ends the process: requests on a dead
/// connection do nothing. Main loop; create it after the Qt application.
class WaylandConnection {
public:
    /// Connects and learns what the compositor offers; waits for that at most `patience`.
    explicit WaylandConnection(std::chrono::milliseconds patience = std::chrono::seconds(1));
    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;
    /// What was made over it must be destroyed before.
    ~WaylandConnection();

    /// Whether the compositor can be talked to. False after a failed or lost connection, for good.
    const Published<bool, WaylandConnection>& alive() const { return isAlive; }

    /// The seat of the person, the first one there is; null while there is none. Its proxy lives
    /// until the value has changed.
    const Published<wl_seat*, WaylandConnection>& seat() const { return firstSeat; }

    /// The process of the compositor; 0 where the system does not tell.
    pid_t compositor() const;

    /// A global of the compositor, at most of `version`; null when it offers none. To be destroyed
    /// by the caller.
    template <class Interface>
    Interface* bind(const wl_interface& interface, std::uint32_t version)
    {
        return static_cast<Interface*>(bindGlobal(interface, version));
    }

    /// The version in which the compositor offers a global; 0 when it does not.
    std::uint32_t offered(std::string_view interface) const;

    /// The names of all globals of one interface, for such as come and go.
    std::vector<std::uint32_t> namesOf(std::string_view interface) const;

    /// As `bind`, for one of those names.
    template <class Interface>
    Interface* bindNamed(std::uint32_t name, const wl_interface& interface, std::uint32_t version)
    {
        return static_cast<Interface*>(wl_registry_bind(registry, name, &interface, version));
    }

    /// Sends what was requested so far; what the socket does not take now follows by itself.
    void flush();

    /// Sends it on the loop's next turn, if nothing does so before.
    void flushSoon();

    /// Takes in the events that have arrived; never waits.
    void takeEvents();

    /// Waits until events arrive, at most until `deadline`, and takes them in.
    void awaitEvents(std::chrono::steady_clock::time_point deadline);

    /// Waits until every request so far was carried out, at most `patience`; the events that they
    /// caused are then here. False when it took longer or the connection is gone.
    bool sync(std::chrono::milliseconds patience);

    /// Sends what was requested so far, and calls `done` once all of it was carried out, after the
    /// events that it caused and ahead of any later ones. Not called when the connection is lost
    /// before.
    void whenCarriedOut(std::function<void()> done);

private:
    struct Global {
        std::uint32_t name = 0;
        std::string interface;
        std::uint32_t version = 0;
    };
    struct Seat {
        std::uint32_t name = 0;
        wl_seat* seat = nullptr;
    };
    /// Something to be called once the compositor has come to it.
    struct Barrier {
        WaylandConnection& connection;
        wl_callback* callback = nullptr;
        std::function<void()> done;
    };

    void* bindGlobal(const wl_interface& interface, std::uint32_t version);
    void added(std::uint32_t name, std::string_view interface, std::uint32_t version);
    void removed(std::uint32_t name);
    bool awaitSocket(short events, std::chrono::steady_clock::time_point deadline);
    bool readOnce();
    void noteLoss();
    void reached(const Barrier& barrier);

    static const wl_registry_listener registryListener;

    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    std::vector<Global> globals;
    std::vector<Seat> seats;
    std::vector<std::unique_ptr<Barrier>> barriers;
    Published<bool, WaylandConnection> isAlive;
    Published<wl_seat*, WaylandConnection> firstSeat;
    std::unique_ptr<QSocketNotifier> readable;
    std::unique_ptr<QSocketNotifier> writable;
    bool flushScheduled = false;
    /// Receives what is queued on the loop; dropped with us.
    QObject context;
};

} // namespace vorlin
