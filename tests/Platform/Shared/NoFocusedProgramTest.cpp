#include "Platform/Shared/NoFocusedProgram.h"

#include "TextInserter.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakePasteboard.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <vector>

namespace vorlin {
namespace {

TEST(NoFocusedProgramTest, everythingIsPastedWithTheDesktopsUsualChord)
{
    SimulatedLoop loop;
    FakePasteboard pasteboard;
    FakeKeyPoster keys;
    NoFocusedProgram focus({keyCodes::insert, eventFlags::maskShift, PasteSource::clipboard});
    TextInserter inserter(loop, pasteboard, keys, focus);
    inserter.insert("hello");
    loop.runReady();
    EXPECT_EQ(pasteboard.string(), "hello");
    EXPECT_EQ(keys.posted,
              (std::vector<PostedKey>{{keyCodes::insert, true, eventFlags::maskShift},
                                      {keyCodes::insert, false, eventFlags::maskShift}}));
}

} // namespace
} // namespace vorlin
