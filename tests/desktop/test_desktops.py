"""Whole desktops with their own key bindings and services, input methods, and locks that are on. At
night only."""

import pathlib

import pytest

import clipboard
from applications import is_installed
from desktops import DESKTOPS
from editors import GTKEditor, Terminal
from hotkeys import HOTKEYS
from overlay import FocusWatch, Overlay
from program import Program, assert_arrived
from waiting import stays, wait_until

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SENTENCE = "the committee decided to postpone the meeting until next month"
COPIED = b"copied before"
# The least common of those that people choose; also where the layout needs right Alt.
KEY = "Control_R"


class Place:
    """A desktop, with a program that writes down all keys, and an editor."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.editor = GTKEditor(desktop)
        self.terminal = Terminal(desktop)


@pytest.fixture(name="place", params=DESKTOPS, scope="module")
def _place(request):
    kind = DESKTOPS[request.param]
    missing = [package for package in kind.packages if not is_installed(package)]
    if missing:
        pytest.skip(f"not installed: {', '.join(missing)}")
    with kind(artefacts=ROOT / "build" / "artefacts" / f"desktops-{kind.__name__}") as desktop:
        desktop.await_panel()
        yield Place(desktop)
        desktop.screenshot("end")


@pytest.fixture(name="start")
def _start(place, request):
    """Starts the program; it is asked to end after the test."""
    started = []

    def start(**settings):
        place.terminal.focus()
        settings = {"sounds": False, "hotkey.v2": HOTKEYS["right Ctrl"][1]} | settings
        started.append(Program(place.desktop, request.config.getoption("--program"),
                               settings=settings))
        return started[-1]

    yield start
    for program in started:
        if program.process.poll() is None:
            program.quit()


@pytest.mark.matrix("desktops", row="place", column="hold")
def test_holding_the_key_dictates(place, start):
    program = start()
    before = place.terminal.text()
    program.dictate(SENTENCE, key=KEY)
    assert_arrived(SENTENCE, place.terminal.await_more(before))
    assert not place.desktop.keyboard.down()


@pytest.mark.matrix("desktops", row="place", column="toggle")
def test_pressing_the_key_twice_dictates(place, start):
    program = start(recordMode="toggle")
    before = place.terminal.text()
    place.desktop.keyboard.tap(KEY)
    program.await_recording()
    program.say(SENTENCE)
    place.desktop.keyboard.tap(KEY)
    assert_arrived(SENTENCE, place.terminal.await_more(before))


@pytest.mark.matrix("desktops", row="place", column="Escape")
def test_escape_cancels_and_reaches_nobody(place, start):
    program = start()
    before = place.terminal.text()
    with place.desktop.keyboard.held(KEY):
        program.await_recording()
        program.say(SENTENCE)
        place.desktop.keyboard.tap("Escape")
        program.await_silence()
    assert stays(lambda: place.terminal.text() == before, 1)
    assert place.terminal.has_focus()


@pytest.mark.matrix("desktops", row="place", column="overlay")
def test_the_overlay_shows_above_all_and_takes_no_focus(place, start):
    program = start()
    overlay = Overlay(place.desktop)
    with FocusWatch(place.desktop) as watch:
        wait_until(lambda: watch.seen, "the focus to be known")
        with place.desktop.keyboard.held(KEY):
            program.await_recording()
            overlay.await_shown()
            place.desktop.screenshot("overlay")
        overlay.await_hidden()
    assert len(watch.seen) == 1, watch.seen


@pytest.mark.matrix("desktops", row="place", column="clipboard")
def test_the_words_arrive_in_an_editor_and_the_clipboard_comes_back(place, start):
    program = start()
    clipboard.ClipboardOwner(place.desktop, {"UTF8_STRING": COPIED})
    place.editor.focus()
    before = place.editor.text()
    watcher = clipboard.SelectionWatcher(place.desktop)
    program.dictate(SENTENCE, key=KEY)
    wait_until(place.editor.changed, "the text")
    watcher.await_changes(2)
    wait_until(lambda: clipboard.read(place.desktop) == COPIED, "the clipboard to come back")
    assert_arrived(SENTENCE, place.editor.await_more(before))


@pytest.mark.matrix("desktops", row="place", column="Alt+Space")
def test_alt_and_space_as_the_key_are_the_programs(place, start):
    program = start(**{"hotkey.v2": HOTKEYS["Alt+Space"][1]})
    before = place.terminal.text()
    with place.desktop.keyboard.held(*HOTKEYS["Alt+Space"][0]):
        program.await_recording()
        program.say(SENTENCE)
    text = place.terminal.await_more(before)
    assert_arrived(SENTENCE, text)
    assert text == text.strip()


@pytest.mark.matrix("desktops", row="place", column="idle")
def test_idle_it_takes_no_key_from_anybody(place, start):
    start()
    before = place.terminal.text()
    place.desktop.keyboard.type("the quick brown fox 0123456789")
    place.desktop.keyboard.tap("Escape")
    place.desktop.keyboard.tap("F5")
    expected = before.lower() + "the quick brown fox 0123456789\x1b\x1b[15~"
    wait_until(lambda: place.terminal.text().lower() == expected, "all that was typed")


@pytest.mark.matrix("desktops", row="place", column="killed")
def test_killed_it_leaves_no_key_stuck(place, start):
    program = start(**{"hotkey.v2": HOTKEYS["Alt+Space"][1]})
    with place.desktop.keyboard.held(*HOTKEYS["Alt+Space"][0]):
        program.await_recording()
        program.process.kill()
        program.process.wait()
    assert not place.desktop.keyboard.down()
    before = place.terminal.text()
    place.desktop.keyboard.type("keys work")
    place.desktop.keyboard.tap("Escape")
    wait_until(lambda: place.terminal.text().lower() == before.lower() + "keys work\x1b",
               "all that was typed")
