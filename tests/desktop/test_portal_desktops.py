"""In sessions of KWin and GNOME Shell, which give keys and the chord through portals, the program
serves programs of Wayland and of X11 alike."""

import os
import pathlib
import shutil
import signal

import pytest

import clipboard
from gnome_desktop import GnomeDesktop
from kwin_desktop import KWinDesktop
from matrix import debian
from overlay import expected_frame, rows
from portal_editors import GTK4Editor, QtEditor, QtXWaylandEditor, Terminal
from program import Program, assert_arrived, hotkey_setting
from screen_saver import ScreenSaver
from waiting import stays, wait_until
from wayland_clipboard import await_pasted, copy, kinds, pasted

SENTENCE = "the committee decided to postpone the meeting until next month"
F9 = 101
SCREEN = (0, 0, 1280, 800)
PLAIN = "text/plain;charset=utf-8"
HINT = "x-kde-passwordManagerHint"
PNG = b"\x89PNG\r\n\x1a\n" + os.urandom(3_000_000)
HTML = "<b>Grüße</b>\n".encode()
PLACES = {f"{kind.kind}, Debian {debian()}": kind for kind in (KWinDesktop, GnomeDesktop)}


@pytest.fixture(name="desktop", params=PLACES)
def _desktop(request, artefacts, monkeypatch):
    with PLACES[request.param](
            artefacts=artefacts, accessible=True,
            variables={"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}) as desktop:
        if authority := desktop.environment.get("XAUTHORITY"):
            monkeypatch.setenv("XAUTHORITY", authority)  # for the tests' own X11 clients
        desktop.allow_typing()
        yield desktop
        desktop.screenshot("end")


@pytest.fixture(name="launch")
def _launch(desktop, request):
    """Starts the program, which listens to F9, and lets it have what it needs."""
    def launch(**settings):
        program = Program(desktop, request.config.getoption("--program"),
                          settings={"hotkey.v2": hotkey_setting(F9)} | settings)
        desktop.allow(program)
        return program

    return launch


def cell(column):
    return pytest.mark.matrix("compositors", row="desktop", column=column)


def environ(program):
    return pathlib.Path(f"/proc/{program.process.pid}/environ").read_bytes()


def holds(desktop, program):
    """Whether a press of the key begins a dictation. The next press would end one that is slow to
    begin."""
    desktop.keyboard.tap("F9")
    return not stays(lambda: not program.is_recording(), 3)


@cell("editor")
@pytest.mark.parametrize("editor", [GTK4Editor, QtEditor, QtXWaylandEditor])
def test_a_held_key_dictates(desktop, launch, editor):
    program = launch()
    where = editor(desktop)
    program.dictate(SENTENCE, key="F9")
    assert_arrived(SENTENCE, where.await_text())


@cell("toggle")
def test_two_presses_dictate_and_nothing_is_asked_at_the_next_start(desktop, launch):
    program = launch(recordMode="toggle")
    program.quit()
    where = GTK4Editor(desktop)
    program.start()
    wait_until(lambda: holds(desktop, program), "the key to be watched again")
    program.say(SENTENCE)
    desktop.keyboard.tap("F9")
    assert_arrived(SENTENCE, where.await_text())


@cell("Escape")
def test_escape_cancels_and_is_otherwise_the_programs_own(desktop, launch):
    program = launch(recordMode="toggle")
    terminal = Terminal(desktop)
    wait_until(lambda: holds(desktop, program), "a dictation")
    program.say(SENTENCE)  # the desktop gives Escape a moment after the dictation has begun
    desktop.keyboard.tap("Escape")
    program.await_silence()
    assert stays(lambda: not terminal.escapes(), 1)
    desktop.keyboard.tap("Escape")
    terminal.await_escape()


@cell("restart")
def test_portals_that_restart_ask_nothing_and_the_next_dictation_works(desktop, launch):
    program = launch(recordMode="toggle")
    where = GTK4Editor(desktop)
    desktop.restart_portals()
    wait_until(lambda: holds(desktop, program), "the key to be watched again")
    program.say(SENTENCE)
    desktop.keyboard.tap("F9")
    assert_arrived(SENTENCE, where.await_text())


@cell("restart")
def test_a_back_end_that_crashes_costs_no_key(desktop, launch):
    program = launch(recordMode="toggle")
    where = GTK4Editor(desktop)
    desktop.end_backend()
    desktop.start_backend()
    wait_until(lambda: holds(desktop, program), "the key to be watched again")
    program.say(SENTENCE)
    desktop.keyboard.tap("F9")
    assert_arrived(SENTENCE, where.await_text())


@cell("locked")
def test_a_lock_cancels_and_the_key_does_nothing_until_it_is_unlocked(desktop, launch):
    saver = ScreenSaver(desktop)
    program = launch(recordMode="toggle")
    where = GTK4Editor(desktop)
    wait_until(lambda: holds(desktop, program), "a dictation")
    program.say(SENTENCE)
    saver.set_active(True)
    program.await_silence()
    assert not holds(desktop, program)
    saver.set_active(False)
    wait_until(lambda: holds(desktop, program), "the key to be watched again")
    assert not where.text(), "what was cancelled was inserted"
    program.say(SENTENCE)
    desktop.keyboard.tap("F9")
    assert_arrived(SENTENCE, where.await_text())


@cell("XWayland ends")
@pytest.mark.parametrize("desktop", [name for name, kind in PLACES.items()
                                     if kind.outlives_xwayland], indirect=True)
def test_when_xwayland_ends_the_program_starts_anew_once_and_types_nothing_twice(desktop, launch):
    program = launch(recordMode="toggle")
    where = GTK4Editor(desktop)
    wait_until(lambda: holds(desktop, program), "a dictation")
    program.say(SENTENCE)
    desktop.keyboard.tap("F9")
    before = where.await_text()
    os.kill(desktop.xwayland(), signal.SIGKILL)
    wait_until(lambda: b"VORLIN_RESTARTED" in environ(program), "the next start")
    wait_until(program.answers, "the program to answer again")
    assert where.text() == before
    wait_until(lambda: holds(desktop, program), "the key to be watched again")
    program.say(SENTENCE)
    desktop.keyboard.tap("F9")
    wait_until(lambda: len(where.text()) > len(before), "the next text", interval=0.5)
    assert_arrived(f"{SENTENCE} {SENTENCE}", where.text())


@cell("lost release")
def test_a_release_that_is_lost_ends_no_later_than_the_next_press(desktop, launch):
    program = launch(**{"hotkey.v2": desktop.lossy_hotkey})
    where = GTK4Editor(desktop)
    for key in desktop.lossy_keys:
        desktop.keyboard.press(key)
    program.await_recording()
    program.say(SENTENCE)
    desktop.lose_the_release(program)
    program.await_silence()
    # Who would have pasted it may be the one that crashed.
    wait_until(lambda: where.text() or {PLAIN, HINT} & kinds(desktop) == {PLAIN}, "the text",
               interval=0.5)
    assert_arrived(SENTENCE, where.text() or pasted(desktop, PLAIN).decode())


@cell("HTML and image")
def test_html_and_an_image_of_a_program_on_xwayland_come_back_byte_for_byte(desktop, launch):
    program = launch()
    where = QtXWaylandEditor(desktop)  # KWin passes on what is copied beside such a one
    contents = {"UTF8_STRING": "Grüße".encode(), "text/html": HTML, "image/png": PNG}
    owner = clipboard.ClipboardOwner(desktop, contents)
    await_pasted(desktop, HTML, "text/html")
    program.dictate(SENTENCE, key="F9")
    assert_arrived(SENTENCE, where.await_text())
    assert owner.lost.wait(60)
    await_pasted(desktop, HTML, "text/html")
    await_pasted(desktop, PNG, "image/png")
    await_pasted(desktop, "Grüße".encode(), PLAIN)


@cell("HTML and image")
@pytest.mark.parametrize("kind, data", [("text/html", HTML), ("image/png", PNG)],
                         ids=["html", "png"])
def test_what_a_program_of_wayland_copied_comes_back_byte_for_byte(desktop, launch, kind, data):
    program = launch()
    where = GTK4Editor(desktop)
    copy(desktop, kind, data)
    program.dictate(SENTENCE, key="F9")
    assert_arrived(SENTENCE, where.await_text())
    await_pasted(desktop, data, kind)


@cell("overlay")
def test_the_overlay_is_seen_and_takes_neither_focus_nor_click(desktop, launch):
    program = launch(sounds=False)
    below = Terminal(desktop)
    left, top, width, height = expected_frame(SCREEN, "bottomCenter")

    def place(name):
        """What is seen where the overlay belongs, by row."""
        picture = rows(desktop.screenshot(name), SCREEN[2])
        return [row[3 * left:3 * (left + width)] for row in picture[top:top + height]]

    def click():
        """Whether the window below was told of a click. The first may be the pointer's coming."""
        before = below.clicks()
        desktop.keyboard.click(left + width // 2, top + height // 2)
        return not stays(lambda: below.clicks() == before, 0.5)

    wait_until(click, "a window where the overlay belongs")
    idle = place("idle")

    def covered():
        return sum(one != other for one, other in zip(idle, place("dictating"))) > height / 2

    with desktop.keyboard.held("F9"):
        program.await_recording()
        wait_until(covered, "the overlay on the screen")
        wait_until(click, "the click in the window below")
        assert program.is_recording()
    program.await_silence()
    wait_until(lambda: place("idle-again") == idle, "the overlay to go")
    assert not below.lost_focus()


@cell("not taken")
def test_a_text_that_a_terminal_does_not_take_is_left_on_the_clipboard(desktop, launch):
    program = launch()
    terminal = Terminal(desktop)
    copy(desktop, "image/png", PNG)
    wait_until(lambda: desktop.keyboard.tap("a") or terminal.typed().endswith(b"a"),
               "the terminal to have the keyboard", interval=0.5)
    program.dictate(SENTENCE, key="F9")
    wait_until(lambda: b"\x16" in terminal.typed(), "Ctrl+V in the terminal")
    wait_until(lambda: {PLAIN, HINT} & kinds(desktop) == {PLAIN}, "the text to be left",
               interval=0.5)
    assert_arrived(SENTENCE, pasted(desktop, PLAIN).decode())


@cell("not taken")
@pytest.mark.parametrize("desktop", [name for name, kind in PLACES.items()
                                     if kind.shares_its_clipboard], indirect=True)
def test_who_reads_everything_that_is_copied_takes_no_text_from_a_slow_program(desktop, launch):
    reader = desktop.folder / "reads-everything"  # whose name is none that is known
    shutil.copy(shutil.which("wl-paste"), reader)
    seen = desktop.folder / "seen"
    desktop.spawn([reader, "--watch", "sh", "-c", f"cat >> '{seen}'"])
    copy(desktop, "text/plain", b"before")
    wait_until(lambda: seen.exists() and b"before" in seen.read_bytes(), "it to read")
    program = launch()
    where = GTK4Editor(desktop)
    with desktop.keyboard.held("F9"):
        program.await_recording()
        program.say(SENTENCE)
        os.kill(where.process.pid, signal.SIGSTOP)
    wait_until(lambda: HINT in kinds(desktop), "the text on the clipboard")
    assert stays(lambda: HINT in kinds(desktop), 1.5), "the text is not there for who is slow"
    os.kill(where.process.pid, signal.SIGCONT)
    assert_arrived(SENTENCE, where.await_text())


@pytest.mark.parametrize("desktop", [name for name, kind in PLACES.items()
                                     if kind.tells_modifiers], indirect=True)
def test_a_modifier_that_is_held_for_a_moment_does_not_spoil_the_paste(desktop, launch):
    program = launch()
    where = GTK4Editor(desktop)
    copy(desktop, "text/html", HTML)
    with desktop.keyboard.held("F9"):
        program.await_recording()
        program.say(SENTENCE)
        desktop.keyboard.press("Alt_L")
    program.await_silence()
    assert stays(lambda: HINT not in kinds(desktop), 0.5), "the text is pasted with Alt"
    desktop.keyboard.release("Alt_L")
    assert_arrived(SENTENCE, where.await_text())
    await_pasted(desktop, HTML, "text/html")


@cell("not taken")
def test_where_a_modifier_stays_held_the_text_is_left_on_the_clipboard(desktop, launch):
    program = launch()
    terminal = Terminal(desktop)
    with desktop.keyboard.held("F9"):
        program.await_recording()
        program.say(SENTENCE)
        desktop.keyboard.press("Alt_L")
    wait_until(lambda: {PLAIN, HINT} & kinds(desktop) == {PLAIN}, "the text to be left",
               interval=0.5)
    desktop.keyboard.release("Alt_L")
    assert_arrived(SENTENCE, pasted(desktop, PLAIN).decode())
    if desktop.tells_modifiers:
        assert b"\x16" not in terminal.typed(), "another shortcut was made of the paste"


@cell("killed")
def test_killed_in_a_dictation_it_leaves_nothing_behind(desktop, launch):
    program = launch(recordMode="toggle")
    terminal = Terminal(desktop)
    wait_until(lambda: holds(desktop, program), "a dictation")
    program.process.send_signal(signal.SIGKILL)
    program.process.wait()
    wait_until(lambda: not desktop.sound.source_outputs(), "the microphone to be closed")
    before = len(terminal.typed())
    wait_until(lambda: desktop.keyboard.tap("Escape") or terminal.escapes(),
               "Escape in the terminal", interval=0.5)
    desktop.keyboard.tap("F9")
    wait_until(lambda: len(terminal.typed()) >= before + 4, "F9 in the terminal")
    desktop.keyboard.type("keys work")
    wait_until(lambda: terminal.typed().endswith(b"keys work"), "keys in the terminal")


@cell("killed")
def test_killed_right_after_the_paste_it_leaves_no_text_on_the_clipboard(desktop, launch):
    program = launch()
    where = GTK4Editor(desktop)
    with desktop.keyboard.held("F9"):
        program.await_recording()
        program.say(SENTENCE)
        os.kill(where.process.pid, signal.SIGSTOP)
    wait_until(lambda: HINT in kinds(desktop), "the text on the clipboard")
    program.process.kill()
    program.process.wait()
    os.kill(where.process.pid, signal.SIGCONT)
    wait_until(lambda: not pasted(desktop, PLAIN), "an empty clipboard",
               interval=0.5)
