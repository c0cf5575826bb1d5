"""A session in which what stands around the program is replaced, killed, or goes: dictation goes on
for as long as there is a display, and without one the program ends quietly."""

import signal

import pytest

from editors import GTKEditor, Terminal
from hotkeys import HOTKEYS
from overlay import Overlay
from program import assert_arrived
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
OTHER = "the weather will be warm and sunny for the rest of the week"


def process_of(desktop, name):
    """The process of the desktop's own that was started last by this name."""
    return [each for each in desktop.processes if each.args[0] == name][-1]


def kill(desktop, name):
    process = process_of(desktop, name)
    process.kill()
    process.wait()


MANAGERS = {"xfwm4": ["xfwm4", "--replace", "--compositor=off"],
            "metacity": ["metacity", "--replace"]}


def replace_manager(desktop, successor="xfwm4"):
    before = desktop.manager_window()
    desktop.spawn(MANAGERS[successor])
    process_of(desktop, "openbox").wait()
    wait_until(lambda: desktop.manager_window() not in (before, None),
               "the other window manager")


def test_a_window_manager_replaced_in_a_dictation_costs_nothing(desktop, launch):
    program = launch(settings={"sounds": False})
    editor = GTKEditor(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        replace_manager(desktop)
        program.say(SENTENCE)
    editor.focus()
    assert_arrived(SENTENCE, editor.await_text())
    assert not desktop.keyboard.down()


@pytest.mark.parametrize("successor", MANAGERS)
@pytest.mark.parametrize("hotkey", ["right Alt", "Alt+Space", "F8"])
def test_after_the_window_manager_was_replaced_the_key_and_escape_work(desktop, launch, hotkey,
                                                                       successor):
    keys, setting = HOTKEYS[hotkey]
    program = launch(settings={"sounds": False, "hotkey.v2": setting})
    terminal = Terminal(desktop)
    replace_manager(desktop, successor)
    terminal.focus()
    with desktop.keyboard.held(*keys):
        program.await_recording()
        program.say(OTHER)
        desktop.keyboard.tap("Escape")
        program.await_silence()
    assert stays(lambda: not terminal.changed(), 1), terminal.text()
    with desktop.keyboard.held(*keys):
        program.await_recording()
        program.say(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())


def test_without_a_window_manager_one_still_dictates(desktop, launch):
    program = launch(settings={"sounds": False})
    terminal = Terminal(desktop)
    kill(desktop, "openbox")
    terminal.window.set_input_focus(0, 0)  # the manager's part
    desktop.x.sync()
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())


def test_a_compositor_killed_in_a_dictation_and_started_again_costs_nothing(desktop, launch):
    program = launch(settings={"sounds": False})
    terminal = Terminal(desktop)
    overlay = Overlay(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        overlay.await_shown()
        kill(desktop, "picom")
        wait_until(lambda: not desktop.has_compositor(), "the compositor to go")
        assert overlay.is_shown()
        program.say(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())
    overlay.await_hidden()
    before = terminal.text()
    desktop.start_compositor()
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        overlay.await_shown()
        program.say(OTHER)
    assert_arrived(OTHER, terminal.await_more(before))
    overlay.await_hidden()


@pytest.mark.parametrize("when", ["idle", "dictating"])
def test_without_its_message_bus_dictation_goes_on(desktop, launch, when):
    program = launch(settings={"sounds": False})
    terminal = Terminal(desktop)
    if when == "idle":
        kill(desktop, "dbus-daemon")
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        if when == "dictating":
            kill(desktop, "dbus-daemon")
        program.say(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())
    before = terminal.text()
    program.dictate(OTHER)
    assert_arrived(OTHER, terminal.await_more(before))
    assert program.quit() == 0


@pytest.mark.parametrize("when", ["idle", "dictating", "after a dictation"])
def test_when_the_display_goes_it_ends_with_one_line(desktop, launch, artefacts, when):
    log = artefacts / "vorlin.log"
    earlier = len(log.read_text()) if log.exists() else 0
    program = launch(settings={"sounds": False})
    terminal = Terminal(desktop)
    if when == "after a dictation":
        program.dictate(SENTENCE)
        terminal.await_text()
    if when == "dictating":
        desktop.keyboard.press("Alt_R")
        program.await_recording()
    desktop.x.close()
    desktop.x = None
    kill(desktop, "Xvfb")
    status = program.process.wait(30)
    said = log.read_text()[earlier:]
    assert (status, said.count("\n")) == (1, 1), said
    assert "display" in said.lower() or "X11" in said, said


def test_asked_to_end_by_a_session_that_ends_it_says_nothing(desktop, launch, artefacts):
    log = artefacts / "vorlin.log"
    earlier = len(log.read_text()) if log.exists() else 0
    program = launch(settings={"sounds": False})
    assert program.quit(signal.SIGHUP) == 0
    assert log.read_text()[earlier:] == ""
