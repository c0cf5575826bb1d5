#include "UI/SceneFixture.h"

#include <string>

namespace vorlin {
namespace {

const std::string arabic =
    "قررت اللجنة تأجيل الاجتماع حتى الشهر المقبل بسبب سوء الأحوال الجوية في المدينة";

std::string repeated(const std::string& text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

/// Live text in many lines.
class FullMode : public SceneFixture {
protected:
    FullMode()
    {
        defaults.set("hud.textMode", std::string("full"));
        defaults.set("hud.showEsc", false);
        listen();
        speak();
    }

    QImage pictureOf(const std::string& text)
    {
        hear(text);
        return picture(2);
    }

    QRect lastLine(const QImage& drawn) const
    {
        QRect slot = textSlot(drawn);
        slot.setTop(ink(drawn, slot).bottom() - 2 * 12); // lines are 17 points apart
        return ink(drawn, slot);
    }
};

TEST_F(FullMode, wrapsALongTextInsideItsPanel)
{
    const QImage drawn = pictureOf(repeated("the committee decided to postpone it, ", 11));
    const QRect box = capsule(drawn);
    EXPECT_GT(box.height(), 2 * 100);
    EXPECT_TRUE(QRect(QPoint(), drawn.size()).adjusted(20, 20, -20, -20).contains(box));
}

TEST_F(FullMode, showsTheEndOfATextThatIsTallerThanThePanel)
{
    const std::string tall = repeated("WM", 200);
    const QImage drawn = pictureOf(tall + "i");
    EXPECT_TRUE(QRect(QPoint(), drawn.size()).adjusted(20, 20, -20, -20).contains(capsule(drawn)));
    // The front takes as much room as before, out of view.
    EXPECT_EQ(drawn, pictureOf("MW" + tall.substr(2) + "i"));
    const QRect end = difference(drawn, pictureOf(tall + "l"));
    ASSERT_FALSE(end.isNull()) << "the end is not in view";
    EXPECT_GE(end.top(), lastLine(drawn).top());
}

TEST_F(FullMode, textThatRunsFromLeftToRightBeginsAtTheLeft)
{
    const QImage drawn =
        pictureOf("the committee decided to postpone the meeting until next month");
    const QRect line = lastLine(drawn);
    const QRect slot = textSlot(drawn);
    EXPECT_GT(slot.right() - line.right(), 50);
    EXPECT_LT(line.left() - slot.left(), 20);
}

TEST_F(FullMode, textThatRunsFromRightToLeftBeginsAtTheRight)
{
    const QImage drawn = pictureOf(arabic);
    const QRect line = lastLine(drawn);
    const QRect slot = textSlot(drawn);
    EXPECT_LT(slot.right() - line.right(), 20);
    EXPECT_GT(line.left() - slot.left(), 50);
}

TEST_F(FullMode, theMeterStandsBesideTheFirstLine)
{
    const QImage drawn = pictureOf(repeated("the committee decided to postpone it, ", 8));
    EXPECT_LT(ink(drawn, symbolSlot(drawn)).bottom(), ink(drawn, textSlot(drawn)).top() + 2 * 24);
}

} // namespace
} // namespace vorlin
