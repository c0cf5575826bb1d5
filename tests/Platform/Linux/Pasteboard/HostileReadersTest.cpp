#include "Platform/Linux/Pasteboard/PasteboardFixture.h"

#include <array>
#include <cstring>
#include <sys/socket.h>

namespace vorlin {

namespace {

constexpr auto clipboard = PasteSource::clipboard;

class HostileReaders : public PasteboardFixture {
protected:
    HostileReaders()
    {
        pasteboard->replace(clipboard,
                            {{{"UTF8_STRING", bytesOf("text")}, {"image/png", noise(4U << 20U)}}});
    }

    void expectOthersAreServed()
    {
        EXPECT_EQ(other.text(), "text");
        EXPECT_EQ(other.read("image/png"), plain("image/png", noise(4U << 20U)));
    }

    /// There from the beginning: a later client would inherit the window numbers of one that
    /// vanished, and what is still under way to them.
    ScriptedReader other;

    static void begin(ScriptedReader& reader)
    {
        reader.ask("image/png");
        ASSERT_TRUE(reader.awaitAnswer());
    }
};

} // namespace

TEST_F(HostileReaders, oneThatTakesNoPieceHoldsUpNobody)
{
    ScriptedReader reader;
    begin(reader);
    expectOthersAreServed();
}

TEST_F(HostileReaders, aHundredThatTakeNoPieceHoldUpNobody)
{
    std::vector<std::unique_ptr<ScriptedReader>> readers;
    for (int i = 0; i < 100; ++i) {
        readers.push_back(std::make_unique<ScriptedReader>());
        begin(*readers.back());
    }
    expectOthersAreServed();
}

TEST_F(HostileReaders, oneThatVanishesInTheMiddleIsForgotten)
{
    for (int i = 0; i < 10; ++i) {
        ScriptedReader reader;
        begin(reader);
        ASSERT_TRUE(reader.awaitPiece());
        reader.take();
        if (i % 2 == 0) {
            shutdown(xcb_get_file_descriptor(reader.connection), SHUT_RDWR);
        } else {
            xcb_destroy_window(reader.connection, reader.window);
            reader.sync();
        }
    }
    expectOthersAreServed();
}

TEST_F(HostileReaders, oneThatAsksAgainInTheMiddleGetsTheWhole)
{
    ScriptedReader reader;
    begin(reader);
    ASSERT_TRUE(reader.awaitPiece());
    EXPECT_EQ(reader.read("image/png"), plain("image/png", noise(4U << 20U)));
}

TEST_F(HostileReaders, aWindowThatDoesNotExistIsNoReader)
{
    ScriptedReader reader;
    pasteboard->setString(clipboard, "text");
    for (const char* target : {"UTF8_STRING", "TARGETS", "MULTIPLE", "TIMESTAMP"}) {
        xcb_selection_request_event_t request{};
        request.response_type = XCB_SELECTION_REQUEST;
        request.owner = reader.owner("CLIPBOARD");
        request.requestor = 0x12345;
        request.selection = reader.atom("CLIPBOARD");
        request.target = reader.atom(target);
        request.property = reader.atom("READ");
        std::array<char, 32> event{};
        std::memcpy(event.data(), &request, sizeof(request));
        xcb_send_event(reader.connection, 0, request.owner, 0, event.data());
    }
    reader.sync();
    reader.targets(); // requests are answered in order
    EXPECT_EQ(pasteboard->use(clipboard), PasteboardUse::unread);
    EXPECT_EQ(reader.text(), "text");
}

TEST_F(HostileReaders, ourOwnWindowIsNoReader)
{
    ScriptedReader reader;
    const xcb_window_t ours = reader.owner("CLIPBOARD");
    xcb_convert_selection(reader.connection, ours, reader.atom("CLIPBOARD"),
                          reader.atom("image/png"), reader.atom("READ"), XCB_CURRENT_TIME);
    reader.sync();
    expectOthersAreServed();
    pasteboard->setString(clipboard, "still noticed");
    EXPECT_EQ(reader.text(), "still noticed");
}

TEST_F(HostileReaders, nonsenseIsRefused)
{
    ScriptedReader reader;
    const auto ask = [&](xcb_atom_t target, xcb_atom_t property) {
        xcb_selection_request_event_t request{};
        request.response_type = XCB_SELECTION_REQUEST;
        request.owner = reader.owner("CLIPBOARD");
        request.requestor = reader.window;
        request.selection = reader.atom("CLIPBOARD");
        request.target = target;
        request.property = property;
        std::array<char, 32> event{};
        std::memcpy(event.data(), &request, sizeof(request));
        xcb_send_event(reader.connection, 0, request.owner, 0, event.data());
        xcb_flush(reader.connection);
        return reader.awaitAnswer();
    };
    EXPECT_FALSE(ask(0xffffffff, reader.atom("READ")));
    EXPECT_FALSE(ask(reader.atom("UTF8_STRING"), 0x7fffffff));
    EXPECT_FALSE(ask(XCB_ATOM_NONE, XCB_ATOM_NONE));
    EXPECT_FALSE(ask(reader.atom("MULTIPLE"), reader.atom("NOTHING_THERE")));
    for (const Bytes& pairs : {Bytes(4), Bytes(12, 0xff), Bytes(100'000, 0xff)}) {
        xcb_change_property(reader.connection, XCB_PROP_MODE_REPLACE, reader.window,
                            reader.atom("READ"), reader.atom("ATOM_PAIR"), 32,
                            static_cast<std::uint32_t>(pairs.size() / 4), pairs.data());
        ask(reader.atom("MULTIPLE"), reader.atom("READ"));
    }
    EXPECT_EQ(reader.text(), "text");
}

} // namespace vorlin
