#include "Platform/Linux/Portal/PortalAccess.h"

#include <QObject>

#include <chrono>
#include <utility>

namespace vorlin {

namespace {

/// A dialog would take the focus from who is dictating; the hotkey's comes ahead of that.
constexpr PortalKeyTimes escapeTimes{.patience = std::chrono::seconds(1)};

} // namespace

PortalAccess::PortalAccess(const QDBusConnection& bus, const QDBusConnection& escapeBus,
                           Defaults& state, const std::string& desktop, MainLoop& loop,
                           RemoteDesktopPoster::Places places)
    : memory(state, desktop), registry(bus, appId),
      // Under one name with the hotkey it would take the hotkey's place.
      escapeRegistry(escapeBus, escapeAppId, HostRegistry::Nameless::refused),
      backends(bus, registry),
      hotkey(bus, registry, "key", memory,
             {.pressed = [this](bool again,
                                std::uint64_t timestamp) { tap.hotkeyPressed(again, timestamp); },
              .released = [this] { tap.hotkeyReleased(); }}),
      escape(escapeBus, escapeRegistry, "escape", memory,
             {.pressed = [this](bool, std::uint64_t) { tap.escapePressed(); }, .released = [] {}},
             escapeTimes),
      tap(hotkey, escape, loop), poster(bus, registry, memory, std::move(places))
{
    for (auto* const key : {&hotkey, &escape}) {
        QObject::connect(&backends, &PortalBackends::replaced, key, &PortalKey::reopen);
        QObject::connect(key, &PortalKey::orphaned, &backends, &PortalBackends::closeSession);
    }
    QObject::connect(&poster, &RemoteDesktopPoster::orphaned, &backends,
                     &PortalBackends::closeSession);
}

bool PortalAccess::isGranted() const
{
    return tap.isGranted() && poster.access().get() == RemoteDesktopPoster::Access::granted;
}

bool PortalAccess::canAsk() const
{
    using enum RemoteDesktopPoster::Access;
    const auto chord = poster.access().get();
    return registry.portal().isEmpty() || tap.needsQuestion() || chord == unknown ||
           chord == unasked || chord == refused ||
           escape.needsQuestion(PortalEventTap::escapeShortcut());
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
