#include "Platform/Linux/Pasteboard/PasteboardFixture.h"

namespace vorlin {

namespace {

class Use : public PasteboardFixture {
protected:
    Use() { offer("dictated"); }

    /// Returns once it is there, however slow the machine.
    void offer(const std::string& text)
    {
        pasteboard->setString(PasteSource::clipboard, text);
        EXPECT_TRUE(eventually([&] { return use() == PasteboardUse::unread; }));
    }

    PasteboardUse use() const { return pasteboard->use(PasteSource::clipboard); }
};

/// What a program without a window gets.
std::string pastedElsewhere()
{
    return outputOfStranger({"xclip", "-o", "-selection", "clipboard"});
}

/// What another program gets for a window of its own that it has made in `parent`.
std::string readingWithin(xcb_window_t parent)
{
    constexpr const char* program = R"(
import sys
from Xlib import X, Xatom, display
x = display.Display()
parent = x.create_resource_object('window', int(sys.argv[1]))
window = parent.create_window(0, 0, 1, 1, 0, X.CopyFromParent)
window.convert_selection(x.intern_atom('CLIPBOARD'), x.intern_atom('UTF8_STRING'),
                         Xatom.CUT_BUFFER0, X.CurrentTime)
while (event := x.next_event()).type != X.SelectionNotify:
    pass
if event.property:
    print(window.get_full_property(event.property, X.AnyPropertyType).value.decode(), end='')
)";
    return outputOfStranger({"/usr/bin/python3", "-c", program, std::to_string(parent)});
}

} // namespace

TEST_F(PasteboardFixture, nothingIsKnownOfContentsNeverWritten)
{
    EXPECT_EQ(pasteboard->use(PasteSource::clipboard), PasteboardUse::untracked);
}

TEST_F(Use, isUnreadUntilSomebodyReads)
{
    EXPECT_EQ(use(), PasteboardUse::unread);
    ScriptedReader reader;
    EXPECT_EQ(reader.text(), "dictated");
    EXPECT_EQ(use(), PasteboardUse::read);
    offer("again");
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(Use, questionsAboutTheTextAreNoReading)
{
    ScriptedReader reader;
    reader.targets();
    reader.read("TIMESTAMP");
    reader.read("x-kde-passwordManagerHint");
    reader.read("image/png");
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(Use, theFocusedProgramsReadingCounts)
{
    ScriptedReader focused;
    focused.takeFocus();
    EXPECT_EQ(focused.text(), "dictated");
    EXPECT_EQ(use(), PasteboardUse::read);
}

TEST_F(Use, whoeverHadTheFocusWhenTheTextWasWrittenCounts)
{
    ScriptedReader reader;
    reader.takeFocus();
    offer("dictated");
    // Another program, in another process, gets the focus before the paste is done.
    Process other({"xterm", "-e", "cat"});
    ASSERT_TRUE(eventually([&] {
        const XcbPointer<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
            reader.connection, xcb_query_tree(reader.connection, reader.root), nullptr));
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            const auto window = xcb_query_tree_children(tree.get())[i];
            if ((window & ~0x1fffffU) != (reader.window & ~0x1fffffU)) {
                xcb_set_input_focus(reader.connection, XCB_INPUT_FOCUS_PARENT, window,
                                    XCB_CURRENT_TIME);
            }
        }
        const XcbPointer<xcb_get_input_focus_reply_t> focus(xcb_get_input_focus_reply(
            reader.connection, xcb_get_input_focus(reader.connection), nullptr));
        return focus->focus > 1 && focus->focus != reader.window && focus->focus != reader.root;
    }));
    EXPECT_EQ(reader.text(), "dictated");
    EXPECT_EQ(use(), PasteboardUse::read);
}

