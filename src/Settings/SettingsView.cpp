#include "Settings/SettingsView.h"

namespace vorlin {

SettingsView::SettingsView(AppModel& model, const Ports& ports, const BuildFacts& build)
    : general(model, ports), models(model.models, model.speeds, ports), popup(model, ports.wording),
      permissions(model, ports), about(build, ports)
{
}

const FormModel& SettingsView::tab(SettingsTab which) const
{
    switch (which) {
    case SettingsTab::general: return general;
    case SettingsTab::models: return models;
    case SettingsTab::popup: return popup;
    case SettingsTab::permissions: return permissions;
    case SettingsTab::about: break;
    }
    return about;
}

} // namespace vorlin
