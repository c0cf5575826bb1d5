"""Window managers with the key bindings they come with: the dictation key and Escape are the
program's while a dictation runs, and theirs otherwise."""

import pytest
from Xlib import X, error

from editors import GTKEditor, Terminal
from hotkeys import HOTKEYS
from keyboard import KEYS
from overlay import Overlay
from program import Program, assert_arrived
from virtual_desktop import VirtualDesktop
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
MANAGERS = ("openbox as it comes", "xfwm4", "metacity")
# Those that a window manager or its menus might want.
WANTED = ("right Alt", "right Ctrl", "right Super", "Alt+Space")


@pytest.fixture(name="desktop", params=MANAGERS, ids=[name.split()[0] for name in MANAGERS])
def _desktop(request, artefacts):
    with VirtualDesktop(artefacts=artefacts, manager=request.param) as desktop:
        yield desktop
        desktop.screenshot("end")


@pytest.fixture(name="launch")
def _launch(desktop, request):
    binary = request.config.getoption("--program")
    return lambda hotkey: Program(desktop, binary,
                                  settings={"sounds": False, "hotkey.v2": HOTKEYS[hotkey][1]})


def shown(desktop, overlay=None):
    """The windows that are on the screen, menus included and the overlay not."""
    found = set()
    for window in desktop.x.screen().root.query_tree().children:
        try:
            if window.get_attributes().map_state == X.IsViewable:
                found.add(window.id)
        except error.BadWindow:
            pass
    own = overlay and overlay.window()
    return found - {own.id} if own else found


def settled(desktop):
    """The windows on the screen once none comes or goes any more."""
    wait_until(lambda: stays(lambda before=shown(desktop): shown(desktop) == before, 0.5),
               "the window manager to come to rest")
    return shown(desktop)


@pytest.mark.parametrize("hotkey", WANTED)
def test_escape_with_the_key_held_cancels_and_reaches_nobody(desktop, launch, hotkey):
    program = launch(hotkey)
    terminal = Terminal(desktop)
    overlay = Overlay(desktop)
    before = settled(desktop)
    with desktop.keyboard.held(*HOTKEYS[hotkey][0]):
        program.await_recording()
        program.say(SENTENCE)
        desktop.keyboard.tap("Escape")
        program.await_silence()
        overlay.await_hidden()
        assert stays(lambda: shown(desktop, overlay) == before, 0.5), "a window came"
        assert terminal.has_focus()
    assert stays(lambda: not terminal.changed(), 1), terminal.text()
    assert shown(desktop, overlay) == before
    assert not desktop.keyboard.down()
    with desktop.keyboard.held(*HOTKEYS[hotkey][0]):
        program.await_recording()
        program.say(SENTENCE)
    text = terminal.await_text()
    assert_arrived(SENTENCE, text)
    assert text == text.strip(), "neither space nor Escape was typed"


def test_alt_and_space_type_nothing_and_open_no_menu(desktop, launch):
    program = launch("Alt+Space")
    editor = GTKEditor(desktop)
    overlay = Overlay(desktop)
    before = settled(desktop)
    with desktop.keyboard.held("Alt_L", "space"):
        program.await_recording()
        program.say(SENTENCE)
        assert shown(desktop, overlay) == before
    text = editor.await_text()
    assert_arrived(SENTENCE, text)
    assert text == text.strip()
    assert shown(desktop, overlay) == before


def test_without_the_program_they_open_the_windows_menu(desktop):
    """What the test above would see if nothing were done about it."""
    terminal = Terminal(desktop)
    before = settled(desktop)

    def opens():
        # What comes while the manager takes its keys anew is lost.
        desktop.keyboard.chord("Alt_L", "space")
        return not stays(lambda: shown(desktop) == before, 1)

    wait_until(opens, "the window's menu")
    desktop.keyboard.tap("Escape")
    wait_until(lambda: shown(desktop) == before, "the end of the menu")
    assert terminal.process.poll() is None


def test_when_the_program_ends_by_whatever_means_the_keys_are_the_managers_again(desktop, launch):
    program = launch("Alt+Space")
    Terminal(desktop)
    overlay = Overlay(desktop)
    with desktop.keyboard.held("Alt_L", "space"):
        program.await_recording()
        overlay.await_shown()
        program.process.kill()
        program.process.wait()
    before = settled(desktop)
    assert not desktop.keyboard.down()

    def opens():
        desktop.keyboard.chord("Alt_L", "space")
        return not stays(lambda: shown(desktop) == before, 1)

    wait_until(opens, "the window's menu")
    assert KEYS["Escape"] not in desktop.keyboard.down()
