#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Published.h"
#include "Dictation.h"
#include "HUDModel.h"
#include "Ports/OverlayPanel.h"
#include "Ports/Screens.h"
#include "Preferences.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vorlin {

/// Shows and hides the overlay, and keeps it where the settings want it. Main loop.
///
/// While it is shown it is placed anew, without a fade, when the settings or the screens change.
/// A `show` that finds no screen takes effect when one comes.
class HUDController {
public:
    /// All must outlive this object.
    HUDController(MainLoop& loop, Screens& screens, OverlayPanel& panel,
                  const Preferences& preferences);
    HUDController(const HUDController&) = delete;
    HUDController& operator=(const HUDController&) = delete;
    /// Takes the panel off the screen.
    ~HUDController();

    /// Follows `dictation`, which must outlive this object. Call once; until then `show` shows
    /// nothing.
    void attach(const Dictation& dictation);

    /// Whether Escape cancels, so that the overlay says so. After `attach`.
    void setHasEscape(bool has);

    /// Places the panel for the current settings and fades it in over 0.18 s, from whatever alpha
    /// it has. Takes back every `hide` still to come.
    void show();

    /// Fades the panel out over 0.22 s once `after` has passed, unless `show` or `hide` is called
    /// in between.
    void hide(Duration after);

    /// The screen to show on, if there is one.
    std::optional<Screen> targetScreen() const;

    /// Counts the calls of `show` and `hide`: a fade that ends under an older count is stale.
    std::int64_t hideToken() const { return token; }

    /// What to draw; nothing before `attach`.
    const HUDModel* model() const { return content.get(); }

private:
    void fadeIn();
    void fadeOut();
    void place(const Screen& on);
    void placeAnew(const std::optional<Screen>& on);
    void screensChanged();

    MainLoop& loop;
    Screens& screens;
    OverlayPanel& panel;
    const Preferences& preferences;
    std::unique_ptr<HUDModel> content;
    std::int64_t token = 0;
    /// Until the latest `hide` takes effect.
    Timer hideTimer;
    /// `show` found no screen, and no `hide` has acted since.
    bool waitsForScreen = false;
    /// The id of the screen it was last placed on.
    std::string screenId;
    Subscription screenChanges;
    Subscription settingChanges;
    Lifetime lifetime;
};

} // namespace vorlin
