#include "Platform/macOS/MacSounds.h"

namespace vorlin {
namespace {

using Calls = std::vector<std::string>;

TEST(MacSoundsTest, playsTheSystemsSoundOfTheName)
{
    for (const std::string name : {"Tink", "Pop", "Funk"}) {
        MacSounds().play(name);
        EXPECT_EQ(standins::taken(),
                  (Calls{"+[NSSound soundNamed:] " + name, "-[NSSound play] " + name}));
    }
}

TEST(MacSoundsTest, aNameThatTheSystemDoesNotKnowPlaysNothing)
{
    MacSounds().play("");
    EXPECT_EQ(standins::taken(), Calls{"+[NSSound soundNamed:] "});
}

} // namespace
} // namespace vorlin
