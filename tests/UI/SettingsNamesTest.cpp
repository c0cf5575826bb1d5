#include "UI/SettingsWindowFixture.h"

#include <QAccessible>

namespace vorlin {
namespace {

/// The settings as a screen reader is told of them.
class SettingsNames : public SettingsWindowFixture,
                      public testing::WithParamInterface<SettingsTab> {
protected:
    static bool isOperable(QQuickItem* item)
    {
        auto* const interface = QAccessible::queryAccessibleInterface(item);
        return interface != nullptr && interface->state().focusable;
    }
};

TEST_P(SettingsNames, everyControlHasANameAndARole)
{
    desktop.permissions.microphone = false;
    desktop.folders.putModel("/models/parakeetRedux");
    open(GetParam());
    int operable = 0;
    for (auto* item : controls()) {
        const auto role = accessibleRole(item);
        const auto described = std::string(item->metaObject()->className());
        EXPECT_NE(role, QAccessible::NoRole) << described;
        if (role != QAccessible::Client) {
            EXPECT_NE(accessibleName(item), "") << described;
        }
        operable += isOperable(item) ? 1 : 0;
    }
    EXPECT_GE(operable, 5); // the tabs at least
}

INSTANTIATE_TEST_SUITE_P(All, SettingsNames,
                         testing::Values(SettingsTab::general, SettingsTab::models,
                                         SettingsTab::popup, SettingsTab::permissions,
                                         SettingsTab::about));

} // namespace
} // namespace vorlin
