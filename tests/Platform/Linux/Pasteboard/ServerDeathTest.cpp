#include "Platform/Linux/Pasteboard/PasteboardFixture.h"

#include <csignal>
#include <cstdlib>

namespace vorlin {

namespace {

constexpr auto clipboard = PasteSource::clipboard;

class ServerDeath : public PasteboardFixture {
protected:
    void expectNothingHappensAnyMore()
    {
        // What we put there ourselves we know without asking, until the death is noticed.
        EXPECT_TRUE(eventually([&] { return snapshot().empty(); }));
        pasteboard->setString(clipboard, "text");
        EXPECT_TRUE(
            eventually([&] { return pasteboard->use(clipboard) == PasteboardUse::untracked; }));
        pasteboard->replace(clipboard, {{{"STRING", bytesOf("text")}}});
        EXPECT_TRUE(snapshot().empty());
    }
};

} // namespace

TEST_F(ServerDeath, emptiesSnapshotsAndStopsWriting)
{
    pasteboard->setString(clipboard, "text");
    server.reset();
    expectNothingHappensAnyMore();
}

TEST_F(ServerDeath, inTheMiddleOfAReadingEndsIt)
{
    auto owner =
        std::make_unique<ScriptedOwner>([](ScriptedOwner&, const ScriptedOwner::Request&) {});
    std::optional<PasteboardSnapshot> result;
    spawn(loop,
          [](Completion<PasteboardSnapshot> reading, std::optional<PasteboardSnapshot>& out)
              -> Task<> { out = co_await reading; }(pasteboard->snapshot(clipboard), result));
    ASSERT_TRUE(owner->awaitAsked("TARGETS"));
    server.reset();
    EXPECT_TRUE(eventually([&] { return result.has_value(); }));
    expectNothingHappensAnyMore();
}

TEST_F(ServerDeath, isSurvivedWithoutAServerFromTheBeginning)
{
    for (const char* display : {":54321", "nonsense", ""}) {
        setenv("DISPLAY", display, 1);
        pasteboard = std::make_unique<X11Pasteboard>(loop);
        EXPECT_EQ(pasteboard->use(clipboard), PasteboardUse::untracked);
        expectNothingHappensAnyMore();
    }
}

TEST_F(ServerDeath, aServerThatHangsHoldsUpNeitherTheLoopNorTheEnd)
{
    pasteboard->setString(clipboard, "text");
    server->signal(SIGSTOP);
    pasteboard->setString(clipboard, "never arrives");
    EXPECT_EQ(pasteboard->use(clipboard), PasteboardUse::underway);
    EXPECT_TRUE(snapshot().empty());
    pasteboard.reset();
    server->signal(SIGCONT);
}

TEST_F(ServerDeath, aServerThatHangsBeforeItAcceptsHoldsUpNothing)
{
    server->signal(SIGSTOP);
    auto second = std::make_unique<X11Pasteboard>(loop);
    second->setString(clipboard, "never arrives");
    second.reset();
    server->signal(SIGCONT);
}

TEST_F(ServerDeath, aServerThatWasSlowFindsTheTextWaiting)
{
    server->signal(SIGSTOP);
    pasteboard->setString(clipboard, "late");
    EXPECT_EQ(pasteboard->use(clipboard), PasteboardUse::underway);
    server->signal(SIGCONT);
    EXPECT_TRUE(eventually([&] { return pasteboard->use(clipboard) == PasteboardUse::unread; }));
    ScriptedReader reader;
    EXPECT_EQ(reader.text(), "late");
    EXPECT_TRUE(eventually([&] { return pasteboard->use(clipboard) == PasteboardUse::read; }));
}

TEST_F(ServerDeath, destroyingThePasteboardEndsAReadingUnderWay)
{
    const ScriptedOwner owner([](ScriptedOwner&, const ScriptedOwner::Request&) {});
    std::optional<PasteboardSnapshot> result;
    spawn(loop,
          [](Completion<PasteboardSnapshot> reading, std::optional<PasteboardSnapshot>& out)
              -> Task<> { out = co_await reading; }(pasteboard->snapshot(clipboard), result));
    pasteboard.reset();
    EXPECT_TRUE(eventually([&] { return result.has_value(); }));
}

} // namespace vorlin
