#include "Platform/Linux/Keys/PasteChords.h"

#include "Hotkey.h"

#include <algorithm>
#include <array>

namespace vorlin {

namespace {

using namespace eventFlags;

constexpr std::uint16_t keyY = 16;

constexpr PasteChord usual{keyCodes::v, maskControl, PasteSource::clipboard};
constexpr PasteChord terminal{keyCodes::v, maskControl | maskShift, PasteSource::clipboard, true};
/// It allows nothing to be pasted between a copy and the answer of what was copied.
constexpr PasteChord gnomeTerminal{keyCodes::v, maskControl | maskShift, PasteSource::clipboard,
                                   true, true};
constexpr PasteChord xterm{keyCodes::insert, maskShift, PasteSource::primarySelection, true};
/// Whoever tries a dictation while the settings are before them.
constexpr PasteChord ourselves{keyCodes::v, maskControl, PasteSource::clipboard,
                               false,       false,       true};
constexpr PasteChord emacs{keyY, maskControl, PasteSource::clipboard};

struct Program {
    std::string_view name;
    PasteChord chord;
};

/// Lower case. Terminals take Control+V for a control character.
constexpr Program programs[] = {
    {"xterm", xterm},
    {"uxterm", xterm},
    {"koi8rxterm", xterm},
    {"rxvt", xterm},
    {"urxvt", xterm},
    {"rxvt-unicode", xterm},
    {"mrxvt", xterm},
    {"aterm", xterm},
    {"eterm", xterm},
    {"alacritty", terminal},
    {"app.devsuite.ptyxis", terminal},
    {"blackbox", terminal},
    {"com.mitchellh.ghostty", terminal},
    {"com.raggesilver.blackbox", terminal},
    {"com.system76.cosmicterm", terminal},
    {"cool-retro-term", terminal},
    {"deepin-terminal", terminal},
    {"foot", terminal},
    {"footclient", terminal},
    {"gnome-terminal", gnomeTerminal},
    {"gnome-terminal-server", gnomeTerminal},
    {"guake", terminal},
    {"havoc", terminal},
    {"io.elementary.terminal", terminal},
    {"kgx", terminal},
    {"kitty", terminal},
    {"konsole", terminal},
    {"lxterminal", terminal},
    {"mate-terminal", terminal},
    {"org.codeberg.dnkl.foot", terminal},
    {"org.contourterminal.contour", terminal},
    {"org.gnome.console", terminal},
    {"org.gnome.ptyxis", terminal},
    {"org.gnome.ptyxis.devel", terminal},
    {"org.gnome.terminal", gnomeTerminal},
    {"org.kde.konsole", terminal},
    {"org.kde.yakuake", terminal},
    {"org.wezfurlong.wezterm", terminal},
    {"org.xfce.terminal", terminal},
    {"ptyxis", terminal},
    {"qterminal", terminal},
    {"rio", terminal},
    {"roxterm", terminal},
    {"sakura", terminal},
    {"st", terminal},
    {"st-256color", terminal},
    {"terminator", terminal},
    {"terminology", terminal},
    {"tilda", terminal},
    {"tilix", terminal},
    {"wezterm", terminal},
    {"xfce4-terminal", terminal},
    {"yakuake", terminal},
    {"emacs", emacs},
    {"emacs-gtk", emacs},
    {"emacs-lucid", emacs},
    {"emacs-pgtk", emacs},
    {"vorlin", ourselves},
};

bool equalIgnoringCase(std::string_view name, std::string_view lowerCase)
{
    const auto lower = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    };
    return std::ranges::equal(name, lowerCase, {}, lower);
}

} // namespace

PasteChord pasteChordFor(std::string_view instanceName, std::string_view className)
{
    // The class is the program's own; the instance often what the person called it.
    for (const auto name : {className, instanceName}) {
        const auto* found = std::ranges::find_if(
            programs, [&](const auto& program) { return equalIgnoringCase(name, program.name); });
        if (found != std::end(programs)) {
            return found->chord;
        }
    }
    return usual;
}

} // namespace vorlin
