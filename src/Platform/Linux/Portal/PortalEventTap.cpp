#include "Platform/Linux/Portal/PortalEventTap.h"

#include "Platform/Linux/Portal/KeyNames.h"

#include <utility>

namespace vorlin {

namespace {

/// Keys repeat sooner: a press after that is another one, and the release between them was lost.
constexpr auto longestRepeat = std::chrono::seconds(1);

} // namespace

PortalEventTap::PortalEventTap(PortalKey& hotkey, PortalKey& escape, MainLoop& loop)
    : hotkey(hotkey), escape(escape), loop(loop)
{
    hotkeyChanges = hotkey.state().observe([this](PortalKeyState) { updateConflict(); });
    escapeChanges = escape.state().observe([this](PortalKeyState) { updateConflict(); });
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

void PortalEventTap::setInterest(const KeyInterest& next)
{
    interest = next;
    if (interest.hotkey) {
        lastHotkey = interest.hotkey;
    }
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
    return hotkey.isGranted(lastHotkey ? shortcutFor(*lastHotkey) : std::nullopt);
}

void PortalEventTap::updateConflict()
{
    // Neither is told of as long as the person was not asked: the settings say so elsewhere.
    if (interest.hotkey && watchable(*interest.hotkey) == KeyWatch::nothing) {
        setConflict(KeyConflict::hotkeyMissing);
    } else if (interest.hotkey && hotkey.state().get() == PortalKeyState::taken) {
        setConflict(KeyConflict::hotkeyTaken);
    } else if (interest.escape && escape.state().get() != PortalKeyState::bound &&
               escape.state().get() != PortalKeyState::unknown) {
        setConflict(KeyConflict::escapeTaken);
    } else {
        setConflict(KeyConflict::none);
    }
}

void PortalEventTap::hotkeyPressed(bool again)
{
    const auto now = loop.now();
    const bool repeats = again && now - std::exchange(lastTold, now) < longestRepeat;
    lastTold = now;
    if (interest.hotkey) {
        tell(KeyEventType::keyDown, {.keyCode = interest.hotkey->keyCode,
                                     .flags = interest.hotkey->modifiers,
                                     .autorepeat = repeats});
    }
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
