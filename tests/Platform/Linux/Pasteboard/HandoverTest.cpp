#include "Platform/Linux/Pasteboard/PasteboardFixture.h"

#include <cstring>

namespace vorlin {

namespace {

constexpr auto clipboard = PasteSource::clipboard;

class Handover : public PasteboardFixture {};

} // namespace

TEST_F(Handover, aManagerTakesOverRestoredContents)
{
    ASSERT_TRUE(installed("xfce4-clipman")) << "scripts/install-packages brings it";
    const Process manager({"dbus-run-session", "--", "xfce4-clipman"});
    ScriptedReader reader;
    ASSERT_TRUE(eventually([&] { return reader.owner("CLIPBOARD_MANAGER") != XCB_NONE; }));
    pasteboard->replace(clipboard, {{{"UTF8_STRING", bytesOf("restored")},
                                     {"text/html", bytesOf("<b>restored</b>")}}});
    pasteboard.reset();
    ASSERT_TRUE(eventually([&] { return reader.owner("CLIPBOARD") != XCB_NONE; }));
    EXPECT_EQ(reader.text(), "restored");
}

TEST_F(Handover, theManagerIsToldWhatToTakeAndServedUntilItIsThrough)
{
    std::vector<xcb_atom_t> wanted;
    std::optional<Typed> image;
    const ScriptedOwner manager(
        [&](ScriptedOwner& self, const ScriptedOwner::Request& request) {
            EXPECT_EQ(self.name(request.target), "SAVE_TARGETS");
            const XcbPointer<xcb_get_property_reply_t> list(
                xcb_get_property_reply(self.connection,
                                       xcb_get_property(self.connection, 0, request.requestor,
                                                        request.property, XCB_ATOM_ATOM, 0, 100),
                                       nullptr));
            wanted.resize(static_cast<std::size_t>(xcb_get_property_value_length(list.get())) / 4);
            std::memcpy(wanted.data(), xcb_get_property_value(list.get()), wanted.size() * 4);
            ScriptedReader reader;
            image = reader.read("image/png");
            self.put(request, {"NULL", 32, {}});
        },
        "CLIPBOARD_MANAGER");
    pasteboard->replace(clipboard,
                        {{{"UTF8_STRING", bytesOf("text")}, {"image/png", noise(3U << 20U)}}});
    pasteboard.reset();
    EXPECT_EQ(manager.asked("SAVE_TARGETS"), 1);
    EXPECT_EQ(wanted, (std::vector{manager.atom("UTF8_STRING"), manager.atom("image/png")}));
    EXPECT_EQ(image, plain("image/png", noise(3U << 20U)));
}

TEST_F(Handover, aManagerThatDoesNotAnswerDoesNotKeepUs)
{
    const ScriptedOwner manager([](ScriptedOwner&, const ScriptedOwner::Request&) {},
                                "CLIPBOARD_MANAGER");
    pasteboard->replace(clipboard, {{{"UTF8_STRING", bytesOf("text")}}});
    pasteboard.reset();
    EXPECT_TRUE(manager.awaitAsked("SAVE_TARGETS"));
    EXPECT_EQ(manager.owner("CLIPBOARD"), XCB_NONE);
}

TEST_F(Handover, secretsAreNotHandedOver)
{
    const ScriptedOwner manager([](ScriptedOwner&, const ScriptedOwner::Request&) {},
                                "CLIPBOARD_MANAGER");
    pasteboard->setString(clipboard, "dictated");
    pasteboard.reset();
    manager.sync();
    EXPECT_EQ(manager.asked("SAVE_TARGETS"), 0);
}

TEST_F(Handover, aTextThatWasCopiedForGoodIsHandedOver)
{
    const ScriptedOwner manager([](ScriptedOwner&, const ScriptedOwner::Request&) {},
                                "CLIPBOARD_MANAGER");
    pasteboard->copyString(clipboard, "dictated");
    pasteboard.reset();
    EXPECT_TRUE(manager.awaitAsked("SAVE_TARGETS"));
}

TEST_F(Handover, contentsOfOthersAreNotOursToHandOver)
{
    const ScriptedOwner manager([](ScriptedOwner&, const ScriptedOwner::Request&) {},
                                "CLIPBOARD_MANAGER");
    pasteboard->replace(clipboard, {{{"UTF8_STRING", bytesOf("text")}}});
    const ScriptedOwner copier(offering({}));
    ASSERT_TRUE(eventually([&] { return pasteboard->use(clipboard) == PasteboardUse::replaced; }));
    pasteboard.reset();
    EXPECT_EQ(manager.asked("SAVE_TARGETS"), 0);
}

} // namespace vorlin
