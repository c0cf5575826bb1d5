#include "Platform/Linux/Portal/PortalAccess.h"

namespace vorlin {

PortalAccess::PortalAccess(const QDBusConnection& bus, const QDBusConnection& escapeBus,
                           Defaults& state, const std::string& desktop, MainLoop& loop)
    : memory(state, desktop), registry(bus, appId), escapeRegistry(escapeBus, escapeAppId),
      hotkey(bus, registry, "key", memory,
             {.pressed = [this](bool again) { tap.hotkeyPressed(again); },
              .released = [this] { tap.hotkeyReleased(); }}),
      escape(escapeBus, escapeRegistry, "escape", memory,
             {.pressed = [this](bool /*again*/) { tap.escapePressed(); }, .released = [] {}}),
      tap(hotkey, escape, loop), poster(bus, registry, memory)
{
}

bool PortalAccess::isGranted() const
{
    return tap.isGranted() && poster.access().get() == RemoteDesktopPoster::Access::granted;
}

void PortalAccess::ask(const Hotkey& key)
{
    const auto askForEscape = [this] { escape.ask(PortalEventTap::escapeShortcut(), [] {}); };
    const auto askForChord = [this, askForEscape] { poster.ask(askForEscape); };
    if (const auto shortcut = PortalEventTap::shortcutFor(key)) {
        hotkey.ask(*shortcut, askForChord);
    } else {
        askForChord();
    }
}

} // namespace vorlin
