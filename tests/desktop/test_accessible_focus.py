"""KWin and GNOME Shell tell nobody which window has the focus. Where accessibility is on, programs
that tell it themselves are known; it is never switched on for that."""

import contextlib
import re

import pytest
from gi.repository import GLib

from gnome_desktop import GnomeDesktop
from kwin_desktop import KWinDesktop
from portal_editors import GTK4Editor, GTK4Terminal, QtEditor, QtTerminal, Terminal
from portal_session import call, variant
from program import BUS_NAME, Program, assert_arrived, hotkey_setting
from virtual_desktop import AT_SPI
from waiting import stays, wait_until
from wayland_clipboard import kinds, pasted

SENTENCE = "the committee decided to postpone the meeting until next month"
F9 = 101
PLAIN = "text/plain;charset=utf-8"
HINT = "x-kde-passwordManagerHint"
ACCESSIBILITY = "org.a11y.Bus"
# A dictation in which nobody speaks ends by itself after 30 s.
SILENCE = 90


@pytest.fixture(name="desktop", params=[KWinDesktop, GnomeDesktop], ids=lambda each: each.kind)
def _desktop(request, artefacts):
    with request.param(artefacts=artefacts, accessible=True,
                       variables={"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}) as desktop:
        desktop.allow_typing()
        yield desktop
        desktop.screenshot("end")


@pytest.fixture(name="bare", params=[KWinDesktop, GnomeDesktop], ids=lambda each: each.kind)
def _bare(request, artefacts):
    """A desktop on which accessibility was never switched on."""
    with request.param(artefacts=artefacts) as desktop:
        yield desktop
        desktop.screenshot("end")


@pytest.fixture(name="launch")
def _launch(desktop, request):
    def launch(**settings):
        program = Program(desktop, request.config.getoption("--program"),
                          settings={"hotkey.v2": hotkey_setting(F9)} | settings)
        desktop.allow(program)
        return program

    return launch


def begin(desktop, program):
    """Presses the key until a dictation has begun, and speaks."""
    def begins():
        desktop.keyboard.tap("F9")
        return not stays(lambda: not program.is_recording(), 3)

    wait_until(begins, "a dictation")
    program.say(SENTENCE)


def is_left(desktop):
    """Whether a text is on the clipboard that is no secret any more."""
    return {PLAIN, HINT} & kinds(desktop) == {PLAIN}


def await_silence(program):
    wait_until(lambda: not program.is_recording(), "silence to end the dictation", SILENCE)


@pytest.mark.parametrize("terminal", [QtTerminal, GTK4Terminal], ids=lambda each: each.kind)
def test_a_terminal_that_tells_of_itself_is_pasted_into_by_its_own_chord(desktop, launch, terminal):
    program = launch()
    where = terminal(desktop)
    before = where.typed()
    program.dictate(SENTENCE, key="F9")
    wait_until(lambda: b" month" in where.typed(), "the text in the terminal")
    assert_arrived(SENTENCE, where.typed().removeprefix(before).decode())


@pytest.mark.parametrize("editor", [QtEditor, GTK4Editor], ids=lambda each: each.kind)
def test_what_silence_ended_goes_into_the_window_it_was_begun_in(desktop, launch, editor):
    program = launch(recordMode="toggle")
    where = editor(desktop)
    begin(desktop, program)
    await_silence(program)
    assert_arrived(SENTENCE, where.await_text())


@pytest.mark.parametrize("editor", [QtEditor, GTK4Editor], ids=lambda each: each.kind)
def test_what_silence_ended_is_left_where_who_tells_nothing_has_the_focus_by_then(
        desktop, launch, editor):
    program = launch(recordMode="toggle")
    editor(desktop)
    begin(desktop, program)
    terminal = Terminal(desktop)
    await_silence(program)
    wait_until(lambda: is_left(desktop), "the text to be left", interval=0.5)
    assert_arrived(SENTENCE, pasted(desktop, PLAIN).decode())
    assert b"\x16" not in terminal.typed(), "Ctrl+V in the terminal"


def test_what_silence_ended_is_left_where_it_was_begun_in_who_tells_nothing(desktop, launch):
    program = launch(recordMode="toggle")
    QtEditor(desktop)
    terminal = Terminal(desktop)
    begin(desktop, program)
    await_silence(program)
    wait_until(lambda: is_left(desktop), "the text to be left", interval=0.5)
    assert b"\x16" not in terminal.typed(), "Ctrl+V in the terminal"


def state_of_accessibility(desktop):
    """Whether somebody has its name, what that says, and its buses."""
    is_there = desktop.has_name(ACCESSIBILITY)
    is_on = is_there and call(desktop.bus, ACCESSIBILITY, "/org/a11y/bus",
                              "org.freedesktop.DBus.Properties", "GetAll",
                              variant("(s)", "org.a11y.Status"))[0]
    return is_there, is_on, sorted((desktop.runtime_folder / "at-spi").glob("*"))


def calls_for_its_bus(desktop):
    """Watches who asks for the accessibility bus, which starts it; what tells them so far."""
    log = desktop.folder / "calls"
    with open(log, "wb") as out:
        desktop.spawn(["dbus-monitor", "--session", "interface='org.a11y.Bus'"], stdout=out,
                      stderr=out)
    wait_until(lambda: log.stat().st_size > 0, "the watch of the bus")
    return lambda: set(re.findall(r"method call .* sender=(\S+) .*member=GetAddress",
                                  log.read_text()))


def names_of(desktop, program):
    """What the bus calls the program's connections."""
    def ask(method, *arguments):
        return call(desktop.bus, "org.freedesktop.DBus", "/", "org.freedesktop.DBus", method,
                    variant(f"({'s' * len(arguments)})", *arguments))[0]

    def is_its(name):
        with contextlib.suppress(GLib.Error):  # it may have gone
            return ask("GetConnectionUnixProcessID", name) == program.process.pid
        return False

    names = {name for name in ask("ListNames") if name.startswith(":") and is_its(name)}
    assert names
    return names


@pytest.mark.parametrize("present", [False, True], ids=["absent", "present"])
def test_accessibility_is_not_switched_on_for_it(bare, request, present):
    if present:
        bare.spawn([AT_SPI])
        wait_until(lambda: bare.has_name(ACCESSIBILITY), "who would switch it on")
    Terminal(bare)
    asked = calls_for_its_bus(bare)
    program = Program(bare, request.config.getoption("--program"), settings={})
    # The first program on XWayland has the desktop start it: see /etc/xdg/Xwayland-session.d.
    before = state_of_accessibility(bare)

    def toggle():
        call(bare.bus, BUS_NAME, "/org/vorlin/Vorlin", "org.freedesktop.Application",
             "ActivateAction", GLib.Variant("(sava{sv})", ("toggle", [], {})))

    toggle()
    program.await_recording()
    program.say(SENTENCE)
    toggle()
    wait_until(lambda: is_left(bare), "the text to be left", interval=0.5)
    assert_arrived(SENTENCE, pasted(bare, PLAIN).decode())
    assert state_of_accessibility(bare) == before
    assert not before[1] or not before[1]["IsEnabled"]
    assert not asked() & names_of(bare, program), "the program asked where its bus is"
