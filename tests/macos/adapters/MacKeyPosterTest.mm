#include "Platform/macOS/MacKeyPoster.h"

#include "CGEvent.h"
#include "Runtime.h"

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;

constexpr std::uint16_t keyV = 9;
constexpr std::uint64_t command = 0x100000;

const Calls downCalls = {"CGEventCreateKeyboardEvent 9 down", "CGEventSetFlags 1048576",
                         "CGEventPost 0: 9 down flags 1048576 source 1"};
const Calls upCalls = {"CGEventCreateKeyboardEvent 9 up", "CGEventSetFlags 1048576",
                       "CGEventPost 0: 9 up flags 1048576 source 1"};

Calls joined(const std::vector<Calls>& parts)
{
    Calls all;
    for (const auto& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

class MacKeyPosterTest : public testing::Test {
protected:
    MacKeyPosterTest() { standins::events() = {}; }
    ~MacKeyPosterTest() override { standins::events() = {}; }

    void press()
    {
        poster.post(keyV, true, command);
        poster.post(keyV, false, command);
    }

    MacKeyPoster poster;
};

TEST_F(MacKeyPosterTest, postsAPressAndItsReleaseWithTheseFlagsOnlyFromOneSourceAtTheHIDTap)
{
    press();
    EXPECT_EQ(taken(), joined({{"CGEventSourceCreate 0"}, downCalls, upCalls}));
}

TEST_F(MacKeyPosterTest, makesASourceOfItsOwnForEachPressAndReleasesWhatItMade)
{
    press();
    const long before = standins::alive();
    press();
    EXPECT_EQ(standins::events().sources, 2);
    EXPECT_EQ(standins::alive(), before);
}

TEST_F(MacKeyPosterTest, leavesNothingWhenItGoes)
{
    const long before = standins::alive();
    auto other = std::make_unique<MacKeyPoster>();
    other->post(keyV, true, command);
    other.reset();
    EXPECT_EQ(standins::alive(), before);
}

TEST_F(MacKeyPosterTest, skipsAnEventThatCannotBeMadeAndPostsTheOther)
{
    standins::events().refusesKeysDown = true;
    press();
    EXPECT_EQ(taken(), joined({{"CGEventSourceCreate 0", downCalls[0]}, upCalls}));
    standins::events() = {};
    standins::events().refusesKeysUp = true;
    press();
    EXPECT_EQ(taken(), joined({{"CGEventSourceCreate 0"}, downCalls, {upCalls[0]}}));
}

TEST_F(MacKeyPosterTest, postsWithoutASourceWhereNoneIsToBeHad)
{
    standins::events().refusesSources = true;
    press();
    EXPECT_EQ(taken(), (Calls{"CGEventSourceCreate 0", downCalls[0], downCalls[1],
                              "CGEventPost 0: 9 down flags 1048576 source 0", upCalls[0],
                              upCalls[1], "CGEventPost 0: 9 up flags 1048576 source 0"}));
}

} // namespace
} // namespace vorlin