TEST_F(Use, anUnfocusedProgramsReadingDoesNotCount)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    const ScriptedReader focused;
    focused.takeFocus();
    offer("dictated");
    EXPECT_EQ(pastedElsewhere(), "");
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(Use, whoeverReadsCountsForAsLongAsAProgramHasTakenTheKeyboard)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    const ScriptedReader focused;
    focused.takeFocus();
    const ScriptedReader launcher;
    const XcbPointer<xcb_grab_keyboard_reply_t> taken(xcb_grab_keyboard_reply(
        launcher.connection,
        xcb_grab_keyboard(launcher.connection, 0, launcher.root, XCB_CURRENT_TIME,
                          XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
        nullptr));
    ASSERT_EQ(taken->status, XCB_GRAB_STATUS_SUCCESS);
    offer("dictated");
    EXPECT_EQ(pastedElsewhere(), "dictated");
    EXPECT_TRUE(eventually([&] { return use() == PasteboardUse::read; }));
    offer("again");
    xcb_ungrab_keyboard(launcher.connection, XCB_CURRENT_TIME);
    launcher.sync();
    EXPECT_EQ(pastedElsewhere(), "") << "though it was taken when the text was written";
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(Use, aShortcutWhoseKeyIsHeldHasNotTakenTheKeyboard)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    const ScriptedReader focused;
    focused.takeFocus();
    Process desktop({"/usr/bin/python3", "-c", R"(
from Xlib import X, display
from Xlib.ext import xtest
x = display.Display()
x.screen().root.grab_key(38, X.AnyModifier, False, X.GrabModeAsync, X.GrabModeAsync)
xtest.fake_input(x, X.KeyPress, 38)
while x.next_event().type != X.KeyPress:
    pass
print('held', flush=True)
while True:
    x.next_event()
)"});
    ASSERT_EQ(desktop.line(), "held");
    const ScriptedReader asking;
    const XcbPointer<xcb_grab_keyboard_reply_t> asked(xcb_grab_keyboard_reply(
        asking.connection,
        xcb_grab_keyboard(asking.connection, 0, asking.window, XCB_CURRENT_TIME,
                          XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
        nullptr));
    ASSERT_EQ(asked->status, XCB_GRAB_STATUS_ALREADY_GRABBED);
    offer("dictated");
    EXPECT_EQ(pastedElsewhere(), "");
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(Use, onlyTheFocusedProgramsLookIsOne)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    // It is answered before it is noted.
    const auto isLookedAt = [&] {
        return eventually([&] { return pasteboard->wasLookedAt(PasteSource::clipboard); });
    };
    ScriptedReader focused;
    focused.takeFocus();
    focused.targets();
    EXPECT_TRUE(isLookedAt());
    offer("again");
    EXPECT_FALSE(pasteboard->wasLookedAt(PasteSource::clipboard));
    outputOfStranger({"xclip", "-o", "-selection", "clipboard", "-t", "TARGETS"});
    EXPECT_FALSE(pasteboard->wasLookedAt(PasteSource::clipboard));
    focused.targets();
    EXPECT_TRUE(isLookedAt());
}

TEST_F(Use, aCopyForGoodIsGivenToEverybody)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    const ScriptedReader focused;
    focused.takeFocus();
    pasteboard->copyString(PasteSource::clipboard, "copied");
    EXPECT_EQ(pastedElsewhere(), "copied");
}

TEST_F(Use, whatIsRestoredIsGivenToEverybodyAlsoASecret)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    const ScriptedReader focused;
    focused.takeFocus();
    offer("dictated");
    pasteboard->replace(
        PasteSource::clipboard,
        {{{"UTF8_STRING", bytesOf("old")}, {"x-kde-passwordManagerHint", bytesOf("secret")}}});
    EXPECT_EQ(pastedElsewhere(), "old");
}

TEST_F(Use, theListAndTheMarkAreForEverybody)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    const ScriptedReader focused;
    focused.takeFocus();
    offer("dictated");
    const auto ask = [](const char* target) {
        return outputOfStranger({"xclip", "-o", "-selection", "clipboard", "-t", target});
    };
    EXPECT_NE(ask("TARGETS").find("UTF8_STRING"), std::string::npos);
    EXPECT_EQ(ask("x-kde-passwordManagerHint"), "secret");
}

TEST_F(Use, aWindowOfAnotherProgramWithinTheFocusedOneReadsForIt)
{
    const ScriptedReader focused;
    focused.takeFocus();
    offer("dictated");
    EXPECT_EQ(readingWithin(focused.root), "");
    EXPECT_EQ(use(), PasteboardUse::unread);
    EXPECT_EQ(readingWithin(focused.window), "dictated");
    EXPECT_EQ(use(), PasteboardUse::read);
}

TEST_F(Use, largeTextIsReadWhenItsLastPieceIs)
{
    offer(std::string(3U << 20U, 'x'));
    ScriptedReader reader;
    reader.ask("UTF8_STRING");
    ASSERT_TRUE(reader.awaitAnswer());
    ASSERT_TRUE(reader.awaitPiece());
    EXPECT_EQ(reader.take().type, "INCR");
    std::size_t size = 0;
    for (;;) {
        ASSERT_TRUE(reader.awaitPiece());
        EXPECT_EQ(use(), PasteboardUse::unread);
        const Typed piece = reader.take();
        size += piece.bytes.size();
        if (piece.bytes.empty()) {
            break;
        }
    }
    EXPECT_EQ(size, 3U << 20U);
    EXPECT_TRUE(eventually([&] { return use() == PasteboardUse::read; }));
}

