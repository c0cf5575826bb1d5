#include "Platform/Linux/Portal/PortalEventTap.h"

#include "Platform/Linux/Portal/KeyNames.h"

#include <utility>

namespace vorlin {

namespace {

/// Keys repeat sooner: a press after that is another one, and the release between them was lost.
constexpr auto longestRepeat = std::chrono::seconds(1);

std::optional<std::chrono::milliseconds> timeOf(std::uint64_t timestamp)
{
    return timestamp == 0 ? std::nullopt : std::optional(std::chrono::milliseconds(timestamp));
}

} // namespace

PortalEventTap::PortalEventTap(PortalKey& hotkey, PortalKey& escape, MainLoop& loop)
    : hotkey(hotkey), escape(escape), loop(loop)
{
    hotkeyChanges = hotkey.state().observe([this](PortalKeyState) { updateConflict(); });
    escapeChanges = escape.state().observe([this](PortalKeyState) { updateConflict(); });
    triggerChanges = hotkey.trigger().observe([this](const std::string& now) { setTrigger(now); });
    escapePortalChanges = escape.portal().observe([this](KeysPortal) { updateConflict(); });
}

PortalEventTap::~PortalEventTap()
{
    stop();
}

std::optional<WantedShortcut> PortalEventTap::shortcutFor(const Hotkey& hotkey)
{
    const auto trigger = shortcutTrigger(hotkey);
    if (!trigger) {
        return std::nullopt;
    }
    return WantedShortcut{"dictate-" + *trigger, "Dictate", *trigger};
}

WantedShortcut PortalEventTap::escapeShortcut()
{
    return {"cancel", "Cancel the dictation", "Escape"};
}

bool PortalEventTap::start(Handler next)
{
    handler = std::move(next);
    return true;
}

void PortalEventTap::stop()
{
    handler = nullptr; // nothing that is held is told of any more
    setInterest({});
}

void PortalEventTap::choose(const Hotkey& next)
{
    chosen = next;
    updateConflict();
}

void PortalEventTap::setInterest(const KeyInterest& next)
{
    interest = next;
    hotkey.want(interest.hotkey ? shortcutFor(*interest.hotkey) : std::nullopt);
    escape.want(interest.escape ? std::optional(escapeShortcut()) : std::nullopt);
    updateConflict();
}

KeyWatch PortalEventTap::watchable(const Hotkey& key) const
{
    return shortcutFor(key) ? KeyWatch::pressesAndReleases : KeyWatch::nothing;
}

bool PortalEventTap::isGranted() const
{
    return hotkey.isGranted(chosen ? shortcutFor(*chosen) : std::nullopt);
}

bool PortalEventTap::needsQuestion() const
{
    const auto shortcut = chosen ? shortcutFor(*chosen) : std::nullopt;
    return shortcut && hotkey.needsQuestion(*shortcut);
}

/// What the person would have to be asked for, or what the desktop cannot do, is a conflict while
/// nothing is watched, too: that is why.
KeyConflict PortalEventTap::present() const
{
    using enum PortalKeyState;
    const auto key = hotkey.state().get();
    if (key == missing) {
        return KeyConflict::unwatched;
    }
    if (!chosen) {
        return KeyConflict::none;
    }
    if (!interest.hotkey) {
        return needsQuestion() ? KeyConflict::hotkeyUnasked : questionOfEscape();
    }
    if (watchable(*interest.hotkey) == KeyWatch::nothing) {
        return KeyConflict::hotkeyMissing;
    }
    switch (key) {
    case unasked:
    case refused: return KeyConflict::hotkeyUnasked;
    case taken: return KeyConflict::hotkeyTaken;
    case bound: return presentOfEscape();
    default: return questionOfEscape();
    }
}

/// Whether it is wanted just now or not, but for what only a session tells.
KeyConflict PortalEventTap::presentOfEscape() const
{
    switch (escape.state().get()) {
    case PortalKeyState::missing: return KeyConflict::escapeUnwatched;
    case PortalKeyState::taken: return KeyConflict::escapeTaken;
    case PortalKeyState::bound: return KeyConflict::none;
    default: return questionOfEscape();
    }
}

KeyConflict PortalEventTap::questionOfEscape() const
{
    return escape.needsQuestion(escapeShortcut()) ? KeyConflict::escapeUnasked : KeyConflict::none;
}

void PortalEventTap::hotkeyPressed(bool again, std::uint64_t timestamp)
{
    const bool repeated = repeats(timestamp) && again;
    if (interest.hotkey) {
        tell(KeyEventType::keyDown, {.keyCode = interest.hotkey->keyCode,
                                     .flags = interest.hotkey->modifiers,
                                     .autorepeat = repeated,
                                     .time = timeOf(timestamp)});
    }
}

/// Whether it was told of just before; by the desktop's time where it tells that: this program may
/// have been busy meanwhile.
bool PortalEventTap::repeats(std::uint64_t timestamp)
{
    const auto now = loop.now();
    const auto here = now - std::exchange(lastTold, now);
    const auto before = std::exchange(lastTimestamp, timestamp);
    if (before == 0 || timestamp < before) {
        return here < longestRepeat;
    }
    return std::chrono::milliseconds(timestamp - before) < longestRepeat;
}

void PortalEventTap::hotkeyReleased()
{
    if (interest.hotkey) {
        tell(KeyEventType::keyUp, {.keyCode = interest.hotkey->keyCode});
    }
}

void PortalEventTap::escapePressed()
{
    if (interest.escape) {
        tell(KeyEventType::keyDown, {.keyCode = keyCodes::escape});
    }
}

void PortalEventTap::tell(KeyEventType type, const KeyEvent& event)
{
    if (const auto current = handler) { // which may stop the tap
        current(type, event);
    }
}

} // namespace vorlin
