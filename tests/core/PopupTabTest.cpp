#include "SettingsFixture.h"

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Names = std::vector<std::string>;

class PopupTabTest : public SettingsFixture {
protected:
    PopupTabTest() { open(); }

    template <class Control>
    const Control& control(const std::string& id) const
    {
        return SettingsFixture::control<Control>(SettingsTab::popup, id);
    }
    const FormRow& row(const std::string& id) const
    {
        return SettingsFixture::row(SettingsTab::popup, id);
    }
    /// Whether `change` shows the overlay.
    template <class Change>
    bool previews(Change change)
    {
        desktop.loop.advance(10s);
        EXPECT_FALSE(desktop.panel.isShown());
        change();
        return desktop.panel.isShown();
    }
};

TEST_F(PopupTabTest, itsSectionsAndRowsStandInTheirOrder)
{
    const Form& sections = form(SettingsTab::popup);
    ASSERT_EQ(sections.size(), 3U);
    EXPECT_EQ(sections[0].header, "Placement");
    EXPECT_EQ(rowIds(sections[0]), (Names{"position", "margin", "display", "size"}));
    EXPECT_EQ(sections[1].header, "Content");
    EXPECT_EQ(rowIds(sections[1]), (Names{"showText", "textMode", "showEsc"}));
    EXPECT_EQ(sections[2].header, "");
    EXPECT_EQ(rowIds(sections[2]), (Names{"preview"}));
}

TEST_F(PopupTabTest, itsTextsStandAsTheyAre)
{
    EXPECT_EQ(row("position").label, "Position");
    EXPECT_EQ(row("margin").label, "Distance from edge");
    EXPECT_EQ(row("display").label, "Display");
    EXPECT_EQ(labels(control<PickerControl>("display")),
              (Names{"Screen with the cursor", "Main display"}));
    EXPECT_EQ(row("size").label, "Size");
    EXPECT_EQ(labels(control<PickerControl>("size")), (Names{"Small", "Medium", "Large"}));
    EXPECT_EQ(row("showText").label, "Show live text while speaking");
    EXPECT_EQ(row("textMode").label, "Long text");
    EXPECT_EQ(labels(control<PickerControl>("textMode")),
              (Names{"Clip to one line", "Show in full"}));
    EXPECT_EQ(row("showEsc").label, "Show the “esc” cancel hint");
    const auto& preview = control<ButtonControl>("preview").command;
    EXPECT_EQ(preview.text, "Preview");
    EXPECT_EQ(preview.symbol, "play.circle");
    EXPECT_EQ(labels(control<PickerControl>("position")),
              (Names{"Top left", "Top center", "Top right", "Middle left", "Center", "Middle right",
                     "Bottom left", "Bottom center", "Bottom right"}));
}

TEST_F(PopupTabTest, aCellOfTheGridMovesTheOverlayAtOnce)
{
    EXPECT_EQ(control<PickerControl>("position").selected, 7U);
    EXPECT_TRUE(previews([this] { control<PickerControl>("position").choose(0); }));
    EXPECT_EQ(model->preferences.hudPosition(), HUDPosition::topLeft);
    EXPECT_EQ(control<PickerControl>("position").selected, 0U);
    EXPECT_EQ(desktop.panel.frame, (Rect{56, 668, 430, 76}));
}

TEST_F(PopupTabTest, theSliderSetsTheMarginWithinItsRange)
{
    const auto slider = control<SliderControl>("margin");
    EXPECT_EQ(slider.value, 56);
    EXPECT_EQ(slider.text, "56");
    EXPECT_EQ(slider.width, 170);
    EXPECT_EQ(slider.textWidth, 50);
    EXPECT_EQ(slider.least, 0);
    EXPECT_EQ(slider.most, 200);
    EXPECT_EQ(std::fmod(56, slider.step), 0) << "the default lies on a step";
    EXPECT_TRUE(previews([&] { slider.set(80); }));
    EXPECT_EQ(model->preferences.hudMargin(), 80);
    EXPECT_EQ(control<SliderControl>("margin").text, "80");
    slider.set(1000);
    EXPECT_EQ(model->preferences.hudMargin(), 200);
}

