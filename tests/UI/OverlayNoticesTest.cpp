#include "UI/SceneFixture.h"

#include <array>
#include <string>

namespace vorlin {
namespace {

constexpr std::array sizes = {0.85, 1.0, 1.3};
/// Two pixels to a point, so that a dot can be told from a letter.
constexpr int ratio = 2;

const std::string unavailable = "Speech recognition is unavailable for this language.";
const std::string hebrew = "זיהוי הדיבור אינו זמין עבור השפה הזאת במחשב";
const std::string endless =
    "The recogniser could not be started, because its model lies on a disk that is not there, "
    "and there is no other model for this language on this machine";

/// What a dictation says that could not begin.
class OverlayNotices : public SceneFixture {
protected:
    void use(double scale, const std::string& textMode)
    {
        defaults.set("hud.scale", scale);
        defaults.set("hud.textMode", textMode);
    }

    QImage pictureOf(const std::string& notice)
    {
        fail(notice);
        return picture(ratio);
    }

    /// Where the picture changes with a figure of the notice: all are of one width.
    QRect changed(const std::string& notice, const std::string& otherwise)
    {
        const QImage before = pictureOf(notice);
        return difference(before, pictureOf(otherwise));
    }
};

TEST_F(OverlayNotices, whatDoesNotFitItsLineTakesASecond)
{
    for (const double size : sizes) {
        use(size, "clip");
        const QRect box = capsule(pictureOf(unavailable));
        const QRect first = changed("8 " + unavailable, "0 " + unavailable);
        const QRect last = changed(unavailable + " 8", unavailable + " 0");
        ASSERT_FALSE(first.isNull()) << "the beginning is not in view";
        ASSERT_FALSE(last.isNull()) << "the end is not in view";
        EXPECT_LT(first.right(), box.center().x());
        EXPECT_LT(first.bottom(), box.center().y());
        EXPECT_GT(last.top(), box.center().y());
    }
}

TEST_F(OverlayNotices, whatDoesNotFitTwoLinesEndsInAnEllipsis)
{
    for (const double size : sizes) {
        use(size, "clip");
        EXPECT_FALSE(changed("8 " + endless, "0 " + endless).isNull());
        EXPECT_TRUE(changed(endless + " 8", endless + " 0").isNull());
        const QImage drawn = pictureOf(endless);
        const QRect box = capsule(drawn);
        QRect slot = textSlot(drawn);
        slot.setTop(box.center().y());
        const QRect secondLine = ink(drawn, slot);
        slot.setLeft(secondLine.right() - static_cast<int>(4 * size * ratio));
        const QRect dot = ink(drawn, slot);
        EXPECT_LT(dot.height(), 3 * size * ratio) << "it ends in something else than a dot";
    }
}

TEST_F(OverlayNotices, runFromRightToLeftToo)
{
    for (const double size : sizes) {
        use(size, "clip");
        const QImage drawn = pictureOf(hebrew);
        const QRect box = capsule(drawn);
        const QRect first = changed("8 " + hebrew, "0 " + hebrew);
        const QRect last = changed(hebrew + " 8", hebrew + " 0");
        ASSERT_FALSE(first.isNull()) << "the beginning is not in view";
        ASSERT_FALSE(last.isNull()) << "the end is not in view";
        EXPECT_GT(first.left(), box.center().x());
        EXPECT_LT(first.bottom(), box.center().y());
        EXPECT_GT(last.top(), box.center().y());
        QRect slot = textSlot(drawn);
        slot.setTop(box.center().y());
        const QRect secondLine = ink(drawn, slot);
        EXPECT_LT(slot.right() - secondLine.right(), secondLine.left() - slot.left());

        const std::string tooLong = hebrew + " " + hebrew + " " + hebrew;
        EXPECT_FALSE(changed("8 " + tooLong, "0 " + tooLong).isNull());
        EXPECT_TRUE(changed(tooLong + " 8", tooLong + " 0").isNull());
    }
}

TEST_F(OverlayNotices, aSecondLineTakesItsRoomFromThePadding)
{
    for (const double size : sizes) {
        use(size, "clip");
        const QImage one = pictureOf("Cancelled");
        EXPECT_GE(ink(one, textSlot(one)).top() - capsule(one).top(), ratio * 14 * size);
        const QImage two = pictureOf(unavailable);
        const QRect box = capsule(two);
        const int most = static_cast<int>(ratio * 52 * size) + 1;
        EXPECT_LE(box.height(), most) << "it leaves its panel";
        const QRect text = ink(two, textSlot(two));
        EXPECT_GE(text.top() - box.top(), ratio * 8 * size - 1);
        EXPECT_GE(box.bottom() - text.bottom(), ratio * 8 * size - 1);
    }
}

TEST_F(OverlayNotices, theSymbolStandsInTheMiddleOfARowOfTwoLines)
{
    use(1, "clip");
    const QImage drawn = pictureOf(unavailable);
    const QRect box = capsule(drawn);
    EXPECT_NEAR(ink(drawn, symbolSlot(drawn)).center().y(), box.center().y(), ratio);
}

TEST_F(OverlayNotices, theSymbolStandsBesideTheFirstOfManyLines)
{
    use(1, "full");
    const QImage drawn = pictureOf(endless);
    const QRect box = capsule(drawn);
    const QRect slot = textSlot(drawn);
    const QRect symbol = ink(drawn, symbolSlot(drawn));
    EXPECT_LT(symbol.bottom(), box.center().y());
    const QRect text = ink(drawn, slot);
    EXPECT_NEAR(symbol.top(), text.top(), 5 * ratio);
}

TEST_F(OverlayNotices, keepTheirBeginningWhereTheyAreTallerThanThePanel)
{
    use(1, "full");
    std::string tall;
    for (int i = 0; i < 200; ++i) {
        tall += "WM";
    }
    EXPECT_FALSE(changed("8 " + tall, "0 " + tall).isNull());
    EXPECT_TRUE(changed(tall + " 8", tall + " 0").isNull());
    const QImage drawn = pictureOf(tall);
    EXPECT_LE(capsule(drawn).height(), ratio * (300 - 2 * 12));
}

} // namespace
} // namespace vorlin
