#include "AppModelFixture.h"

#include <gtest/gtest.h>

#include <string>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Phase = Dictation::Phase;

constexpr auto fadeOut = 220ms;

/// The overlay of the whole model, at one desktop.
class AppModelOverlayTest : public AppModelFixture {
protected:
    AppModelOverlayTest() { start(); }

    void escape()
    {
        desktop.tap.keyDown(keyCodes::escape);
        desktop.loop.runReady();
    }
    bool shown() const { return desktop.panel.isVisible(); }
    const HUDView& view() const { return model->hud.model()->view.get(); }

    /// Whether it stays fully shown for `delay`, and is gone a fade later.
    testing::AssertionResult hidesAfter(Duration delay)
    {
        desktop.loop.advance(delay - 1ms);
        if (!desktop.panel.isShown()) {
            return testing::AssertionFailure() << "it fades before";
        }
        desktop.loop.advance(1ms);
        desktop.loop.advance(fadeOut);
        if (shown()) {
            return testing::AssertionFailure() << "it is still there";
        }
        return testing::AssertionSuccess();
    }
};

TEST_F(AppModelOverlayTest, isShownWithinThePressAlreadyWithTheNewDictation)
{
    desktop.tap.pressOption();
    EXPECT_TRUE(desktop.panel.isShown());
    EXPECT_EQ(view().label, "Getting ready…");
}

TEST_F(AppModelOverlayTest, hidesAtOnceAfterTheTextIsInserted)
{
    press();
    desktop.loop.advance(1s);
    EXPECT_EQ(desktop.panel.alpha(), 1);
    release();
    EXPECT_FALSE(desktop.panel.isShown());
    desktop.loop.advance(fadeOut);
    EXPECT_FALSE(shown());
}

TEST_F(AppModelOverlayTest, hidesAtOnceAfterAnEmptyResultWithoutNotice)
{
    desktop.analyzers.spoken = "";
    press();
    release();
    EXPECT_FALSE(desktop.panel.isShown());
    desktop.loop.advance(fadeOut);
    EXPECT_FALSE(shown());
}

TEST_F(AppModelOverlayTest, staysFor1600MillisecondsAfterAnEmptyResultWithANotice)
{
    desktop.microphone.startFailure = "No microphone was found.";
    press();
    EXPECT_EQ(model->dictation.phase.get(), Phase::idle);
    EXPECT_EQ(view().label, "No microphone was found.");
    EXPECT_TRUE(hidesAfter(1600ms));
}

TEST_F(AppModelOverlayTest, hidesAtOnceAfterATextWithANotice)
{
    press();
    desktop.microphone.fail("The microphone was disconnected.");
    desktop.loop.runReady();
    EXPECT_TRUE(model->dictation.notice.get());
    EXPECT_FALSE(desktop.panel.isShown());
}

TEST_F(AppModelOverlayTest, staysFor700MillisecondsAfterEscape)
{
    press();
    escape();
    EXPECT_EQ(view().label, "Cancelled");
    EXPECT_TRUE(hidesAfter(700ms));
}

TEST_F(AppModelOverlayTest, isKeptByAPressWhileItWaitsToHide)
{
    press();
    escape();
    release();
    desktop.loop.advance(500ms);
    press();
    desktop.loop.advance(10s);
    EXPECT_TRUE(desktop.panel.isShown());
    EXPECT_EQ(model->dictation.phase.get(), Phase::listening);
}

TEST_F(AppModelOverlayTest, isKeptByAPressWhileItFadesOut)
{
    press();
    release();
    desktop.loop.advance(100ms);
    press();
    desktop.loop.advance(10s);
    EXPECT_TRUE(desktop.panel.isShown());
}

TEST_F(AppModelOverlayTest, staysWhileATextIsFinished)
{
    desktop.analyzers.finishesAtOnce = false;
    press();
    release();
    desktop.loop.advance(10s);
    EXPECT_TRUE(desktop.panel.isShown());
    desktop.analyzers.finish(*desktop.analyzers.streams.back());
    desktop.loop.runReady();
    EXPECT_FALSE(desktop.panel.isShown());
}

TEST_F(AppModelOverlayTest, ofAPreviewHides2500MillisecondsAfterTheLastCall)
{
    model->previewHUD();
    desktop.loop.runReady();
    EXPECT_TRUE(shown());
    EXPECT_TRUE(view().showWaveform);
    desktop.loop.advance(2s);
    model->previewHUD();
    EXPECT_TRUE(hidesAfter(2500ms));
    EXPECT_EQ(model->dictation.phase.get(), Phase::idle);
}

TEST_F(AppModelOverlayTest, ofAPreviewFollowsEverySetting)
{
    model->previewHUD();
    desktop.defaults.set("hud.position", "topLeft");
    model->previewHUD();
    EXPECT_EQ(desktop.panel.frame, (Rect{56, 668, 430, 76}));
}

TEST_F(AppModelOverlayTest, previewIsIgnoredDuringADictation)
{
    press();
    const auto token = model->hud.hideToken();
    model->previewHUD();
    EXPECT_EQ(model->hud.hideToken(), token);
    EXPECT_FALSE(model->dictation.isDemo.get());
    desktop.loop.advance(10s);
    EXPECT_TRUE(desktop.panel.isShown());
}

TEST_F(AppModelOverlayTest, aPressDuringAPreviewShowsTheDictationInstead)
{
    model->previewHUD();
    desktop.loop.advance(1s);
    press();
    EXPECT_FALSE(model->dictation.isDemo.get());
    desktop.loop.advance(10s);
    EXPECT_TRUE(desktop.panel.isShown()) << "the end of the preview does not hide the dictation";
}

TEST_F(AppModelOverlayTest, escapeDuringAPreviewCancelsItAndAPreviewWorksAgain)
{
    model->previewHUD();
    desktop.loop.advance(1s);
    escape();
    EXPECT_EQ(view().label, "Cancelled");
    EXPECT_TRUE(hidesAfter(700ms));
    model->previewHUD();
    EXPECT_TRUE(desktop.panel.isShown());
    EXPECT_TRUE(hidesAfter(2500ms));
}

TEST_F(AppModelOverlayTest, aPressWhileTheCancelledPreviewIsShownStartsADictation)
{
    model->previewHUD();
    desktop.loop.advance(1s);
    escape();
    press();
    desktop.loop.advance(10s);
    EXPECT_EQ(model->dictation.phase.get(), Phase::listening);
    EXPECT_TRUE(desktop.panel.isShown());
}

} // namespace
} // namespace vorlin