TEST_F(PopupTabTest, aMarginBeyondTheSliderIsShownAsItIs)
{
    desktop.defaults.set("hud.margin", 300.0);
    EXPECT_EQ(control<SliderControl>("margin").value, 200);
    EXPECT_EQ(control<SliderControl>("margin").text, "300");
    desktop.defaults.set("hud.margin", std::nan(""));
    EXPECT_EQ(control<SliderControl>("margin").text, "56");
}

TEST_F(PopupTabTest, theCaptionSaysWhereTheMarginIsNotUsed)
{
    EXPECT_EQ(row("margin").caption, "");
    control<PickerControl>("position").choose(4);
    EXPECT_EQ(row("margin").caption, "Not used when centered. Pick an edge or corner.");
}

TEST_F(PopupTabTest, theDisplayAndTheTextModeAreChosen)
{
    EXPECT_EQ(control<PickerControl>("display").selected, 0U);
    EXPECT_TRUE(previews([this] { control<PickerControl>("display").choose(1); }));
    EXPECT_EQ(model->preferences.hudDisplay(), HUDDisplay::main);
    EXPECT_EQ(control<PickerControl>("display").selected, 1U);
    EXPECT_TRUE(previews([this] { control<PickerControl>("textMode").choose(1); }));
    EXPECT_EQ(model->preferences.hudTextMode(), HUDTextMode::full);
    EXPECT_EQ(control<PickerControl>("textMode").selected, 1U);
}

TEST_F(PopupTabTest, aSizeWritesItsScaleAndResizesTheOverlayAtOnce)
{
    EXPECT_EQ(control<PickerControl>("size").selected, 1U);
    EXPECT_TRUE(previews([this] { control<PickerControl>("size").choose(2); }));
    EXPECT_EQ(std::get<double>(*desktop.defaults.value("hud.scale")), 1.3);
    EXPECT_EQ(desktop.panel.frame.width, 559);
    control<PickerControl>("size").choose(0);
    EXPECT_EQ(std::get<double>(*desktop.defaults.value("hud.scale")), 0.85);
    EXPECT_EQ(control<PickerControl>("size").selected, 0U);
}

TEST_F(PopupTabTest, aScaleThatIsNoSizeSelectsNone)
{
    desktop.defaults.set("hud.scale", 1.1);
    EXPECT_EQ(control<PickerControl>("size").selected, std::nullopt);
    desktop.defaults.set("hud.scale", -1.0);
    EXPECT_EQ(control<PickerControl>("size").selected, std::nullopt)
        << "what is stored counts, not what is made of it";
}

TEST_F(PopupTabTest, theTogglesSetWhatTheOverlayShows)
{
    EXPECT_TRUE(control<ToggleControl>("showText").on);
    EXPECT_TRUE(previews([this] { control<ToggleControl>("showText").set(false); }));
    EXPECT_FALSE(model->preferences.hudShowText());
    EXPECT_FALSE(control<ToggleControl>("showText").on);
    EXPECT_TRUE(previews([this] { control<ToggleControl>("showEsc").set(false); }));
    EXPECT_FALSE(model->preferences.hudShowEsc());
    EXPECT_FALSE(model->hud.model()->settings.get().showEsc);
}

TEST_F(PopupTabTest, previewShowsTheOverlayFor2500Milliseconds)
{
    EXPECT_TRUE(previews([this] { control<ButtonControl>("preview").command.press(); }));
    desktop.loop.advance(2400ms);
    EXPECT_TRUE(desktop.panel.isShown());
    desktop.loop.advance(200ms);
    EXPECT_FALSE(desktop.panel.isShown());
}

TEST_F(PopupTabTest, aChangeDuringADictationMovesItsOverlayAndStartsNoPreview)
{
    desktop.tap.pressOption();
    desktop.loop.runReady();
    control<PickerControl>("position").choose(0);
    EXPECT_EQ(desktop.panel.frame, (Rect{56, 668, 430, 76}));
    EXPECT_FALSE(model->dictation.isDemo.get());
}

TEST_F(PopupTabTest, aChangeMadeElsewhereShowsAtOnceWithoutAPreview)
{
    EXPECT_FALSE(previews([this] { desktop.defaults.set("hud.showText", false); }));
    EXPECT_FALSE(control<ToggleControl>("showText").on);
}

} // namespace
} // namespace vorlin
