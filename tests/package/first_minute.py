"""A newcomer's first minute with the installed package: from the program's entry in the menu to the
first words, with pictures of what there is to see on the way."""

import contextlib

from gi.repository import Gio
from Xlib import X
from Xlib.ext import xtest

from editors import GTKEditor
from program import Program, wrong_words
from settings_window import SettingsWindow
from sway_desktop import SwayDesktop
from sway_editors import Foot
from virtual_desktop import VirtualDesktop
from waiting import wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
# Of a recogniser as small as the built-in one a wrong word is no fault of the package.
MOST_WRONG_WORDS = 2
OWN_FILES = {".config/Vorlin/settings.json", ".local/state/Vorlin/state.json"}
# Where its symbol stands in the panel.
SYMBOL = (1267, 16)
SWAY_PANEL = "bar {\n position top\n}\n"


class EchoingFoot(Foot):
    """A terminal that shows what it is typed."""

    def script(self, path):
        return ["sh", "-c", f"stty -icanon; : > '{path}.ready'; exec cat > '{path}'"]


def on_x11(pictures):
    """In a session of X11 with a panel; what is wrong with it."""
    with VirtualDesktop(artefacts=pictures, manager="openbox as it comes") as desktop:
        desktop.spawn(["trayer", "--edge", "top", "--align", "right", "--widthtype", "request",
                       "--height", "32", "--expand", "false"])
        program = started(desktop)
        window = SettingsWindow(desktop, program)
        wait_until(window.is_painted, "the settings at the very first start", 60)
        desktop.screenshot("1-started")
        with open_menu(desktop):
            desktop.screenshot("1-menu")
        yield from walk(desktop, program, GTKEditor)


def on_sway(pictures, person):
    """In a session of sway with its own panel; what is wrong with it."""
    with SwayDesktop(person, SWAY_PANEL, artefacts=pictures) as desktop:
        program = started(desktop)
        wait_until(lambda: any(each["name"] == "Vorlin Settings" for each in desktop.windows()),
                   "the settings at the very first start", 60)
        desktop.screenshot("1-started")
        yield from walk(desktop, program, EchoingFoot)


@contextlib.contextmanager
def open_menu(desktop):
    """The menu of its symbol in the panel, until the block ends."""
    def windows():
        return {each.id for each in desktop.x.screen().root.query_tree().children
                if each.get_attributes().map_state == X.IsViewable}

    before = windows()
    xtest.fake_input(desktop.x, X.MotionNotify, x=SYMBOL[0], y=SYMBOL[1])
    xtest.fake_input(desktop.x, X.ButtonPress, 3)
    xtest.fake_input(desktop.x, X.ButtonRelease, 3)
    desktop.x.sync()
    wait_until(lambda: windows() - before, "the menu")
    yield
    desktop.keyboard.tap("Escape")
    wait_until(lambda: not windows() - before, "the menu to go")


def started(desktop):
    """Starts what the menu's entry names."""
    entry = Gio.DesktopAppInfo.new("org.vorlin.Vorlin.desktop")
    if entry is None or not entry.should_show():
        raise AssertionError("no menu has an entry for it")
    return Program(desktop, entry.get_commandline(), very_first_start=True)


def walk(desktop, program, editor):
    """Opens an editor, dictates into it, ends the program; what is wrong."""
    if (desktop.config_folder / "autostart").exists():
        yield "it opens at login although nobody asked for it"
    where = editor(desktop)
    desktop.screenshot("2-before-the-key")
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        desktop.screenshot("3-spoken")
    typed = where.await_text()
    desktop.screenshot("4-typed")
    print(f'Spoken: "{SENTENCE}". Typed into {where.name}: "{typed}".', flush=True)
    if wrong_words(SENTENCE, typed) > MOST_WRONG_WORDS:
        yield f'it typed "{typed}"'
    if program.quit() != 0:
        yield "it did not end well"
    said = (desktop.artefacts / "vorlin.log").read_text()
    if said:
        yield f"it complained: {said}"
    yield from (f"it wrote {path} into the home folder"
                for path in sorted(written(desktop.home) - OWN_FILES))


def written(home):
    """The program's files in a home folder, but for the views, which Qt 6.8 keeps compiled."""
    return {str(path.relative_to(home)) for path in home.rglob("*")
            if path.is_file() and "orlin" in str(path.relative_to(home)) and path.suffix != ".qmlc"}
