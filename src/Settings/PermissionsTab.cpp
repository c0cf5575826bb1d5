#include "Settings/PermissionsTab.h"

#include "Settings/Texts.h"

namespace vorlin {

PermissionsTab::PermissionsTab(AppModel& model, const Ports& ports)
    : FormModel(ports.wording), model(model), workspace(ports.workspace),
      wishes(ports.loop, [this] { update(); })
{
    for (const auto* granted : {&model.microphoneGranted, &model.accessibilityGranted}) {
        changes.push_back(granted->observe([this](bool) { update(); }));
    }
    update();
}

void PermissionsTab::update()
{
    const auto paragraph = [](const char* id, const char* text) {
        return FormRow{id, {}, TextControl{text}, {}};
    };
    setForm(
        {{{},
          {},
          {row("Microphone", "To hear you while the key is held.", model.microphoneGranted.get(),
               SystemPanel::microphone),
           row("Accessibility", "To detect the dictation key and type the text into other apps.",
               model.accessibilityGranted.get(), SystemPanel::accessibility)},
          {}},
         {{},
          {},
          {paragraph("never", "Vorlin never records unless you hold the dictation key, and "
                              "audio never leaves your Mac."),
           paragraph("models", aboutModels)},
          {}}});
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
