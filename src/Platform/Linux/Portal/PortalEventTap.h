#pragma once

#include "Async/MainLoop.h"
#include "Platform/Linux/Portal/PortalKey.h"
#include "Ports/EventTap.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace vorlin {

/// The keyboard as the portals show it: the dictation key, and Escape while a dictation runs, each
/// under an app id of its own. A key that is told of is always swallowed. What the person would
/// have to be asked first is not watched, and `start` asks nobody. Main loop.
///
/// A desktop may tell of a release that was another key's, or never tell of one.
class PortalEventTap final : public EventTap {
public:
    /// Both must outlive this object, which is told of their keys from its first `start` on.
    PortalEventTap(PortalKey& hotkey, PortalKey& escape, MainLoop& loop);
    PortalEventTap(const PortalEventTap&) = delete;
    PortalEventTap& operator=(const PortalEventTap&) = delete;
    ~PortalEventTap() override;

    bool start(Handler handler) override;
    void stop() override;
    void enable() override {}
    void choose(const Hotkey& hotkey) override;
    void setInterest(const KeyInterest& interest) override;
    bool typesCharacters(std::uint16_t /*keyCode*/) override { return false; }
    /// Ordinary keys, unless the portals are known to watch none. Modifiers alone make no shortcut:
    /// one that is chosen is told of when another key is pressed that the person gave in the
    /// desktop.
    KeyWatch watchable(const Hotkey& hotkey) const override;
    bool losesReleases() const override { return true; }

    /// Whether the chosen hotkey needs no question, as where no portal would ask one.
    bool isGranted() const;
    /// Whether the portals are there, and the person has refused it.
    bool isRefused() const;
    /// Whether the portals are there, and it needs a question.
    bool needsQuestion() const;

    /// What the portals tell of the hotkey and of Escape; see `PortalKey::Callbacks`.
    void hotkeyPressed(bool again, std::uint64_t timestamp);
    void hotkeyReleased();
    void escapePressed();

    /// The shortcut that stands for a hotkey; where it makes none, the one that the person chooses
    /// in the desktop.
    static WantedShortcut shortcutFor(const Hotkey& hotkey);
    static WantedShortcut escapeShortcut();

private:
    void updateConflict() { setConflict(present()); }
    KeyConflict present() const;
    KeyConflict presentOfEscape() const;
    KeyConflict questionOfEscape() const;
    void tellHotkey(const Hotkey& key, bool isDown, KeyEvent event);
    bool repeats(std::uint64_t timestamp);
    void tell(KeyEventType type, const KeyEvent& event);

    PortalKey& hotkey;
    PortalKey& escape;
    MainLoop& loop;
    Handler handler;
    KeyInterest interest;
    std::optional<Hotkey> chosen;
    /// When the hotkey was told of last, here and by the desktop's time.
    TimePoint lastTold;
    std::uint64_t lastTimestamp = 0;
    Subscription hotkeyChanges;
    Subscription hotkeyPortalChanges;
    Subscription escapeChanges;
    Subscription escapePortalChanges;
    Subscription triggerChanges;
};

} // namespace vorlin
