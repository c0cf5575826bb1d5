#include "Platform/Linux/Keys/X11KeyMonitor.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace vorlin {

namespace {

/// All that an event's state says of modifiers; the rest are groups and buttons.
constexpr XModifiers everyModifier = 0xFF;

/// A key that went down, as the grab tells of it.
struct GrabbedPress {
    HardwareKey key = 0;
    /// The server's time stamp, ms; it wraps around.
    std::uint32_t time = 0;
    /// Those in effect, held, latched or locked.
    XModifiers modifiers = 0;
};

/// Whether the focus goes from the window.
bool isLoss(const xcb_focus_out_event_t& out)
{
    // A window inside this one is still this window; a grab moves no focus.
    return out.detail != XCB_NOTIFY_DETAIL_INFERIOR && out.detail != XCB_NOTIFY_DETAIL_POINTER &&
           (out.mode == XCB_NOTIFY_MODE_NORMAL || out.mode == XCB_NOTIFY_MODE_WHILE_GRABBED);
}

} // namespace

/// What lives from a start until the keyboard is let go.
struct X11KeyMonitor::Session {
    /// Of its own: the server keeps raw events from a connection that holds a grab.
    X11Connection connection;
    xcb_window_t window = XCB_NONE;
    /// Empty after the stop.
    Handler handler;
    std::function<void()> onEnd;
    /// Held since before the start.
    KeySet earlier;
    /// Whose press was told.
    KeySet told;
    std::shared_ptr<const void> watching;
    Timer limit;
    /// Not yet matched with the keyboard's changes, which tell nothing of their modifiers.
    std::deque<GrabbedPress> presses;
    /// The window has lost the focus.
    bool lost = false;

    explicit Session(X11Connection::Callbacks callbacks) : connection(std::move(callbacks)) {}

    void read();
};

/// Takes in what the grab has brought.
void X11KeyMonitor::Session::read()
{
    while (const auto event = connection.nextEvent()) {
        const auto type = event->response_type & 0x7FU;
        if (type == XCB_KEY_PRESS) {
            const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(*event);
            presses.push_back({press.detail, press.time, press.state & everyModifier});
        } else if (type == XCB_FOCUS_OUT) {
            lost = lost || isLoss(reinterpret_cast<const xcb_focus_out_event_t&>(*event));
        }
    }
}

X11KeyMonitor::X11KeyMonitor(X11Keyboard& keyboard, MainLoop& loop) : keyboard(keyboard), loop(loop)
{
}

X11KeyMonitor::~X11KeyMonitor()
{
    letGo();
}

std::optional<std::string> X11KeyMonitor::start(Handler handler, std::function<void()> onEnd)
{
    letGo();
    auto next = std::make_shared<Session>(X11Connection::Callbacks{
        .readable = [this] { readGrab(); }, .lost = [this] { endByItself(); }});
    if (!keyboard.available().get() || !next->connection.isAlive()) {
        return "The keyboard cannot be watched.";
    }
    if (!grab(*next)) {
        return "Another program has the keyboard to itself.";
    }
    next->handler = std::move(handler);
    next->onEnd = std::move(onEnd);
    next->watching = keyboard.watch({.changed = [this] { takeChanges(); }, .replaced = [] {}});
    keyboard.sync();
    while (keyboard.nextChange() != nullptr) {
        keyboard.dropChange(); // of before the grab
    }
    next->earlier = keyboard.held();
    next->limit = loop.startTimer(limit, [this] { endByItself(); });
    session = std::move(next);
    return std::nullopt;
}

/// Grabs the keyboard for the window with the focus: from that to itself the focus does not move.
bool X11KeyMonitor::grab(Session& next)
{
    auto& server = next.connection;
    const auto focus = server.reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(server.get()));
    if (!focus) {
        return false;
    }
    const bool isWindow = focus->focus != XCB_NONE && focus->focus != XCB_INPUT_FOCUS_POINTER_ROOT;
    next.window = isWindow ? focus->focus : server.root();
    // A window that goes loses the focus first.
    const std::uint32_t events = XCB_EVENT_MASK_FOCUS_CHANGE;
    xcb_change_window_attributes(server.get(), next.window, XCB_CW_EVENT_MASK, &events);
    const auto reply = server.reply<xcb_grab_keyboard_reply_t>(xcb_grab_keyboard(
        server.get(), 0, next.window, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void X11KeyMonitor::stop()
{
    if (!session) {
        return;
    }
    session->handler = nullptr;
    session->onEnd = nullptr;
    session->watching.reset();
    keyboard.sync();
    session->told &= keyboard.held();
    if (session->told.none()) {
        letGo();
    }
}

void X11KeyMonitor::takeChanges()
{
    while (session && session->handler) {
        const auto* next = keyboard.nextChange();
        if (next == nullptr) {
            break;
        }
        const auto change = *next;
        keyboard.dropChange();
        const auto current = session; // being told may end it
        tell(*current, change);
    }
    readGrab(); // telling may have read what ends it
}

void X11KeyMonitor::tell(Session& current, const KeyChange& change)
{
    if (change.posted || current.earlier[change.key]) {
        current.earlier[change.key] = current.earlier[change.key] && (change.posted || change.down);
        return;
    }
    current.told[change.key] = change.down;
    const auto code = virtualKey(change.key);
    const auto handler = current.handler;
    if (code && isModifierKey(*code)) {
        handler(KeyEventType::flagsChanged, {*code, flagsAt(current, change), false});
    } else if (code && change.down) {
        handler(KeyEventType::keyDown, {*code, flagsAt(current, change), false});
    }
}

/// The event flags of a change, with those of modifiers that come from elsewhere than the held
/// keys: for a key the ones in effect at its press; for a modifier key that is let go, the ones
/// that stay (a latched one was not pressed for itself).
std::uint64_t X11KeyMonitor::flagsAt(Session& current, const KeyChange& change)
{
    const auto code = virtualKey(change.key);
    XModifiers effective = 0;
    if (!change.down) {
        const auto state = keyboard.lockState();
        effective = state.latched | state.locked;
    } else if (!code || !isModifierKey(*code)) {
        current.connection.sync(); // the grab's own report of the press is there then
        current.read();
        auto& presses = current.presses;
        const auto found = std::ranges::find_if(presses, [&change](const GrabbedPress& press) {
            return press.key == change.key && press.time == change.time;
        });
        if (found != presses.end()) {
            effective = found->modifiers;
            presses.erase(presses.begin(), std::next(found));
        }
    }
    return keyboard.typedLayout().joinedFlags(change.flags, effective);
}

/// The grab's own events: what becomes of the window, and the keys that nobody else shall see.
void X11KeyMonitor::readGrab()
{
    const auto current = session;
    if (!current) {
        return;
    }
    current->read();
    if (current->lost) {
        endByItself();
    } else if (!current->handler) {
        keyboard.sync();
        if ((current->told & keyboard.held()).none()) {
            letGo();
        }
    }
}

void X11KeyMonitor::endByItself()
{
    if (session) {
        const auto onEnd = std::exchange(session->onEnd, nullptr);
        letGo();
        if (onEnd) {
            onEnd();
        }
    }
}

void X11KeyMonitor::letGo()
{
    if (!session) {
        return;
    }
    session->watching.reset();
    session->limit.reset();
    xcb_ungrab_keyboard(session->connection.get(), XCB_CURRENT_TIME);
    session->connection.sync();
    // We may have been called by the session's own connection: destroy it from the loop.
    QMetaObject::invokeMethod(
        &context, [ended = std::move(session)] {}, Qt::QueuedConnection);
    session.reset();
}

} // namespace vorlin
