#include "Platform/Linux/Keys/PasteChords.h"

#include "Hotkey.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using namespace eventFlags;

constexpr PasteChord usual{9, maskControl, PasteSource::clipboard};
constexpr PasteChord terminal{9, maskControl | maskShift, PasteSource::clipboard, true};
constexpr PasteChord xterm{114, maskShift, PasteSource::primarySelection, true};

TEST(PasteChords, unknownProgramsPasteWithControlV)
{
    EXPECT_EQ(pasteChordFor("", ""), usual);
    EXPECT_EQ(pasteChordFor("gedit", "Gedit"), usual);
    EXPECT_EQ(pasteChordFor("xterminator", "Xterminator"), usual);
}

TEST(PasteChords, theXtermFamilyPastesThePrimarySelection)
{
    EXPECT_EQ(pasteChordFor("xterm", "XTerm"), xterm);
    EXPECT_EQ(pasteChordFor("xterm", "UXTerm"), xterm);
    EXPECT_EQ(pasteChordFor("logs", "XTerm"), xterm) << "named by the person";
    EXPECT_EQ(pasteChordFor("urxvt", "URxvt"), xterm);
    EXPECT_EQ(pasteChordFor("rxvt", "Rxvt"), xterm);
}

TEST(PasteChords, otherTerminalsPasteWithControlShiftV)
{
    constexpr PasteChord looking{9, maskControl | maskShift, PasteSource::clipboard, true, true};
    EXPECT_EQ(pasteChordFor("gnome-terminal-server", "Gnome-terminal"), looking);
    for (const auto* name :
         {"konsole", "Xfce4-terminal", "kitty", "Alacritty", "Tilix", "Terminator", "Lxterminal",
          "Mate-terminal", "qterminal", "st-256color", "org.wezfurlong.wezterm", "terminology",
          "Guake", "yakuake", "Tilda", "cool-retro-term", "foot"}) {
        EXPECT_EQ(pasteChordFor("anything", name), terminal) << name;
        EXPECT_EQ(pasteChordFor(name, ""), terminal) << name;
    }
}

TEST(PasteChords, ourOwnWindowsTakeTextsRarely)
{
    constexpr PasteChord rarely{9, maskControl, PasteSource::clipboard, false, false, true};
    EXPECT_EQ(pasteChordFor("vorlin", "Vorlin"), rarely);
    EXPECT_EQ(pasteChordFor("vorlin", "vorlin"), rarely);
}

TEST(PasteChords, emacsYanks)
{
    constexpr PasteChord yank{16, maskControl, PasteSource::clipboard};
    EXPECT_EQ(pasteChordFor("emacs", "Emacs"), yank);
    for (const auto* name : {"emacs-gtk", "emacs-lucid", "emacs-pgtk"}) { // started by this name
        EXPECT_EQ(pasteChordFor(name, ""), yank) << name;
    }
}

} // namespace
} // namespace vorlin
