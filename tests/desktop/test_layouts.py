"""Keyboards: the dictation key works whatever the layout is, whenever it changes, and on a keyboard
that was plugged in later."""

import pytest

from editors import GTKEditor, Terminal
from hotkeys import HOTKEYS
from keyboard import PluggedKeyboard
from program import Program, assert_arrived
from virtual_desktop import VirtualDesktop
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
OTHER = "the weather will be warm and sunny for the rest of the week"

# The layout's name, its variant, and the key of who has chosen none: where right Alt types
# characters it is another.
LAYOUTS = (("us", "", "Alt_R"), ("de", "", "Control_R"), ("fr", "", "Control_R"),
           ("ru", "", "Alt_R"), ("us", "dvorak", "Alt_R"))
NAMES = [variant or layout for layout, variant, _ in LAYOUTS]

# A key, by its name on an American keyboard, and the character that it and right Alt type.
TYPED_WITH_RIGHT_ALT = {"de": ("q", "@"), "fr": ("0", "@"), "es": ("2", "@"),
                        "it": ("semicolon", "@"), "se": ("2", "@"), "gb": ("grave", "|")}

CHOSEN = ("right Alt", "Alt+Space", "F8")


def set_layout(desktop, layout, variant="", *options):
    desktop.output(["setxkbmap", "-layout", layout, "-variant", variant, "-option", "", *options])


class Dictations:
    """One dictation after the other into a terminal."""

    def __init__(self, desktop, program):
        self.desktop = desktop
        self.program = program
        self.terminal = Terminal(desktop)
        self.length = 0
        self.count = 0

    def next(self, *keys):
        said = (SENTENCE, OTHER)[self.count % 2]
        with self.desktop.keyboard.held(*keys):
            self.program.await_recording()
            self.program.say(said)
        wait_until(lambda: self.terminal.path.stat().st_size > self.length, "the text")
        text = self.terminal.await_text()
        assert_arrived(said, text[self.length:])
        self.length = len(text)
        self.count += 1


@pytest.mark.parametrize("layout, variant, key", LAYOUTS, ids=NAMES)
def test_the_key_of_who_has_chosen_none_dictates_and_escape_cancels(artefacts, request, layout,
                                                                    variant, key):
    with VirtualDesktop(artefacts=artefacts) as desktop:
        set_layout(desktop, layout, variant)
        program = Program(desktop, request.config.getoption("--program"),
                          settings={"sounds": False})
        editor = GTKEditor(desktop)
        with desktop.keyboard.held(key):
            program.await_recording()
            program.say(OTHER)
            desktop.keyboard.tap("Escape")
            program.await_silence()
        assert stays(lambda: not editor.changed(), 1)
        with desktop.keyboard.held(key):
            program.await_recording()
            program.say(SENTENCE)
        wait_until(editor.changed, "the text")
        assert not desktop.keyboard.down()
        set_layout(desktop, "us")  # whose keys save the file
        assert_arrived(SENTENCE, editor.text())


def assert_right_ctrl_is_the_key(desktop, program):
    """Right Alt starts nothing, right Ctrl does."""
    with desktop.keyboard.held("Alt_R"):
        assert stays(lambda: not program.is_recording(), 0.5)
    with desktop.keyboard.held("Control_R"):
        program.await_recording()
        desktop.keyboard.tap("Escape")
        program.await_silence()


@pytest.mark.parametrize("layout", TYPED_WITH_RIGHT_ALT)
def test_a_character_of_the_right_alt_key_is_typed_and_starts_no_dictation(artefacts, request,
                                                                           layout):
    key, character = TYPED_WITH_RIGHT_ALT[layout]
    with VirtualDesktop(artefacts=artefacts, layout=layout) as desktop:
        program = Program(desktop, request.config.getoption("--program"),
                          settings={"sounds": False})
        terminal = Terminal(desktop)
        assert_right_ctrl_is_the_key(desktop, program)
        with desktop.keyboard.held("Alt_R", key):
            assert stays(lambda: not program.is_recording(), 0.5)
        assert terminal.await_text() == character
        assert program.stored_hotkey() is None


def test_toggling_between_layouts_does_not_move_the_key_that_nobody_chose(desktop, launch):
    set_layout(desktop, "us,de", ",", "-option", "grp:caps_toggle")
    program = launch(settings={"sounds": False})
    for _ in range(3):
        assert_right_ctrl_is_the_key(desktop, program)
        desktop.keyboard.tap("Caps_Lock")


@pytest.mark.parametrize("hotkey", CHOSEN)
def test_a_chosen_key_stays_through_layouts_that_change(desktop, launch, hotkey):
    keys, setting = HOTKEYS[hotkey]
    program = launch(settings={"sounds": False, "hotkey.v2": setting})
    dictations = Dictations(desktop, program)
    for layout, variant, _ in (*LAYOUTS, LAYOUTS[0]):
        set_layout(desktop, layout, variant)
        dictations.next(*keys)
    set_layout(desktop, "us,de,ru", ",,", "-option", "grp:caps_toggle")
    for _ in range(4):
        dictations.next(*keys)
        desktop.keyboard.tap("Caps_Lock")
    assert not desktop.keyboard.down()


def test_a_layout_that_changes_while_the_key_is_held_leaves_no_key_stuck(desktop, launch):
    program = launch(settings={"sounds": False, "hotkey.v2": HOTKEYS["Alt+Space"][1]})
    dictations = Dictations(desktop, program)
    with desktop.keyboard.held("Alt_L", "space"):
        program.await_recording()
        program.say(SENTENCE)
        set_layout(desktop, "de")
    program.await_silence()
    assert_arrived(SENTENCE, dictations.terminal.await_text())
    dictations.length = len(dictations.terminal.text())
    assert not desktop.keyboard.down()
    dictations.next("Alt_L", "space")
    assert not desktop.keyboard.down()


@pytest.mark.parametrize("hotkey", CHOSEN)
def test_a_keyboard_that_is_plugged_in_later_works(desktop, launch, hotkey):
    keyboard = PluggedKeyboard(desktop)
    keyboard.take_off()
    keys, setting = HOTKEYS[hotkey]
    program = launch(settings={"sounds": False, "hotkey.v2": setting})
    terminal = Terminal(desktop)
    keyboard.plug_in()
    with keyboard.held(*keys):
        program.await_recording()
        program.say(OTHER)
        keyboard.tap("Escape")
        program.await_silence()
    assert stays(lambda: not terminal.changed(), 1), terminal.text()
    with keyboard.held(*keys):
        program.await_recording()
        program.say(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())
    assert not desktop.keyboard.down()


def test_a_keyboard_pulled_out_with_the_key_held_leaves_no_key_stuck(desktop, launch):
    keyboard = PluggedKeyboard(desktop)
    program = launch(settings={"sounds": False})
    terminal = Terminal(desktop)
    keyboard.press("Alt_R")
    program.await_recording()
    program.say(SENTENCE)
    keyboard.take_off()
    program.await_silence()
    assert_arrived(SENTENCE, terminal.await_text())
    assert not desktop.keyboard.down()
    desktop.keyboard.tap("x")
    wait_until(lambda: terminal.text().endswith("x"), "a plain letter")
