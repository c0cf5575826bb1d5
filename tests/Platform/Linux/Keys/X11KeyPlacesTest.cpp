#include "Platform/Linux/Keys/X11KeyPlaces.h"

#include "Platform/Linux/Keys/TapFixture.h"

namespace vorlin {
namespace {

using Place = std::optional<std::uint32_t>;

class X11KeyPlacesTest : public TapFixture {
protected:
    Place placeOfV(const std::string& layouts)
    {
        PrivateDisplay::setLayout(layouts);
        keyboard.sync();
        return placeInAllLayouts(keyboard, keyCodes::v);
    }
};

TEST_F(X11KeyPlacesTest, aLettersPlaceIsTheOneInEveryLayoutThatTypesIt)
{
    EXPECT_EQ(placeOfV("-layout us"), Place(47));
    EXPECT_EQ(placeOfV("-layout us,ru"), Place(47));
    EXPECT_EQ(placeOfV("-layout ru,us -variant ,dvorak"), Place(52));
    EXPECT_EQ(placeOfV("-layout ru"), Place(47)) << "where programs look without a Latin layout";
    EXPECT_EQ(placeOfV("-layout us,us -variant ,dvorak"), std::nullopt) << "one of two";
}

TEST_F(X11KeyPlacesTest, otherKeysGoByWhatTheyType)
{
    EXPECT_EQ(placeInAllLayouts(keyboard, keyCodes::insert), std::nullopt);
}

} // namespace
} // namespace vorlin
