#include "Platform/Linux/Keys/X11EventTap.h"

#include "Platform/Linux/Keys/ClassicGrabs.h"

#include <array>
#include <chrono>
#include <exception>
#include <utility>

namespace vorlin {

/// What lives from a start to its stop.
struct X11EventTap::Session {
    Handler handler;
    X11KeyGrabs grabs;
    /// Keys whose press was told and whose release was not yet.
    KeySet told;
    /// Flags after the latest change.
    std::uint64_t flags = 0;
    /// The handler is being asked about the front of `grabs`.
    bool judging = false;
    bool ended = false;

    Session(Handler handler, X11Connection::Callbacks callbacks, xcb_input_device_id_t keyboard)
        : handler(std::move(handler)), grabs(std::move(callbacks), keyboard)
    {
    }

    bool tell(KeyEventType type, HardwareKey key, std::uint64_t eventFlags, bool autorepeat = false)
    {
        const auto code = virtualKey(key);
        return code && handler(type, {*code, eventFlags, autorepeat});
    }
};

namespace {

/// How long window managers may take to take their keys: a quick one, one on a busy machine, and
/// one that is starved.
constexpr std::array<std::chrono::milliseconds, 5> retakes = {
    std::chrono::milliseconds(20), std::chrono::milliseconds(80), std::chrono::milliseconds(400),
    std::chrono::milliseconds(1500), std::chrono::milliseconds(5000)};
/// After so many all but starved ones are done.
constexpr std::size_t usualRetakes = 4;
/// Between the hotkey's modifier, at which a window manager may take its keys anew, and its own
/// key.
constexpr std::chrono::milliseconds retakeEvery{10};
constexpr std::size_t retakesBeforeTheKey = 20;

/// It answers within a fraction of a millisecond.
constexpr std::chrono::milliseconds serverIsBusy{50};

/// Whether `left` is not later than `right`; time stamps wrap around.
bool isNotLater(std::uint32_t left, std::uint32_t right)
{
    return static_cast<std::int32_t>(left - right) <= 0;
}

bool isSame(const KeyChange& change, const X11KeyGrabs::Grabbed& grabbed)
{
    return change.key == grabbed.key && change.down == grabbed.down &&
           change.time == grabbed.time && !grabbed.autorepeat;
}

} // namespace

X11EventTap::X11EventTap(X11Keyboard& keyboard, MainLoop& loop) : keyboard(keyboard), loop(loop)
{
    availability = keyboard.available().observe([this](bool available) {
        if (!available) {
            stop();
        }
    });
}

X11EventTap::~X11EventTap()
{
    stop();
}

bool X11EventTap::start(Handler handler)
{
    stop();
    return keyboard.available().get() && keyboard.server().isAlive() &&
           openSession(std::move(handler));
}

bool X11EventTap::openSession(Handler handler)
{
    auto next =
        std::make_shared<Session>(std::move(handler),
                                  X11Connection::Callbacks{.readable = [this] { pump(); },
                                                           .lost = [this] { reopenSession(); }},
                                  keyboard.devices().master);
    if (!next->grabs.isAlive()) {
        return false;
    }
    session = std::move(next);
    watching = keyboard.watch({.changed = [this] { pump(); },
                               .replaced =
                                   [this] {
                                       if (session) {
                                           session->grabs.setKeyboard(keyboard.devices().master);
                                           applyInterest();
                                           attempt = 0;
                                           retakeSoon();
                                           noteLayoutChange();
                                       }
                                   }});
    // Read now, so that the first key press need not wait for it.
    keyboard.postedLayout();
    applyInterest();
    attempt = 0;
    retakeSoon(); // the map may just have changed
    return true;
}

void X11EventTap::stop()
{
    watching.reset();
    again.reset();
    keyIsNext.reset();
    if (session) {
        endSession();
    }
}

void X11EventTap::endSession()
{
    session->ended = true;
    if (!session->judging) {
        session->grabs.end();
    }
    // We may have been called by the session's own connection: destroy it from the loop.
    QMetaObject::invokeMethod(
        &context, [ended = std::move(session)] {}, Qt::QueuedConnection);
    session.reset();
    isShared = false;
    setConflict(KeyConflict::none);
}

/// The server closed our connection alone: another one may do.
void X11EventTap::reopenSession()
{
    if (!session || session->grabs.isAlive()) {
        return;
    }
    start(Handler(session->handler));
}

void X11EventTap::setInterest(const KeyInterest& next)
{
    isShared = isShared && next.hotkey == interest.hotkey;
    interest = next;
    applyInterest();
}

bool X11EventTap::typesCharacters(std::uint16_t keyCode)
{
    const auto key = hardwareKey(keyCode);
    return key && keyboard.typedLayout().choosesLevel(*key);
}

void X11EventTap::applyInterest()
{
    if (!session) {
        return;
    }
    X11KeyGrabs::Wanted wanted;
    if (interest.hotkey && !interest.hotkey->modifierOnly) {
        if (const auto key = hardwareKey(interest.hotkey->keyCode)) {
            wanted[*key] = keyboard.typedLayout().statesFor(interest.hotkey->modifiers);
        }
    }
    if (interest.escape) {
        // Any: the hotkey itself may be held, and its modifiers with it.
        wanted[hardwareKeys::escape] = {X11KeyGrabs::anyState};
    }
    session->grabs.want(wanted);
    setConflict(findConflict());
}

/// Window managers take their keys anew when the layout may have changed, which for them is also
/// when keys are posted and typed in turn. Nothing says when they are done.
void X11EventTap::retakeSoon()
{
    retake();
    if (attempt >= usualRetakes) {
        lookForSharers();
    }
    if (attempt < retakes.size()) {
        again = loop.startTimer(retakes.at(attempt++), [this] { retakeSoon(); });
    }
}

void X11EventTap::retakeBeforeTheKey(std::size_t done)
{
    const TimePoint begun = loop.now();
    retake();
    // Where another program has the server to itself, each would wait for it.
    if (done < retakesBeforeTheKey && loop.now() - begun < serverIsBusy) {
        keyIsNext = loop.startTimer(retakeEvery, [this, done] { retakeBeforeTheKey(done + 1); });
    }
}

void X11EventTap::lookForSharers()
{
    const auto& hotkey = interest.hotkey;
    const auto key = hotkey && !hotkey->modifierOnly ? hardwareKey(hotkey->keyCode) : std::nullopt;
    isShared = key && isGrabbedClassically(keyboard.server(), *key,
                                           keyboard.typedLayout().modifiersFor(hotkey->modifiers));
    if (session) {
        setConflict(findConflict());
    }
}

void X11EventTap::retake()
{
    if (session && !session->judging) {
        session->grabs.retake();
        setConflict(findConflict());
    }
}

KeyConflict X11EventTap::findConflict() const
{
    const auto& refused = session->grabs.refused();
    if (interest.hotkey && !interest.hotkey->modifierOnly) {
        const auto key = hardwareKey(interest.hotkey->keyCode);
        if (!key) {
            return KeyConflict::hotkeyMissing;
        }
        if (refused.contains(*key)) {
            return KeyConflict::hotkeyTaken;
        }
    }
    if (!refused.empty()) {
        return KeyConflict::escapeTaken;
    }
    return isShared ? KeyConflict::hotkeyShared : KeyConflict::none;
}

void X11EventTap::pump()
{
    if (pumping) {
        return;
    }
    pumping = true;
    const auto done = [this](void*) { pumping = false; };
    const std::unique_ptr<void, decltype(done)> whileHere(this, done);
    while (const auto current = session) {
        if (!step(*current)) {
            break;
        }
    }
}

/// Deals with the oldest thing that happened. The keyboard's changes are complete but cannot be
/// answered, the grabbed keys are few but must be: matched, they are one sequence.
bool X11EventTap::step(Session& current)
{
    const auto* grabbed = current.grabs.front();
    if (grabbed != nullptr) {
        keyboard.sync();
    } else {
        keyboard.read();
    }
    const auto* next = keyboard.nextChange();
    if (next != nullptr && grabbed == nullptr && next->down && current.grabs.wants(next->key)) {
        grabbed = current.grabs.frontAfterSync();
    }
    if (next == nullptr || (grabbed != nullptr && !isSame(*next, *grabbed) &&
                            !isNotLater(next->time, grabbed->time))) {
        if (grabbed != nullptr) {
            judge(current, false);
        }
        return grabbed != nullptr;
    }
    const auto change = *next;
    keyboard.dropChange();
    const bool wasGrabbed = grabbed != nullptr && isSame(change, *grabbed);
    std::exception_ptr failure;
    if (!change.posted) {
        current.flags = change.flags;
        if (!wasGrabbed || !change.down || !current.grabs.wants(change.key)) {
            try {
                watch(current, change);
            } catch (...) {
                failure = std::current_exception();
            }
        }
    }
    if (wasGrabbed && !current.ended) {
        judge(current, change.posted);
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    return true;
}

/// Tells of a change that is not, or not yet, to be answered.
void X11EventTap::watch(Session& current, const KeyChange& change)
{
    const auto code = virtualKey(change.key);
    if (!code) {
        return;
    }
    if (isModifierKey(*code)) {
        silence(change);
        current.tell(KeyEventType::flagsChanged, change.key, change.flags);
        keyIsNext.reset();
        if (completesModifiers(change)) {
            retakeBeforeTheKey(0);
        }
    } else if (change.down) {
        if (isHotkey(change)) {
            retake(); // another program got it: the next one is ours
        }
        if (change.key == hardwareKeys::escape && interest.escape) {
            current.told[change.key] = true;
            current.tell(KeyEventType::keyDown, change.key, change.flags);
        }
    } else if (current.told[change.key]) {
        current.told[change.key] = false;
        current.tell(KeyEventType::keyUp, change.key, change.flags);
    }
}

/// Whether a press is the hotkey's by the keys that are held; what is latched nothing tells.
bool X11EventTap::isHotkey(const KeyChange& change)
{
    const auto& hotkey = interest.hotkey;
    return hotkey && !hotkey->modifierOnly && hardwareKey(hotkey->keyCode) == change.key &&
           heldModifiers(change) == hotkey->modifiers;
}

/// Whether a modifier's press is the last before the hotkey's own key.
bool X11EventTap::completesModifiers(const KeyChange& change)
{
    const auto& hotkey = interest.hotkey;
    return change.down && hotkey && !hotkey->modifierOnly &&
           heldModifiers(change) == hotkey->modifiers;
}

/// Those that count for a hotkey and are held after a change.
std::uint64_t X11EventTap::heldModifiers(const KeyChange& change)
{
    const auto& layout = keyboard.typedLayout();
    const auto& held = keyboard.held();
    XModifiers effective = 0;
    for (unsigned key = 0; key < held.size(); ++key) {
        effective |= held[key] ? layout.modifiersOf(static_cast<HardwareKey>(key)) : 0;
    }
    return layout.joinedFlags(change.flags, effective) & eventFlags::maskHotkeyModifiers;
}

void X11EventTap::silence(const KeyChange& change)
{
    const auto& hotkey = interest.hotkey;
    if (!change.down || !hotkey || !hotkey->modifierOnly ||
        hardwareKey(hotkey->keyCode) != change.key) {
        return;
    }
    const auto flag = Hotkey::flag(hotkey->keyCode);
    if (flag == eventFlags::maskAlternate || flag == eventFlags::maskCommand) {
        keyboard.postSilentKey();
        keyboard.server().flush();
    }
}

/// Answers the front of the grabbed keys. What we posted is for programs.
void X11EventTap::judge(Session& current, bool posted)
{
    const auto key = *current.grabs.front();
    bool swallow = false;
    std::exception_ptr failure;
    if (key.down && !posted && current.grabs.wants(key.key)) {
        current.told[key.key] = true;
        current.judging = true;
        keyIsNext.reset();
        try {
            swallow = current.tell(KeyEventType::keyDown, key.key,
                                   keyboard.typedLayout().joinedFlags(current.flags, key.modifiers),
                                   key.autorepeat);
        } catch (...) {
            failure = std::current_exception();
        }
        current.judging = false;
    }
    if (swallow) {
        // The release must wait behind the press before the keyboard goes on.
        keyboard.lift(key.key);
        keyboard.server().sync();
        current.grabs.swallow();
    } else {
        current.grabs.pass();
    }
    if (current.ended) {
        current.grabs.end();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace vorlin
