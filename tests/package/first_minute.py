"""A newcomer's first minute with the installed package: from the program's entry in the menu to the
first words, with pictures of what there is to see on the way."""

import contextlib
import pathlib
import re
from typing import Callable, NamedTuple

from gi.repository import Gio
from Xlib import X
from Xlib.ext import xtest

from controls import Controls
from editors import GTKEditor
from gnome_desktop import GnomeDesktop
from kwin_desktop import KWinDesktop
from portal_editors import GTK4Editor, QtEditor
from program import Program, wrong_words
from settings_window import SettingsWindow
from sway_desktop import SwayDesktop
from sway_editors import Foot
from virtual_desktop import VirtualDesktop
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
# Of a recogniser as small as the built-in one a wrong word is no fault of the package.
MOST_WRONG_WORDS = 2
# What is a person's to keep: settings, what was noticed, and what Qt 6.8 keeps compiled of views.
# The lock goes with the session.
OWN_FILES = re.compile(r"\.config/Vorlin(/settings\.json)?|\.local/state(/Vorlin(/state\.json)?)?"
                       r"|\.cache/Vorlin(/qmlcache(/[\w*]+\.qmlc)?)?|run/vorlin-:[\d*]+\.lock")
# What an editor writes a moment after it has opened a file.
LATE_OF_AN_EDITOR = r"\.local/share/recently-used\.xbel"
# What a desktop writes that has asked the person something: what the answer was, and in Plasma what
# belongs to the program that asks.
LATE_OF_PORTALS = r"\.local/share/flatpak(/db(/remote-desktop)?)?"
LATE_OF_PLASMA = (r"\.config/(Trolltech\.conf|gtkrc(-2\.0)?)"
                  r"|\.cache/(ksycoca6_.*|qtshadercache-.*|xdg-desktop-portal-kde(/.*)?)")
# Where its symbol stands in the panel.
SYMBOL = (1267, 16)
SWAY_PANEL = "bar {\n position top\n}\n"
# Where files are left beside the home folder, and what is in their names by chance.
ELSEWHERE = ("/tmp", "/var/tmp", "/dev/shm")
CHANCE = re.compile(r"(?<=[.-])(?=\w*[A-Z0-9])\w{6}\b|(?<=/\.mutter-Xwaylandauth\.)\w{6}"
                    r"|[0-9a-f]{8,}|[0-9]{2,}|(?<=/\.X)[0-9]")


class EchoingFoot(Foot):
    """A terminal that shows what it is typed."""

    def script(self, path):
        return ["sh", "-c", f"stty -icanon; : > '{path}.ready'; exec cat > '{path}'"]


class Session(NamedTuple):
    """A kind of session: what makes one whose pictures go to a folder, what the newcomer writes in,
    what is done from the program's start until its key can be pressed, which key that is, and which
    files others may write later than in the same session without the program."""

    desktop: Callable
    editor: type
    welcome: Callable
    key: str
    late: str


def on_x11():
    """A session of X11 with a panel."""
    @contextlib.contextmanager
    def desktop(pictures):
        with VirtualDesktop(artefacts=pictures, manager="openbox as it comes") as made:
            made.spawn(["trayer", "--edge", "top", "--align", "right", "--widthtype", "request",
                        "--height", "32", "--expand", "false"])
            yield made

    def welcome(desktop, program):
        window = SettingsWindow(desktop, program)
        wait_until(window.is_painted, "the settings at the very first start", 60)
        desktop.screenshot("1-started")
        with open_menu(desktop):
            desktop.screenshot("1-menu")

    return Session(desktop, GTKEditor, welcome, "Alt_R", LATE_OF_AN_EDITOR)


def on_sway(person):
    """A session of sway with its own panel."""
    def welcome(desktop, program):
        def have_the_focus():
            return any(each["name"] == "Vorlin Settings" and each["focused"]
                       for each in desktop.windows())

        wait_until(have_the_focus, "the settings at the very first start", 60)
        # They ask for it again 0.15 s later, sooner than a person would be elsewhere.
        wait_until(lambda: stays(have_the_focus, 0.5) and program.answers(),
                   "the settings to be in front for good")
        desktop.screenshot("1-started")

    return Session(lambda pictures: SwayDesktop(person, SWAY_PANEL, artefacts=pictures),
                   EchoingFoot, welcome, "Alt_R", late="")


def with_portals(kind, editor, late):
    """A session of a desktop that asks the person for keys."""
    def welcome(desktop, _):
        controls = Controls(desktop)  # they open by themselves, where the button is
        controls.find("Allow…")
        desktop.screenshot("1-started")
        controls.press("Allow…")
        desktop.agree(desktop.screenshot)
        controls.find("Dictation key")  # they go on to it
        desktop.screenshot("1-allowed")

    return Session(lambda pictures: kind(artefacts=pictures, accessible=True, variables={
        "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}), editor, welcome, "F9",
        f"{LATE_OF_PORTALS}|{late}")


def on_kwin():
    return with_portals(KWinDesktop, QtEditor, LATE_OF_PLASMA)


def on_gnome():
    return with_portals(GnomeDesktop, GTK4Editor, LATE_OF_AN_EDITOR)


def first_minute(session, pictures):
    """What is wrong with it."""
    alone = left_by_the_desktop(session)
    with session.desktop(pictures) as desktop:
        program = started(desktop)
        session.welcome(desktop, program)
        yield from walk(desktop, program, session)
        yield from (f"it left {path}" for path in sorted(files_of_the_person(desktop) - alone)
                    if not OWN_FILES.fullmatch(path) and not re.fullmatch(session.late, path))


def left_by_the_desktop(session):
    """What lies there after the same without the program."""
    with session.desktop(None) as desktop:
        where = session.editor(desktop)
        desktop.keyboard.type("typed")
        where.await_text()
        return files_of_the_person(desktop)


def files_of_the_person(desktop):
    """What lies in the home folder, in the session's own, and where everybody may write, by paths
    without what is in them by chance."""
    paths = [path.relative_to(desktop.home) for path in desktop.home.rglob("*")]
    paths += [path.relative_to(desktop.folder) for path in desktop.runtime_folder.rglob("*")]
    for folder in ELSEWHERE:
        paths += pathlib.Path(folder).iterdir()
    return {CHANCE.sub("*", str(path)) for path in paths if path != desktop.folder}


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


def started(desktop, **settings):
    """Starts what the menu's entry names; for the very first time, unless there are settings."""
    entry = Gio.DesktopAppInfo.new("org.vorlin.Vorlin.desktop")
    if entry is None or not entry.should_show():
        raise AssertionError("no menu has an entry for it")
    return Program(desktop, entry.get_commandline(), very_first_start=not settings, **settings)


def complaints(desktop):
    """What the program has printed, but that a screen reader asked for what had just gone."""
    return [f"it complained: {line}"
            for line in (desktop.artefacts / "vorlin.log").read_text().split("\n")
            if line and not line.startswith("qt.accessibility.atspi")]


def walk(desktop, program, session):
    """Opens an editor, dictates into it, ends the program; what is wrong."""
    if (desktop.config_folder / "autostart").exists():
        yield "it opens at login although nobody asked for it"
    where = session.editor(desktop)
    desktop.screenshot("2-before-the-key")
    with desktop.keyboard.held(session.key):
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
    yield from complaints(desktop)
