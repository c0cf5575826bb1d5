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
                           std::optional<RemoteDesktopPoster::Places> places)
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
      tap(hotkey, escape, loop)
{
    if (places) {
        poster.emplace(bus, registry, memory, std::move(*places));
        QObject::connect(&*poster, &RemoteDesktopPoster::orphaned, &backends,
                         &PortalBackends::closeSession);
    }
    for (auto* const key : {&hotkey, &escape}) {
        QObject::connect(&backends, &PortalBackends::replaced, key, &PortalKey::reopen);
        QObject::connect(key, &PortalKey::orphaned, &backends, &PortalBackends::closeSession);
    }
}

bool PortalAccess::isUnrefused() const
{
    using enum RemoteDesktopPoster::Access;
    const auto chord = poster ? poster->access().get() : granted;
    return !tap.isRefused() && (chord == unasked || chord == granted);
}

bool PortalAccess::isGranted() const
{
    const bool hasChord = !poster || poster->access().get() == RemoteDesktopPoster::Access::granted;
    return tap.isGranted() && hasChord;
}

bool PortalAccess::canAsk() const
{
    return canAskForChord() || tap.needsQuestion() ||
           escape.needsQuestion(PortalEventTap::escapeShortcut());
}

bool PortalAccess::canAskForChord() const
{
    using enum RemoteDesktopPoster::Access;
    const auto chord = poster ? poster->access().get() : granted;
    return chord == unknown || chord == unasked || chord == refused || (poster && poster->isLate());
}

std::string PortalAccess::obstacle() const
{
    if (!poster || poster->access().get() != RemoteDesktopPoster::Access::missing) {
        return {};
    }
    if (registry.isAbsent()) {
        return "This desktop has no portal that lets Vorlin type into other apps. Install "
               "xdg-desktop-portal, and what it needs for this desktop.";
    }
    return registry.mayAsk() ? "This desktop does not let Vorlin type into other apps."
                             : "This desktop does not know Vorlin as an installed app, and lets "
                               "it neither watch keys nor type.";
}

void PortalAccess::ask(const Hotkey& key)
{
    const auto askForEscape = [this] { escape.ask(PortalEventTap::escapeShortcut(), [] {}); };
    const auto askForChord = [this, askForEscape] {
        if (poster) {
            poster->ask(askForEscape);
        } else {
            askForEscape();
        }
    };
    hotkey.ask(PortalEventTap::shortcutFor(key), askForChord);
}

} // namespace vorlin
