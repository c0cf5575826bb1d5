#include "Settings/PermissionsTab.h"

#include "Settings/Texts.h"

#include <utility>
#include <vector>

namespace vorlin {

namespace {

constexpr const char* keyboardIsSecured =
    "Another app has the keyboard to itself, as for a password. Until it lets go of it, the "
    "dictation key is not seen.";
// Some desktops' question has a switch for it, and no word of what it is for.
constexpr const char* askedAsRemoteControl =
    "The desktop asks for it as remote control. Switch on \"Allow Remote Interaction\" where it is "
    "offered, and press \"Share\": Vorlin types its text that way.";
constexpr const char* screenIsLocked =
    "The system says that the screen is locked. Until it takes that back, the dictation key does "
    "nothing. If the screen is open, lock and unlock it once.";

} // namespace

PermissionsTab::PermissionsTab(AppModel& model, const Ports& ports)
    : FormModel(ports.wording), model(model), permissions(ports.permissions),
      session(ports.session), workspace(ports.workspace), wishes(ports.loop, [this] { update(); })
{
    for (const auto* granted :
         {&model.microphoneGranted, &model.accessibilityGranted, &model.keyboardSecured,
          &model.trustUnasked, &model.canAskForTrust, &model.wouldAskForTyping}) {
        changes.push_back(granted->observe([this](bool) { update(); }));
    }
    changes.push_back(model.trustObstacle.observe([this](const std::string&) { update(); }));
    changes.push_back(session.isAway().observe([this](bool) { update(); }));
    // What is still to be asked for may be one of the keys.
    changes.push_back(ports.eventTap.conflict().observe([this](KeyConflict) { update(); }));
    update();
}

void PermissionsTab::update()
{
    const auto paragraph = [](const char* id, const char* text) {
        return FormRow{id, {}, TextControl{text}, {}};
    };
    std::vector<FormRow> promises = {
        paragraph("never",
                  "Vorlin never records unless you hold the dictation key, and audio never "
                  "leaves your Mac."),
        paragraph("models", aboutModels)};
    if (model.keyboardSecured.get()) {
        promises.insert(promises.begin(), paragraph("secured", keyboardIsSecured));
    }
    if (session.isAway().get()) {
        promises.insert(promises.begin(), paragraph("locked", screenIsLocked));
    }
    setForm({{{},
              {},
              {row("Microphone", "To hear you while the key is held.",
                   model.microphoneGranted.get(), SystemPanel::microphone),
               accessibilityRow()},
              {}},
             {{}, {}, std::move(promises), {}}});
}

FormRow PermissionsTab::accessibilityRow()
{
    const bool granted = model.accessibilityGranted.get() && !model.trustUnasked.get();
    auto shown =
        row("Accessibility", "To detect the dictation key and type the text into other apps.",
            granted, SystemPanel::accessibility);
    if (permissions.canAskForTrust()) {
        std::get<PermissionControl>(shown.control).open = Command{
            .text = "Allow…",
            .press = lifetime.guard([this] { permissions.askForTrust(model.hotkey.get()); })};
        shown.caption = !granted && permissions.wouldAskForTyping() ? askedAsRemoteControl : "";
    } else if (const auto obstacle = permissions.trustObstacle(); !obstacle.empty() && !granted) {
        std::get<PermissionControl>(shown.control).open.reset();
        shown.caption = obstacle;
    }
    return shown;
}

FormRow PermissionsTab::row(const std::string& title, const std::string& reason, bool granted,
                            SystemPanel panel)
{
    PermissionControl control{.granted = granted,
                              .symbol =
                                  granted ? "checkmark.circle.fill" : "exclamationmark.circle.fill",
                              .state = granted ? "Granted" : "Not granted",
                              .reason = reason,
                              .open = {}};
    const bool hasPanel = workspace.hasPanel(panel);
    if (!granted && hasPanel) {
        control.open =
            Command{.text = "Open Settings", .press = lifetime.guard([this, title, panel] {
                        wishes.follow(title, this->workspace.openPanel(panel));
                    })};
    }
    return {title, title, control,
            !granted && !hasPanel ? "This desktop has no settings page for it." : "",
            granted ? "" : wishes.problem(title)};
}

} // namespace vorlin
