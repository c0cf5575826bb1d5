#pragma once

#include "AppModel.h"
#include "Ports/Ports.h"
#include "Settings/AboutTab.h"
#include "Settings/GeneralTab.h"
#include "Settings/ModelsTab.h"
#include "Settings/PermissionsTab.h"
#include "Settings/PopupTab.h"

#include <array>
#include <string_view>

namespace vorlin {

enum class SettingsTab { general, models, popup, permissions, about };

/// How a tab is called.
struct SettingsTabLabel {
    SettingsTab tab;
    std::string_view text;
    /// The name of its symbol.
    std::string_view symbol;
};
inline constexpr std::array<SettingsTabLabel, 5> settingsTabs = {{
    {SettingsTab::general, "General", "gearshape"},
    {SettingsTab::models, "Models", "square.stack.3d.up"},
    {SettingsTab::popup, "Popup", "rectangle.inset.filled.and.person.filled"},
    {SettingsTab::permissions, "Permissions", "hand.raised"},
    {SettingsTab::about, "About", "info.circle"},
}};

/// Everything that the settings window shows. Made with the window, and gone with it. Main loop.
class SettingsView {
public:
    static constexpr std::string_view title = "Vorlin Settings";
    /// The size of the window's content in points.
    static constexpr double width = 560;
    static constexpr double height = 470;

    /// All must outlive this object.
    SettingsView(AppModel& model, const Ports& ports, const BuildFacts& build);
    SettingsView(const SettingsView&) = delete;
    SettingsView& operator=(const SettingsView&) = delete;

    GeneralTab general;
    ModelsTab models;
    PopupTab popup;
    PermissionsTab permissions;
    AboutTab about;

    /// The window has got the focus: asks for what may have changed meanwhile without a word.
    void activated() { general.readLoginItem(); }

    /// What a tab shows.
    const FormModel& tab(SettingsTab which) const;
};

} // namespace vorlin