TEST_F(Use, anotherProgramsCopyReplacesOurs)
{
    ScriptedReader reader;
    EXPECT_EQ(reader.text(), "dictated");
    const ScriptedOwner copier(offering({{"UTF8_STRING", plain("UTF8_STRING", bytesOf("copy"))}}));
    EXPECT_TRUE(eventually([&] { return use() == PasteboardUse::replaced; }));
    EXPECT_EQ(reader.text(), "copy");
    EXPECT_EQ(use(), PasteboardUse::replaced);
    offer("dictated again");
    EXPECT_EQ(use(), PasteboardUse::unread);
    EXPECT_EQ(reader.text(), "dictated again");
}

TEST_F(Use, aCopyIntoAnEmptiedClipboardReplaces)
{
    pasteboard->replace(PasteSource::clipboard, {});
    EXPECT_TRUE(eventually([&] { return use() == PasteboardUse::unread; }));
    const ScriptedOwner copier(offering({}));
    EXPECT_TRUE(eventually([&] { return use() == PasteboardUse::replaced; }));
}

TEST_F(Use, theReadingOfEarlierTextSaysNothingOfTheLater)
{
    offer(std::string(3U << 20U, 'x'));
    ScriptedReader reader;
    reader.ask("UTF8_STRING");
    ASSERT_TRUE(reader.awaitAnswer());
    ASSERT_TRUE(reader.awaitPiece());
    reader.take();
    offer("later");
    std::size_t size = 0;
    for (Typed piece; reader.awaitPiece() && !(piece = reader.take()).bytes.empty();) {
        size += piece.bytes.size();
    }
    EXPECT_EQ(size, 3U << 20U) << "a transfer under way gets what it began with";
    reader.sync();
    EXPECT_EQ(use(), PasteboardUse::unread);
    EXPECT_EQ(reader.text(), "later");
    EXPECT_EQ(use(), PasteboardUse::read);
}

TEST_F(Use, primaryAndClipboardAreTrackedApart)
{
    pasteboard->setString(PasteSource::primarySelection, "selected");
    ASSERT_TRUE(eventually(
        [&] { return pasteboard->use(PasteSource::primarySelection) == PasteboardUse::unread; }));
    ScriptedReader reader;
    reader.text("PRIMARY");
    EXPECT_EQ(use(), PasteboardUse::unread);
    EXPECT_EQ(pasteboard->use(PasteSource::primarySelection), PasteboardUse::read);
}

TEST_F(Use, theOwnerOfTheManagerSelectionNeverCounts)
{
    ScriptedReader manager;
    xcb_set_selection_owner(manager.connection, manager.makeWindow(),
                            manager.atom("CLIPBOARD_MANAGER"), XCB_CURRENT_TIME);
    EXPECT_EQ(manager.text(), "(refused)");
    EXPECT_EQ(use(), PasteboardUse::unread);
    manager.takeFocus(); // its own window is being dictated into
    EXPECT_EQ(manager.text(), "dictated");
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(PasteboardFixture, aCompositorKeepsNoTextThatIsThereToBePasted)
{
    setenv("WAYLAND_DISPLAY", "wayland-0", 1);
    limit(std::chrono::seconds(1), 64U << 20U); // a pasteboard that knows of it
    ScriptedReader compositor;
    for (const char* name : {"CLIPBOARD_MANAGER", "WM_S0"}) {
        xcb_set_selection_owner(compositor.connection, compositor.window, compositor.atom(name),
                                XCB_CURRENT_TIME);
    }
    compositor.takeFocus(); // as while a program of its own has it
    for (const char* text : {"dictated", "again"}) {
        pasteboard->setString(PasteSource::clipboard, text);
        compositor.targets();
        EXPECT_FALSE(pasteboard->wasLookedAt(PasteSource::clipboard));
        EXPECT_EQ(compositor.text(), "(refused)") << "it would keep that";
        EXPECT_EQ(pasteboard->use(PasteSource::clipboard), PasteboardUse::unread);
        EXPECT_TRUE(pasteboard->wasLookedAt(PasteSource::clipboard));
        EXPECT_EQ(compositor.text(), text) << "for one of its programs";
        EXPECT_EQ(pasteboard->use(PasteSource::clipboard), PasteboardUse::read);
    }
    pasteboard->copyString(PasteSource::clipboard, "copied");
    EXPECT_EQ(compositor.text(), "copied") << "what stays may be kept";
    unsetenv("WAYLAND_DISPLAY");
}

} // namespace vorlin
