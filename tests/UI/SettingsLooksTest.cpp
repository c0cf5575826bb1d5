#include "UI/Pictures.h"
#include "UI/SettingsWindowFixture.h"

#include <QGuiApplication>
#include <QPainter>

#include <functional>
#include <utility>
#include <vector>

namespace vorlin {
namespace {

/// Every look of the settings window, by name.
class SettingsLook : public SettingsWindowFixture, public testing::WithParamInterface<const char*> {
protected:
    using Play = std::function<void()>;

    void addMine()
    {
        desktop.folders.putModel("/models/parakeetRedux", 641'000'000);
        desktop.folders.putModel("/disk/models/mine", 1'200'000'000);
        open(SettingsTab::models);
        model->models.addLocal("/disk/models/mine", "Mine");
        settle();
    }

    void addLongNames()
    {
        desktop.folders.putModel("/disk/models/mine", 1'200'000'000);
        desktop.folders.putModel("/disk/models/old", 1'200'000'000);
        open(SettingsTab::models);
        model->models.addLocal("/disk/models/mine",
                               "Parakeet for long meetings, exported on a Sunday in November");
        settle();
        model->models.addLocal("/disk/models/old", "نموذج التعرّف على الكلام للاجتماعات الطويلة");
        settle();
        focus("Use Built-in Speech");
        press(Qt::Key_PageDown); // to the end of the list
    }

    const std::vector<std::pair<std::string, Play>> looks = {
        {"general", [this] { open(SettingsTab::general); }},
        {"recording",
         [this] {
             open(SettingsTab::general);
             view->general.recorder.click();
         }},
        {"conflict",
         [this] {
             open(SettingsTab::general);
             view->general.recorder.click();
             desktop.recorderKeys.keyDown(keyCodes::space);
             view->general.recorder.click();
         }},
        {"languages",
         [this] {
             open(SettingsTab::general);
             focus("Language (Built-in Speech)");
             press(Qt::Key_Space);
         }},
        {"models", [this] { addMine(); }},
        {"long", [this] { addLongNames(); }},
        {"popup", [this] { open(SettingsTab::popup); }},
        {"permissions",
         [this] {
             desktop.permissions.microphone = false;
             open(SettingsTab::permissions);
         }},
        {"about", [this] { open(SettingsTab::about); }},
        {"sheet",
         [this] {
             open(SettingsTab::models);
             view->models.sheet.open();
         }},
        {"keyboard",
         [this] {
             open(SettingsTab::popup);
             focus("Center");
         }},
    };
};

TEST_P(SettingsLook, isWhatItWasWhenSomebodyLookedAtIt)
{
    const auto found = std::ranges::find(looks, GetParam(), &std::pair<std::string, Play>::first);
    ASSERT_NE(found, looks.end());
    found->second();
    const QImage light = picture();
    window->setAppearance(true, true);
    const QImage dark = picture();
    QImage both(light.width() + dark.width(), dark.height(), QImage::Format_RGB32);
    QPainter painter(&both);
    painter.drawImage(QRect({0, 0}, light.size()), light);
    painter.drawImage(QRect({light.width(), 0}, dark.size()), dark);
    painter.end();
    const auto percent = static_cast<int>(100 * qGuiApp->devicePixelRatio());
    const std::string name = "settings-" + found->first + "-" + std::to_string(percent);
    keep(both, name);
    const QImage known = reference(name);
    ASSERT_EQ(known.size(), both.size());
    EXPECT_LE(visibleDifference(both, known), 40);
}

INSTANTIATE_TEST_SUITE_P(All, SettingsLook,
                         testing::Values("general", "recording", "conflict", "languages", "models",
                                         "long", "popup", "permissions", "about", "sheet",
                                         "keyboard"),
                         [](const auto& look) { return std::string(look.param); });

} // namespace
} // namespace vorlin
