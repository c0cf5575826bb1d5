#include "HUDController.h"

#include <algorithm>
#include <span>

namespace vorlin {

namespace {

constexpr auto fadeInTime = std::chrono::milliseconds(180);
constexpr auto fadeOutTime = std::chrono::milliseconds(220);

} // namespace

HUDController::HUDController(MainLoop& loop, Screens& screens, OverlayPanel& panel,
                             const Preferences& preferences)
    : loop(loop), screens(screens), panel(panel), preferences(preferences)
{
}

HUDController::~HUDController()
{
    if (content) {
        panel.order(OverlayPanel::Order::out);
    }
}

void HUDController::attach(const Dictation& dictation)
{
    content = std::make_unique<HUDModel>(loop, dictation, preferences);
    screenChanges = screens.observe([this] { screensChanged(); });
    settingChanges =
        content->settings.observe([this](const HUDSettings&) { placeAnew(targetScreen()); });
}

void HUDController::setHasEscape(bool has)
{
    content->setHasEscape(has);
}

void HUDController::show()
{
    ++token;
    hideTimer.reset();
    if (content) {
        content->readSettings();
        fadeIn();
    }
}

void HUDController::fadeIn()
{
    const auto screen = targetScreen();
    waitsForScreen = !screen;
    if (!screen) {
        return;
    }
    const bool unseen = !panel.isVisible() || !(panel.alpha() > 0);
    place(*screen);
    if (unseen) {
        panel.animateAlpha(0, Duration::zero(), {});
    }
    panel.order(OverlayPanel::Order::front);
    panel.animateAlpha(1, fadeInTime, {});
}

void HUDController::hide(Duration after)
{
    ++token;
    hideTimer = loop.startTimer(after, [this] { fadeOut(); });
}

void HUDController::fadeOut()
{
    if (!content) {
        return;
    }
    waitsForScreen = false;
    panel.animateAlpha(0, fadeOutTime, lifetime.guard([this, hide = token] {
        if (token == hide) {
            panel.order(OverlayPanel::Order::out);
        }
    }));
}

std::optional<Screen> HUDController::targetScreen() const
{
    return chosenScreen(screens.all(), preferences.hudDisplay(), screens.pointer());
}

void HUDController::place(const Screen& on)
{
    const HUDSettings& settings = content->settings.get();
    const Rect& visible = on.visibleFrame;
    const bool usable = visible.width > 0 && visible.height > 0;
    screenId = on.id;
    panel.setFrame(panelFrame(usable ? visible : on.frame,
                              panelSize(settings.scale, settings.textMode), settings.position,
                              settings.margin));
}

void HUDController::placeAnew(const std::optional<Screen>& on)
{
    if (on && panel.isVisible()) {
        place(*on);
    }
}

void HUDController::screensChanged()
{
    if (waitsForScreen) {
        fadeIn();
        return;
    }
    // The pointer may be elsewhere by now; the overlay stays where the person saw it.
    const auto all = screens.all();
    const auto same = std::ranges::find(all, screenId, &Screen::id);
    placeAnew(same == all.end() ? targetScreen() : *same);
}

} // namespace vorlin
