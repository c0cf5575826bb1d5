#include "MenuContent.h"

#include <utility>

namespace vorlin {

namespace {

// The ids of the menu's actions.
constexpr const char* finishSetup = "finishSetup";
constexpr const char* openSettings = "settings";
constexpr const char* quitProgram = "quit";

MenuItem action(const char* id, const char* text, std::optional<char> shortcut)
{
    return {MenuItem::Kind::action, id, text, shortcut};
}

MenuItem text(std::string words)
{
    return {MenuItem::Kind::text, {}, std::move(words), {}};
}

MenuItem separator()
{
    return {MenuItem::Kind::separator, {}, {}, {}};
}

} // namespace

MenuContent::MenuContent(AppModel& model, const Ports& ports, SettingsScene& scene,
                         std::function<void()> quit)
    : model(model), statusItem(ports.statusItem), session(ports.session), tap(ports.eventTap),
      wording(ports.wording), scene(scene), quit(std::move(quit))
{
    const auto follow = [this](const auto& source) {
        changes.push_back(source.observe([this](const auto&) { show(); }));
    };
    follow(model.dictation.phase);
    follow(model.hotkey);
    follow(model.keyWatch);
    follow(model.boundReleases);
    follow(tap.conflict());
    follow(tap.trigger());
    follow(model.accessibilityGranted);
    follow(model.trustUnasked);
    follow(model.microphoneGranted);
    follow(session.isAway());
    changes.push_back(model.preferences.observe([this] { show(); }));
    statusItem.setHandlers({lifetime.guard([this](const std::string& id) { chosen(id); }),
                            lifetime.guard([this] { this->scene.open(); })});
    show();
}

MenuContent::~MenuContent()
{
    statusItem.setHandlers({});
}

void MenuContent::show()
{
    const bool idle = model.dictation.phase.get() == Dictation::Phase::idle;
    const StatusContent content{idle ? StatusSymbol::idle : StatusSymbol::active, "Vorlin",
                                items()};
    if (content != shown) {
        shown = content;
        statusItem.show(content);
    }
}

std::vector<MenuItem> MenuContent::items() const
{
    const std::string key = wording.label(model.hotkey.get(), tap.trigger().get());
    const bool hold = model.recordMode() == RecordMode::hold;
    std::vector<MenuItem> items = {
        text(hold ? "Hold " + key + " to dictate" : "Press " + key + " to start, again to stop"),
        text(hold ? "Esc, or press again, to cancel" : "Esc to cancel")};
    if (session.isAway().get()) {
        items.insert(items.begin(), text("Paused: the system says that the screen is locked"));
    }
    if (!model.accessibilityGranted.get() || model.trustUnasked.get() ||
        !model.microphoneGranted.get()) {
        items.push_back(action(finishSetup, "Finish setup…", {}));
    }
    items.insert(items.end(), {separator(), action(openSettings, "Settings…", ','), separator(),
                               action(quitProgram, "Quit Vorlin", 'q')});
    return items;
}

void MenuContent::chosen(const std::string& id)
{
    if (id == quitProgram) {
        quit();
    } else if (id == openSettings || id == finishSetup) {
        scene.open();
    }
}

} // namespace vorlin
