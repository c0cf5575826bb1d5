"""A dictation key recorded in the settings window, under a window manager with its own shortcuts,
and used."""

import pytest
from Xlib import X, error

from editors import GTKEditor, QtEditor
from program import assert_arrived
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
KEY = "Dictation key"
ASKS = "Press a key…"
HINT = "Add Super, Alt, Ctrl or Shift — or use a function key."
ALT = 0x80000


@pytest.fixture(name="begun")
def _begun(stage):
    return stage(manager="openbox as it comes", settings={"sounds": False})


def record(begun, controls):
    """Clicks on the key's box; returns when a key is waited for."""
    controls.click(KEY)
    await_text(controls, ASKS)
    assert not can_grab_keyboard(begun.desktop)


def await_text(controls, text):
    wait_until(lambda: controls.description(KEY) == text, f"{text!r} in the key's box")


def can_grab_keyboard(desktop):
    """Whether no other program has the keyboard to itself."""
    root = desktop.x.screen().root
    status = root.grab_keyboard(False, X.GrabModeAsync, X.GrabModeAsync, X.CurrentTime)
    desktop.x.ungrab_keyboard(X.CurrentTime)
    desktop.x.sync()
    return status == X.GrabSuccess


def windows(desktop):
    """How many windows are shown, menus included."""
    count = 0
    for window in desktop.x.screen().root.query_tree().children:
        try:
            count += window.get_attributes().map_state == X.IsViewable
        except error.BadWindow:
            pass
    return count


def dictate(begun, *keys):
    """Holds keys down and speaks."""
    with begun.desktop.keyboard.held(*keys):
        begun.program.await_recording()
        begun.program.say(SENTENCE)


@pytest.mark.parametrize("keys, stored, label, editor", (
    (("F8",), (100, 0, False), "F8", GTKEditor),
    (("Alt_L", "space"), (49, ALT, False), "Alt+Space", QtEditor),
    (("Control_R",), (62, 0, True), "Right Ctrl", GTKEditor),
), ids=("F8", "Alt+Space", "right-Ctrl"))
def test_a_recorded_key_is_shown_kept_and_dictates(begun, keys, stored, label, editor):
    controls = begun.open_settings()
    record(begun, controls)
    begun.desktop.screenshot("recording")
    begun.desktop.keyboard.chord(*keys)
    await_text(controls, label)
    wait_until(lambda: begun.program.stored_hotkey() == stored, "the settings file")
    begun.desktop.screenshot("recorded")
    assert stays(lambda: not begun.program.is_recording(), 0.5)
    begun.window.close()
    text = editor(begun.desktop)
    dictate(begun, *keys)
    assert_arrived(SENTENCE, text.await_text())
    begun.desktop.keyboard.tap("Alt_R")
    assert stays(lambda: not begun.program.is_recording(), 1), "the key of before"


def test_without_a_recorder_alt_and_space_belong_to_the_window_manager(begun):
    begun.window.open()
    wait_until(begun.window.is_active, "the settings in front")
    before = windows(begun.desktop)

    def menu_opens():
        # What comes while it takes its keys anew is lost, as happens with a keyboard's first.
        begun.desktop.keyboard.chord("Alt_L", "space")
        return not stays(lambda: windows(begun.desktop) == before, 1)

    wait_until(menu_opens, "the window's menu")
    begun.desktop.screenshot("window-menu")
    begun.desktop.keyboard.tap("Escape")
    wait_until(lambda: windows(begun.desktop) == before, "the end of the menu")


def test_space_alone_shows_a_hint_and_escape_leaves_the_key_as_it_was(begun):
    controls = begun.open_settings()
    record(begun, controls)
    begun.desktop.keyboard.tap("space")
    controls.find(HINT)
    begun.desktop.screenshot("hint")
    assert controls.description(KEY) == ASKS, "it goes on"
    begun.desktop.keyboard.tap("Escape")
    await_text(controls, "Right Alt")
    assert "hotkey.v2" not in begun.program.stored()
    record(begun, controls)
    assert not controls.has(HINT)
    begun.desktop.keyboard.tap("Escape")
    await_text(controls, "Right Alt")
    wait_until(lambda: can_grab_keyboard(begun.desktop), "the keyboard to be everybody's")
    begun.window.close()
    text = GTKEditor(begun.desktop)
    begun.program.dictate(SENTENCE)
    assert_arrived(SENTENCE, text.await_text())


def test_neither_the_old_key_nor_the_recorded_one_dictates_before_it_is_pressed_anew(begun):
    controls = begun.open_settings()
    record(begun, controls)
    with begun.desktop.keyboard.held("Alt_R"):
        assert stays(lambda: not begun.program.is_recording(), 1)
        begun.desktop.keyboard.tap("Shift_L")  # so that it is not recorded
    assert controls.description(KEY) == ASKS
    with begun.desktop.keyboard.held("F8"):
        await_text(controls, "F8")
        assert stays(lambda: not begun.program.is_recording(), 1)
    assert stays(lambda: not begun.program.is_recording(), 0.5)
    with begun.desktop.keyboard.held("F8"):
        begun.program.await_recording()
    begun.program.await_silence()


def test_the_key_that_starts_it_counts_only_after_its_release(begun):
    controls = begun.open_settings()
    controls.focus(KEY)
    with begun.desktop.keyboard.held("Return"):
        await_text(controls, ASKS)
        assert stays(lambda: controls.description(KEY) == ASKS, 1), "it repeats meanwhile"
    assert not controls.has(HINT)
    begun.desktop.keyboard.tap("F8")
    await_text(controls, "F8")
    controls.focus(KEY)
    begun.desktop.keyboard.tap("space")
    await_text(controls, ASKS)
    begun.desktop.keyboard.tap("Escape")
    await_text(controls, "F8")


def test_a_second_click_ends_it(begun):
    controls = begun.open_settings()
    record(begun, controls)
    controls.click(KEY)
    await_text(controls, "Right Alt")
    assert can_grab_keyboard(begun.desktop)
    with begun.desktop.keyboard.held("Alt_R"):
        begun.program.await_recording()


def test_another_window_a_tab_or_the_end_of_the_window_ends_it(begun):
    text = GTKEditor(begun.desktop)
    controls = begun.open_settings()
    record(begun, controls)
    text.focus()
    await_text(controls, "Right Alt")
    assert can_grab_keyboard(begun.desktop)
    begun.window.open()
    wait_until(begun.window.is_active, "the settings in front")
    record(begun, controls)
    controls.click("Popup")
    wait_until(lambda: can_grab_keyboard(begun.desktop), "the keyboard to be everybody's")
    controls.click("General")
    assert controls.description(KEY) == "Right Alt"
    record(begun, controls)
    begun.window.close_by_its_frame()
    wait_until(lambda: can_grab_keyboard(begun.desktop), "the keyboard to be everybody's")
    begun.program.dictate(SENTENCE)
    assert_arrived(SENTENCE, text.await_text())
