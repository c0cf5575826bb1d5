"""In a session of KWin the program has its keys and its chord from the desktop's portals."""

import signal

import pytest

from controls import Controls
from kwin_desktop import KWinDesktop
from portal_editors import GTK4Editor, QtEditor, QtXWaylandEditor, Terminal
from program import Program, assert_arrived, hotkey_setting
from settings_window import SettingsWindow
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
F9 = 101


@pytest.fixture(name="desktop")
def _desktop(artefacts):
    with KWinDesktop(artefacts=artefacts, accessible=True,
                     variables={"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}) as desktop:
        desktop.allow_typing()
        yield desktop


@pytest.fixture(name="launch")
def _launch(desktop, request):
    binary = request.config.getoption("--program")
    return lambda **settings: Program(
        desktop, binary, settings={"hotkey.v2": hotkey_setting(F9), **settings})


def allow(desktop, program):
    """The person presses the button, and says yes to each of the desktop's questions."""
    SettingsWindow(desktop, program).ask()
    controls = Controls(desktop)
    controls.press("Permissions")
    controls.press("Allow…")
    controls.find("Accessibility: Granted")
    desktop.keyboard.chord("Control_L", "w")
    wait_until(lambda: not controls.has("Permissions"), "the settings to close")


@pytest.mark.parametrize("editor", [GTK4Editor, QtEditor, QtXWaylandEditor])
def test_a_held_key_dictates(desktop, launch, editor):
    program = launch()
    allow(desktop, program)
    where = editor(desktop)
    program.dictate(SENTENCE, key="F9")
    assert_arrived(SENTENCE, where.await_text())


def test_nothing_is_asked_at_the_next_start(desktop, launch):
    program = launch(recordMode="toggle")
    allow(desktop, program)
    program.quit()
    where = GTK4Editor(desktop)
    program.start()
    wait_until(lambda: holds(desktop, program), "the key to be watched again")
    program.say(SENTENCE)
    desktop.keyboard.tap("F9")
    assert_arrived(SENTENCE, where.await_text())


def holds(desktop, program):
    """Whether a press of the key begins a dictation."""
    desktop.keyboard.tap("F9")
    return not stays(lambda: not program.is_recording(), 0.5)


def test_escape_cancels_and_is_otherwise_the_programs_own(desktop, launch):
    program = launch(recordMode="toggle")
    allow(desktop, program)
    terminal = Terminal(desktop)
    wait_until(lambda: holds(desktop, program), "a dictation")
    desktop.keyboard.tap("Escape")
    program.await_silence()
    assert stays(lambda: b"\x1b" not in terminal.typed(), 1)
    desktop.keyboard.tap("Escape")
    terminal.await_escape()


def test_portals_that_restart_ask_nothing_and_the_next_dictation_works(desktop, launch):
    program = launch(recordMode="toggle")
    allow(desktop, program)
    where = GTK4Editor(desktop)
    desktop.restart_portals()
    wait_until(lambda: holds(desktop, program), "the key to be watched again")
    program.say(SENTENCE)
    desktop.keyboard.tap("F9")
    assert_arrived(SENTENCE, where.await_text())


def test_a_killed_program_leaves_no_key_behind(desktop, launch):
    program = launch(recordMode="toggle")
    allow(desktop, program)
    terminal = Terminal(desktop)
    wait_until(lambda: holds(desktop, program), "a dictation")
    program.process.send_signal(signal.SIGKILL)
    program.process.wait()
    before = len(terminal.typed())
    wait_until(lambda: desktop.keyboard.tap("Escape") or b"\x1b" in terminal.typed(),
               "Escape in the terminal", interval=0.5)
    desktop.keyboard.tap("F9")
    wait_until(lambda: len(terminal.typed()) >= before + 4, "F9 in the terminal")
