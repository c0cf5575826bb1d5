#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Published.h"
#include "Dictation.h"
#include "HUDView.h"
#include "Preferences.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vorlin {

/// Something a screen reader should say. A new number says it again, even if it is the same.
struct HUDAnnouncement {
    std::int64_t number = 0;
    std::string text;

    bool operator==(const HUDAnnouncement&) const = default;
};

/// What the overlay shows now, followed from a dictation and the settings: the one object a view
/// binds to. Every value changes within the call that changes its source. Main loop.
class HUDModel {
public:
    /// All must outlive this object.
    HUDModel(MainLoop& loop, const Dictation& dictation, const Preferences& preferences);
    HUDModel(const HUDModel&) = delete;
    HUDModel& operator=(const HUDModel&) = delete;

    Published<HUDSettings, HUDModel> settings;
    /// An idle session without a notice has nothing to show: the view then keeps the look of the
    /// phase before, which fades out as it was.
    Published<HUDView, HUDModel> view;
    /// Bars for the middle slot (`layout.waveform`) and the leading slot (`layout.meter`). They
    /// change only while the one or the other is shown.
    Published<HUDBars, HUDModel> waveform;
    Published<HUDBars, HUDModel> meter;
    /// The latest phase, notice or warning, as text.
    Published<HUDAnnouncement, HUDModel> announcement;

    /// Whether Escape cancels, as until the first call.
    void setHasEscape(bool has);

    /// Looks at the stored settings now.
    void readSettings();

private:
    HUDSession session() const;
    void sessionChanged();
    void update();
    void updateBars();
    /// Once per turn of the loop: a phase and its notice change one after the other.
    void announceSoon();
    void announce();

    MainLoop& loop;
    const Dictation& dictation;
    const Preferences& preferences;
    bool hasEscape = true;
    /// What `view` is made from.
    HUDSession shown;
    /// What was last said, or was there to say.
    std::string announced;
    bool announcing = false;
    std::vector<Subscription> sources;
    Lifetime lifetime;
};

} // namespace vorlin
