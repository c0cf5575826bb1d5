#include "UI/Pictures.h"
#include "UI/SceneFixture.h"

#include <QPainter>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

namespace vorlin {
namespace {

const std::string sentence = "the committee decided to postpone the meeting until next month";

const std::string arabic = "قررت اللجنة تأجيل الاجتماع حتى الشهر المقبل بسبب سوء الأحوال";

std::string longText(std::size_t characters)
{
    std::string text;
    while (text.size() < characters) {
        text += sentence + ", ";
    }
    return text.substr(text.size() - characters);
}

/// Taller than the panel: the widest letters, numbered, so that the lines can be told apart.
std::string wideText(std::size_t characters)
{
    std::string text;
    for (int word = 0; text.size() < characters; ++word) {
        text += "WMWM" + std::to_string(word) + " ";
    }
    return text.substr(0, characters);
}

/// Every look of the overlay, by name.
class OverlayLooks : public SceneFixture {
protected:
    using Play = std::function<void()>;

    const std::vector<std::pair<std::string, Play>> looks = {
        {"preparing",
         [this] {
             engine->preparesAtOnce = false;
             dictation.keyDown([this] { return engine; });
         }},
        {"waveform",
         [this] {
             listen();
             speak();
         }},
        {"text",
         [this] {
             listen();
             speak();
             hear("the committee");
         }},
        {"long-text",
         [this] {
             listen();
             speak();
             hear(sentence);
         }},
        {"finishing",
         [this] {
             engine->finishesAtOnceWith.reset();
             listen();
             dictation.keyUp();
             loop.runReady();
         }},
        {"cancelled",
         [this] {
             listen();
             dictation.cancel();
             loop.runReady();
         }},
        {"error", [this] { fail("Speech recognition is unavailable for this language."); }},
        {"knowing-engine",
         [this] { fail("Português (Brasil): NVIDIA Parakeet Redux (≈ 220 MB) knows it."); }},
        {"silent-microphone",
         [this] {
             listen();
             for (int i = 0; i < 40; ++i) {
                 microphone.deliver(0);
             }
             loop.runReady();
         }},
        {"arabic",
         [this] {
             listen();
             speak();
             hear(arabic);
         }},
        {"hebrew-error", [this] { fail("זיהוי הדיבור אינו זמין עבור השפה הזאת במחשב"); }},
        {"endless-error", [this] { fail(sentence + ", " + sentence); }},
        {"full-text",
         [this] {
             defaults.set("hud.textMode", std::string("full"));
             listen();
             speak();
             hear(longText(421));
         }},
        {"full-overflow",
         [this] {
             defaults.set("hud.textMode", std::string("full"));
             listen();
             speak();
             hear(wideText(420));
         }},
        {"full-arabic",
         [this] {
             defaults.set("hud.textMode", std::string("full"));
             listen();
             speak();
             hear(arabic + "، " + arabic);
         }},
        {"full-error",
         [this] {
             defaults.set("hud.textMode", std::string("full"));
             fail("Speech recognition is unavailable for this language.");
         }},
    };

    void play(const std::string& name)
    {
        const auto found = std::ranges::find(looks, name, &std::pair<std::string, Play>::first);
        ASSERT_NE(found, looks.end());
        found->second();
    }
};

class Look : public OverlayLooks, public testing::WithParamInterface<const char*> {};

TEST_P(Look, isWhatItWasWhenSomebodyLookedAtIt)
{
    play(GetParam());
    scene->setAppearance(true, true);
    const QImage dark = over(picture(2), QColor("#5a7fa8"));
    scene->setAppearance(false, true);
    const QImage light = over(picture(2), QColor("#5a7fa8"));
    QImage both(dark.width(), 2 * dark.height(), QImage::Format_RGB32);
    QPainter painter(&both);
    painter.drawImage(0, 0, dark);
    painter.drawImage(0, dark.height(), light);
    painter.end();
    keep(both, GetParam());
    const QImage known = reference(GetParam());
    ASSERT_EQ(known.size(), both.size());
    EXPECT_LE(visibleDifference(both, known), 40);
}

INSTANTIATE_TEST_SUITE_P(All, Look,
                         testing::Values("preparing", "waveform", "text", "long-text", "finishing",
                                         "cancelled", "error", "hebrew-error", "endless-error",
                                         "knowing-engine", "silent-microphone", "arabic",
                                         "full-text", "full-overflow", "full-arabic", "full-error"),
                         [](const auto& look) {
                             std::string name = look.param;
                             std::erase(name, '-');
                             return name;
                         });

} // namespace
} // namespace vorlin
