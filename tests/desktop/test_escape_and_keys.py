"""Escape and the dictation key itself: what is swallowed, what reaches programs."""

import json

from editors import GTKEditor, QtEditor, Terminal
from program import assert_arrived, hotkey_setting
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"


def test_escape_cancels_with_the_key_still_held_and_the_text_never_appears(desktop, launch):
    program = launch()
    terminal = Terminal(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        desktop.keyboard.tap("Escape")
        program.await_silence()
        assert stays(lambda: not terminal.changed(), 1)
    assert stays(lambda: not terminal.changed(), 1.5)
    assert terminal.text() == "", "Escape was swallowed"
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())


def test_escape_reaches_the_program_when_idle(desktop, launch):
    program = launch()
    terminal = Terminal(desktop)
    desktop.keyboard.tap("Escape")
    wait_until(lambda: terminal.text() == "\x1b", "Escape in the terminal")
    program.dictate(SENTENCE)
    wait_until(lambda: len(terminal.text()) > 1, "the dictated text")
    before = terminal.await_text()
    desktop.keyboard.tap("Escape")
    wait_until(lambda: terminal.text() == before + "\x1b", "Escape after a dictation")


def test_a_function_key_as_dictation_key_is_swallowed_with_its_repeats(desktop, launch):
    program = launch(settings={"hotkey.v2": hotkey_setting(100)})  # F8
    terminal = Terminal(desktop)
    program.dictate(SENTENCE, key="F8")
    assert_arrived(SENTENCE, terminal.await_text())
    assert "\x1b" not in terminal.text(), "the terminal saw no F8"
    desktop.keyboard.tap("F5")
    wait_until(lambda: terminal.text().endswith("\x1b[15~"), "F5 in the terminal")


def test_a_dictation_key_edited_in_the_settings_file_takes_effect_at_once(desktop, launch):
    program = launch(settings={"sounds": False})

    def records_while_held(key):
        with desktop.keyboard.held(key):
            return not stays(lambda: not program.is_recording(), 3)

    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
    program.await_silence()
    edited = program.settings_file.with_suffix(".edited")
    edited.write_text(json.dumps({"sounds": False, "hotkey.v2": hotkey_setting(100)}))  # F8
    edited.rename(program.settings_file)
    wait_until(lambda: records_while_held("F8"), "the new key to be listened to", 60)
    program.await_silence()
    assert not records_while_held("Alt_R"), "the old key is a key as any other"
    terminal = Terminal(desktop)
    program.dictate(SENTENCE, key="F8")
    assert_arrived(SENTENCE, terminal.await_text())
    assert "\x1b" not in terminal.text(), "the terminal saw no F8"


def test_option_space_as_dictation_key_types_no_space(desktop, launch):
    program = launch(settings={"hotkey.v2": hotkey_setting(49, 0x80000)})
    terminal = Terminal(desktop)
    with desktop.keyboard.held("Alt_L"):
        program.dictate(SENTENCE, key="space")
    assert_arrived(SENTENCE, terminal.await_text())
    assert not terminal.text().startswith((" ", "\x1b"))
    desktop.keyboard.tap("space")
    wait_until(lambda: terminal.text().endswith(" "), "a plain space")


def test_typing_while_the_program_runs_arrives_unchanged(desktop, launch):
    launch()
    terminal = Terminal(desktop)
    text = "the quick brown fox jumps over the lazy dog 0123456789 " * 4
    desktop.keyboard.type(text)
    wait_until(lambda: terminal.text() == text, "all that was typed")


def test_a_lone_alt_opens_no_menu(desktop, launch):
    program = launch()
    editor = QtEditor(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
    desktop.keyboard.type("still typing")
    assert editor.await_text() == "still typing"


def test_without_the_program_a_lone_alt_takes_the_keyboard_to_the_menu(desktop):
    """What the test above would see if nothing were done about it."""
    editor = QtEditor(desktop)
    desktop.keyboard.tap("Alt_R")
    desktop.keyboard.type("z")  # no menu's letter
    desktop.keyboard.tap("Escape")
    desktop.keyboard.type("x")
    assert editor.await_text() == "x"


def test_keys_held_while_the_text_arrives_are_put_back(desktop, launch):
    program = launch(settings={"hotkey.v2": hotkey_setting(100)})  # F8
    editor = GTKEditor(desktop)
    desktop.keyboard.press("F8")
    program.await_recording()
    program.say(SENTENCE)
    with desktop.keyboard.held("Shift_L"):
        desktop.keyboard.release("F8")
        wait_until(editor.changed, "the text")
        wait_until(lambda: desktop.keyboard.down() == {50}, "Shift, and only Shift, to be down")
    assert not desktop.keyboard.down()
    assert_arrived(SENTENCE, editor.text())
