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
    hotkeyChanges = hotkey.state().observe([this](PortalKeyState) {
        updateConflict();
        if (chosen && !shortcutTrigger(*chosen)) {
            noteLayoutChange(); // it is watchable, or not any more
        }
    });
    escapeChanges = escape.state().observe([this](PortalKeyState) { updateConflict(); });
    triggerChanges = hotkey.trigger().observe([this](const std::string& now) { setTrigger(now); });
    // What is watchable has changed, and with it which keys are of use.
    hotkeyPortalChanges = hotkey.portal().observe([this](KeysPortal) { noteLayoutChange(); });
    escapePortalChanges = escape.portal().observe([this](KeysPortal) { updateConflict(); });
}

PortalEventTap::~PortalEventTap()
{
    stop();
}

WantedShortcut PortalEventTap::shortcutFor(const Hotkey& hotkey)
{
    const auto trigger = shortcutTrigger(hotkey);
    return trigger ? WantedShortcut{"dictate-" + *trigger, "Dictate", *trigger}
                   : WantedShortcut{"dictate", "Dictate", ""};
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
    hotkey.want(interest.hotkey ? std::optional(shortcutFor(*interest.hotkey)) : std::nullopt);
    escape.want(interest.escape ? std::optional(escapeShortcut()) : std::nullopt);
    updateConflict();
}

KeyWatch PortalEventTap::watchable(const Hotkey& key) const
{
    const bool isGiven = key == chosen && hotkey.state().get() != PortalKeyState::taken &&
                         hotkey.isGranted(shortcutFor(key));
    const bool isWatched = hotkey.portal().get() != KeysPortal::missing &&
                           (shortcutTrigger(key).has_value() || isGiven);
    return isWatched ? KeyWatch::pressesAndReleases : KeyWatch::nothing;
}

bool PortalEventTap::isGranted() const
{
    return hotkey.portal().get() != KeysPortal::there ||
           hotkey.isGranted(chosen ? std::optional(shortcutFor(*chosen)) : std::nullopt);
}

bool PortalEventTap::isRefused() const
{
    return chosen && hotkey.isRefused(shortcutFor(*chosen));
}

bool PortalEventTap::needsQuestion() const
{
    return chosen && hotkey.needsQuestion(shortcutFor(*chosen));
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
        return needsQuestion() ? KeyConflict::hotkeyUnasked : KeyConflict::hotkeyMissing;
    }
    switch (key) {
    case unasked:
    case refused:
    case unanswered: return KeyConflict::hotkeyUnasked;
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
        tellHotkey(*interest.hotkey, /*isDown=*/true,
                   {.autorepeat = repeated, .time = timeOf(timestamp)});
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
        tellHotkey(*interest.hotkey, /*isDown=*/false, {});
    }
}

/// As the hotkey would be told of itself, whichever key the desktop watches in its place.
void PortalEventTap::tellHotkey(const Hotkey& key, bool isDown, KeyEvent event)
{
    event.keyCode = key.keyCode;
    if (key.modifierOnly) {
        event.flags = isDown ? Hotkey::flag(key.keyCode).value_or(0) : 0;
        tell(KeyEventType::flagsChanged, event);
    } else {
        event.flags = isDown ? key.modifiers : 0;
        tell(isDown ? KeyEventType::keyDown : KeyEventType::keyUp, event);
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
