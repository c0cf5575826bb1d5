#pragma once

#include "Platform/Linux/X11/XcbPointer.h"

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include <xcb/xcb.h>

namespace vorlin {

/// One connection to the display server that `DISPLAY` names, served by the main loop. Neither
/// a protocol error nor the server's death ends the process. Main loop; create it after the Qt
/// application.
class X11Connection {
public:
    struct Callbacks {
        /// Events have arrived, or were read while a reply was awaited. From the loop only,
        /// never inside a call.
        std::function<void()> readable;
        /// The connection is gone; once, from the loop only.
        std::function<void()> lost;
    };

    explicit X11Connection(Callbacks callbacks);
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;
    ~X11Connection();

    /// Whether the server can be talked to. False after a failed or lost connection, for good.
    bool isAlive() const { return alive; }

    /// For xcb's request functions; requests on a dead connection do nothing.
    xcb_connection_t* get() const { return connection; }

    /// The default screen's root window. Only while alive.
    xcb_window_t root() const { return rootWindow; }

    /// The event base and opcode of an extension; nothing when the server lacks it.
    std::optional<xcb_query_extension_reply_t> extension(xcb_extension_t& which) const;

    /// The next event or error that has arrived; never waits.
    XcbPointer<xcb_generic_event_t> nextEvent();

    /// Sends what was requested so far.
    void flush();

    /// Sends it on the loop's next turn, if nothing does so before.
    void flushSoon();

    /// The reply to a request; nothing when it failed, the connection is gone, or `limit` has
    /// passed. Waits at most `limit`.
    template <class Reply, class Cookie>
    XcbPointer<Reply> reply(Cookie cookie, std::chrono::milliseconds limit = replyLimit)
    {
        return XcbPointer<Reply>(static_cast<Reply*>(awaitReply(cookie.sequence, limit)));
    }

    /// Waits until every request so far was carried out; the events that it caused are then here.
    bool sync();

    /// Takes in what xcb read behind our back; needed after calls that use the raw connection.
    void collectEvents();

private:
    /// Another program may hold the server to itself for a while.
    static constexpr std::chrono::milliseconds replyLimit{1000};

    void* awaitReply(unsigned int sequence, std::chrono::milliseconds limit);
    void readSocket();
    void noteLoss();
    void scheduleReadable();

    Callbacks callbacks;
    xcb_connection_t* connection;
    bool alive = false;
    bool readableScheduled = false;
    bool flushScheduled = false;
    xcb_window_t rootWindow = XCB_NONE;
    std::deque<XcbPointer<xcb_generic_event_t>> events;
    std::unique_ptr<QSocketNotifier> notifier;
    /// Receives what is queued on the loop; dropped with us.
    QObject context;
};

} // namespace vorlin
