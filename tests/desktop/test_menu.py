"""The menu of the item in the panel: read over the session bus, and clicked."""

import pytest

from editors import GTKEditor
from tray import SEPARATOR, Panel
from waiting import wait_until

HOLD = ["Hold Right Alt to dictate", "Esc, or press again, to cancel"]
TOGGLE = ["Press Right Alt to start, again to stop", "Esc to cancel"]
COMMANDS = [SEPARATOR, "Settings…", SEPARATOR, "Quit Vorlin"]


def test_it_says_how_to_dictate_and_what_else_can_be_done(stage):
    panel = Panel(stage().desktop)
    panel.await_lines(HOLD + COMMANDS)
    assert [each.text for each in panel.entries() if not each.enabled] == HOLD
    assert {each.text: each.shortcut for each in panel.entries() if each.shortcut} == {
        "Settings…": [["Control", "comma"]], "Quit Vorlin": [["Control", "q"]]}


def test_settings_opens_the_window_in_front(stage):
    begun = stage()
    panel = Panel(begun.desktop)
    editor = GTKEditor(begun.desktop)
    assert begun.window.window() is None
    panel.click("Settings…")
    wait_until(begun.window.is_painted, "the settings window", 60)
    wait_until(begun.window.is_active, "the settings window in front")
    editor.focus()
    panel.click("Settings…")
    wait_until(begun.window.is_active, "the settings window in front again")


def test_a_click_on_the_item_opens_the_window(stage):
    begun = stage()
    Panel(begun.desktop).activate()
    wait_until(begun.window.is_painted, "the settings window", 60)


@pytest.mark.parametrize("shown", (False, True))
def test_quit_ends_the_program(stage, shown):
    begun = stage()
    panel = Panel(begun.desktop)
    if shown:
        begun.window.open()
    panel.click("Quit Vorlin")
    assert begun.program.process.wait(30) == 0


def test_the_recording_mode_chosen_in_the_window_changes_the_lines(stage):
    begun = stage()
    panel = Panel(begun.desktop)
    panel.await_lines(HOLD + COMMANDS)
    controls = begun.open_settings()
    controls.press("Press to start & stop")
    panel.await_lines(TOGGLE + COMMANDS)
    begun.program.await_stored("recordMode", "toggle")
    assert controls.is_checked("Press to start & stop")
    controls.focus("Press to start & stop")
    begun.desktop.keyboard.tap("Left")
    panel.await_lines(HOLD + COMMANDS)
    begun.program.await_stored("recordMode", "hold")
    assert controls.is_checked("Hold to talk")


def test_a_preset_chosen_in_the_window_changes_the_lines(stage):
    begun = stage()
    panel = Panel(begun.desktop)
    controls = begun.open_settings()
    controls.press("Presets")
    controls.press("Right Ctrl")
    panel.await_lines(["Hold Right Ctrl to dictate", HOLD[1]] + COMMANDS)
    assert controls.description("Dictation key") == "Right Ctrl"
    wait_until(lambda: begun.program.stored_hotkey() == (62, 0, True), "the settings file")


def test_as_long_as_something_is_missing_it_offers_to_finish_the_setup(stage):
    begun = stage(sound=False)
    panel = Panel(begun.desktop)
    panel.await_lines(HOLD + ["Finish setup…"] + COMMANDS)
    panel.click("Finish setup…")
    wait_until(begun.window.is_painted, "the settings window", 60)
    begun.desktop.sound.restart()
    panel.await_lines(HOLD + COMMANDS)


def test_the_symbol_is_another_during_a_dictation(stage):
    begun = stage()
    panel = Panel(begun.desktop)
    idle = panel.symbol()
    with begun.desktop.keyboard.held("Alt_R"):
        wait_until(lambda: panel.icon_changes == 1, "another symbol")
        active = panel.symbol()
    wait_until(lambda: panel.icon_changes == 2, "the first symbol again")
    assert active != idle == panel.symbol()
