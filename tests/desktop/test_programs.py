"""The programs that people write in, by each lone modifier: no menu opens, the words stand at the
cursor, the clipboard comes back. At night only."""

import pathlib

import pytest

import clipboard
from applications import APPLICATIONS, is_installed
from hotkeys import HOTKEYS, LONE_MODIFIERS
from program import Program, assert_arrived
from virtual_desktop import VirtualDesktop
from waiting import wait_until

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SENTENCE = "the committee decided to postpone the meeting until next month"
COPIED = b"copied before"


@pytest.fixture(name="application", params=APPLICATIONS, scope="module")
def _application(request):
    """A desktop with one such program, in which all keys are tried one after the other."""
    kind, package = APPLICATIONS[request.param]
    if not is_installed(package):
        pytest.skip(f"{package} is not installed")
    with VirtualDesktop(artefacts=ROOT / "build" / "artefacts" / f"programs-{kind.name}",
                        accessible=True) as desktop:
        yield kind(desktop)
        desktop.screenshot("end")


@pytest.mark.matrix("programs", row="application", column="hotkey")
@pytest.mark.parametrize("hotkey", LONE_MODIFIERS)
def test_the_words_arrive_in(application, hotkey, request):
    desktop = application.desktop
    keys, setting = HOTKEYS[hotkey]
    before = application.text()
    clipboard.ClipboardOwner(desktop, {"UTF8_STRING": COPIED})
    program = Program(desktop, request.config.getoption("--program"),
                      settings={"sounds": False, "hotkey.v2": setting})
    try:
        with desktop.keyboard.held(*keys):
            program.await_recording()
            program.say(SENTENCE)
        assert_arrived(SENTENCE, application.await_more(before))
        assert application.has_focus()
        wait_until(lambda: clipboard.read(desktop) == COPIED, "the clipboard to come back")
        assert not desktop.keyboard.down()
    finally:
        program.quit()
