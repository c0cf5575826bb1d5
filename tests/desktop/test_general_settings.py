"""The General tab of the unchanged program: opening at login, and what it says of the key."""

import re
import shlex

from hotkeys import HOTKEYS
from waiting import wait_until

SWITCH = "Open at login"
SHARED = "Another program also uses this shortcut."
TYPES = ("Right Alt is used as the dictation key. It also types characters on this keyboard: "
         "typing one with it starts a dictation. Right Ctrl does not.")


def test_open_at_login_writes_a_valid_file_that_starts_the_program_and_takes_it_away(stage):
    begun = stage()
    file = begun.desktop.config_folder / "autostart" / "org.vorlin.Vorlin.desktop"
    controls = begun.open_settings()
    assert not controls.is_checked(SWITCH) and not file.exists()
    controls.press(SWITCH)
    wait_until(file.exists, "the file")
    assert controls.is_checked(SWITCH)
    assert begun.desktop.output(["desktop-file-validate", str(file)]) == ""
    started = re.search("^Exec=(.*)$", file.read_text(), re.MULTILINE)[1]
    assert shlex.split(started) == [str(begun.program.binary)]
    begun.window.close()
    controls = begun.open_settings()
    assert controls.is_checked(SWITCH), "it is read again"
    controls.focus(SWITCH)
    begun.desktop.keyboard.tap("space")
    wait_until(lambda: not file.exists(), "the file to go")
    assert not controls.is_checked(SWITCH)


def test_the_key_that_nobody_chose_types_no_characters_in_any_layout(stage):
    begun = stage(layout="us,de")
    controls = begun.open_settings()
    wait_until(lambda: controls.description("Dictation key") == "Right Ctrl", "the other key")
    assert not controls.has(TYPES)
    begun.desktop.output(["setxkbmap", "-layout", "us"])
    wait_until(lambda: controls.description("Dictation key") == "Right Alt", "the usual key")
    assert begun.program.stored_hotkey() is None


def test_where_right_alt_types_characters_it_says_so_as_long_as_it_does(stage):
    begun = stage(layout="de")
    controls = begun.open_settings()
    controls.press("Presets")
    controls.press("Right Alt")
    controls.find(TYPES)
    begun.desktop.screenshot("types-characters")
    begun.desktop.output(["setxkbmap", "-layout", "us"])
    wait_until(lambda: not controls.has(TYPES), "the line to go with the layout")
    begun.desktop.output(["setxkbmap", "-layout", "fr"])
    controls.find(TYPES)
    controls.press("Presets")
    controls.press("Right Ctrl")
    wait_until(lambda: not controls.has(TYPES), "the line to go with the key")


def test_a_shortcut_of_the_window_managers_is_said_to_be_shared_for_as_long_as_it_is(stage):
    begun = stage(settings={"hotkey.v2": HOTKEYS["Alt+Space"][1]}, manager="openbox as it comes")
    controls = begun.open_settings()
    controls.find(SHARED)
    begun.desktop.spawn(["openbox", "--replace", "--config-file",
                         begun.desktop.folder / "openbox.xml"])
    wait_until(lambda: not controls.has(SHARED), "the line to go with the window manager")


def test_a_language_is_picked_from_a_list_by_keys_and_through_a_screen_reader(stage):
    begun = stage()
    controls = begun.open_settings()
    controls.press("Language (Built-in Speech)")
    controls.press("Deutsch, Not installed")
    begun.program.await_stored("language", "de-DE")
    assert controls.description("Language (Built-in Speech)") == "Deutsch"
    controls.focus("Language (Built-in Speech)")
    for key in ("space", "Up", "Return"):
        begun.desktop.keyboard.tap(key)
    begun.program.await_stored("language", "es-ES")
