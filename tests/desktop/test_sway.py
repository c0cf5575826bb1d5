"""In a Wayland session of sway the program serves programs of Wayland and of X11 alike."""

import contextlib
import os
import pathlib
import shutil
import signal
import socket
import subprocess

import pytest

import clipboard
from documented import lines_for
from installed_files import PROGRAM
from matrix import debian
from overlay import expected_frame, rows
from program import Program, assert_arrived, hotkey_setting
from sway_desktop import SwayDesktop
from sway_editors import Foot, GTK4Editor, QtEditor, QtXWaylandEditor, XTerm
from waiting import stays, stays_equal, wait_until
from wayland_keyboard import WaylandKeyboard

SENTENCE = "the committee decided to postpone the meeting until next month"
SCREEN = (0, 0, 1280, 800)
PNG = b"\x89PNG\r\n\x1a\n" + os.urandom(3_000_000)
HTML = "<b>Grüße</b>\n".encode()


@pytest.fixture(name="begin")
def _begin(artefacts, request):
    """Starts a session with options."""
    sessions = []

    def begin(**options):
        person = request.config.getoption("--person")
        sessions.append(SwayDesktop(person=person, artefacts=artefacts, **options).__enter__())
        return sessions[-1]

    yield begin
    for session in sessions:
        if session.sway.poll() is None:
            session.screenshot("end")
        session.close()


@pytest.fixture(name="session")
def _session(begin):
    return begin()


@pytest.fixture(name="launch")
def _launch(session, request):
    """Starts the program, which listens to right Alt; with settings if given."""
    binary = request.config.getoption("--program")
    return lambda **settings: launched(session, binary, **settings)


@pytest.fixture(name="copy")
def _copy(session, request):
    """Copies something with several types, {type: bytes}, in another program."""
    def copy(contents):
        command = [request.config.getoption("--owner")]
        for number, (kind, data) in enumerate(contents.items()):
            path = session.folder / f"copied-{number}"
            path.write_bytes(data)
            command += [kind, path]
        process = session.spawn(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        assert process.stdout.readline() == b"owned\n"
    return copy


@contextlib.contextmanager
def offered_text(session):
    """What tells whether a text was put on the clipboard since."""
    log = session.folder / "offered"
    log.write_text("")
    watch = session.spawn(["wl-paste", "--watch", "sh", "-c", f"cat >> '{log}'"])
    try:
        yield lambda: log.stat().st_size > 0
    finally:
        watch.terminate()
        watch.wait()


def end_xwayland(session):
    """Ends XWayland as a crash does. sway 1.10 (Debian 13), freeing what it still goes through,
    may crash over that by itself, whatever runs in its session: then nothing can be said of ours.
    """
    os.kill(session.xwayland(), signal.SIGKILL)
    if not stays(lambda: session.sway.poll() is None, 1) and session.sway.returncode < 0:
        pytest.xfail(f"sway crashed by itself (signal {-session.sway.returncode})")


def launched(session, binary, **settings):
    """The program, once sway has bound its key."""
    program = Program(session, binary, **settings)
    name = pathlib.Path(session.environment["SWAYSOCK"]).name
    ledger = pathlib.Path(session.environment["XDG_RUNTIME_DIR"]) / f"vorlin-{name}.bindings"
    wait_until(lambda: ledger.exists() and ledger.read_text().count("\n") > 1,
               "the program to bind its key")
    assert program.answers()  # it has sent what it wrote down
    session.ask("get_version")  # and sway answers one after the other
    return program


def pasted(session, kind="text/plain;charset=utf-8"):
    """The bytes of one type on the clipboard; none where it has no such type."""
    done = subprocess.run(["wl-paste", "--no-newline", "--type", kind], env=session.environment,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, timeout=30, check=False)
    return done.stdout if done.returncode == 0 else None


def kinds(session):
    done = subprocess.run(["wl-paste", "--list-types"], env=session.environment, timeout=30,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, check=False)
    return done.stdout.decode().split()


def await_pasted(session, expected, kind="text/plain;charset=utf-8"):
    wait_until(lambda: pasted(session, kind) == expected, f"{kind} on the clipboard")


def pixels(session, name):
    return rows(session.screenshot(name), SCREEN[2])


def cell(column):
    return pytest.mark.matrix("compositors", row=f"sway, Debian {debian()}", column=column)


def test_where_sways_socket_is_not_known_the_next_ways_serve(begin, request, monkeypatch):
    """As on another compositor of its kind: the key is the person's own binding, and which program
    has the focus the list of windows tells."""
    session = begin(configuration=lines_for("sway"))
    with monkeypatch.context() as hidden:
        hidden.delitem(session.environment, "SWAYSOCK")
        program = Program(session, request.config.getoption("--program"))
    for editor in (Foot, GTK4Editor):
        where = editor(session)
        program.dictate(SENTENCE, key="F9")
        assert_arrived(SENTENCE, where.await_text())


@contextlib.contextmanager
def held_until_recording(session, program):
    """Holds right Alt, as a person does who tries again when nothing happens: sway tells nobody
    when a key is bound anew."""
    while True:
        with session.keyboard.held("Alt_R"):
            if stays(lambda: not program.is_recording(), 2):
                continue
            yield
            return


def keepers(session):
    """The processes that offer what an ended program put back, those that wait to be buried not."""
    found = []
    for each in pathlib.Path("/proc").iterdir():
        with contextlib.suppress(OSError):
            if ((each / "comm").read_text() == "vorlin-keeper\n" and
                    str(session.runtime_folder).encode() in (each / "environ").read_bytes()):
                found.append(each.name)
    return found


def environ(program):
    return pathlib.Path(f"/proc/{program.process.pid}/environ").read_bytes()


@cell("editor")
@pytest.mark.parametrize("editor", [Foot, GTK4Editor, QtEditor, XTerm, QtXWaylandEditor])
def test_a_held_key_dictates(session, launch, editor):
    program = launch()
    where = editor(session)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, where.await_text())


@cell("toggle")
def test_a_function_key_dictates_by_two_presses_and_types_nothing_itself(session, launch):
    program = launch(settings={"hotkey.v2": hotkey_setting(100), "recordMode": "toggle"})  # F8
    terminal = Foot(session)
    session.keyboard.tap("F8")
    program.await_recording()
    program.say(SENTENCE)
    session.keyboard.tap("F8")
    assert_arrived(SENTENCE, terminal.await_text())
    assert "\x1b" not in terminal.text()


@pytest.mark.parametrize("editor", [Foot, GTK4Editor, QtXWaylandEditor])
def test_the_chord_is_the_same_beside_a_cyrillic_layout(begin, request, editor):
    session = begin(layout="ru")
    other = WaylandKeyboard(session, session.person)
    program = launched(session, request.config.getoption("--program"))
    where = editor(session)
    # Whoever saves a file meanwhile takes no paste, so no key is pressed before it came.
    with offered_text(session) as came:
        program.dictate(SENTENCE)
        wait_until(came, "the text on the clipboard")
    wait_until(lambda: not kinds(session), "the clipboard to be empty again")
    session.keyboard = other  # for Control+S
    assert_arrived(SENTENCE, where.await_text())


@pytest.mark.parametrize("editor", [Foot, XTerm])
def test_keys_held_while_the_text_arrives_spoil_nothing(session, launch, editor):
    program = launch(settings={"hotkey.v2": hotkey_setting(100), "recordMode": "toggle"})  # F8
    terminal = editor(session)
    session.keyboard.tap("F8")
    program.await_recording()
    program.say(SENTENCE)
    session.keyboard.tap("F8")
    with session.keyboard.held("Alt_L", "Shift_L"):
        heard = terminal.await_text()
    assert_arrived(SENTENCE, heard)
    session.keyboard.type("x")
    wait_until(lambda: terminal.text() == heard + "x", "the next letter")


@cell("Escape")
def test_escape_cancels_and_is_the_programs_own_when_idle(session, launch):
    program = launch()
    terminal = Foot(session)
    session.keyboard.tap("Escape")
    wait_until(lambda: terminal.text() == "\x1b", "Escape in the terminal")
    with session.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        session.keyboard.tap("Escape")
        program.await_silence()
    assert stays(lambda: terminal.text() == "\x1b", 2), "Escape was swallowed and nothing typed"
    session.keyboard.tap("Escape")
    wait_until(lambda: terminal.text() == "\x1b\x1b", "Escape after a dictation")
    program.dictate(SENTENCE)
    wait_until(lambda: len(terminal.text()) > 2, "the dictated text")
    assert_arrived(SENTENCE, terminal.await_text()[2:])


@cell("lost release")
def test_a_release_that_is_lost_ends_no_later_than_the_next_press(session, launch):
    program = launch(settings={"hotkey.v2": hotkey_setting(100)})  # F8
    terminal = Foot(session)
    with session.keyboard.held("F8"):
        program.await_recording()
        program.say(SENTENCE)
        session.keyboard.tap("a")  # after which sway tells of no release
    assert stays(program.is_recording, 1.5), "the release was told"
    session.keyboard.tap("F8")
    program.await_silence()
    wait_until(lambda: len(terminal.text()) > 1, "the dictated text")
    assert_arrived(SENTENCE, terminal.await_text().removeprefix("a"))


@cell("HTML and image")
@pytest.mark.parametrize("editor", [Foot, QtXWaylandEditor])
def test_html_and_an_image_come_back_byte_for_byte(session, launch, copy, editor):
    program = launch()
    where = editor(session)
    contents = {"text/html": HTML, "text/plain;charset=utf-8": "Grüße".encode(),
                "image/png": PNG, "application/x-own": bytes(range(256))}
    copy(contents)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, where.await_text())
    await_pasted(session, HTML, "text/html")
    for kind, data in contents.items():
        assert pasted(session, kind) == data, kind
    assert set(kinds(session)) == set(contents)


@cell("HTML and image")
def test_what_a_program_on_xwayland_copied_comes_back(session, launch):
    program = launch()
    where = QtXWaylandEditor(session)
    contents = {"UTF8_STRING": "Grüße".encode(), "text/html": HTML, "image/png": PNG}
    owner = clipboard.ClipboardOwner(session, contents)
    await_pasted(session, HTML, "text/html")
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, where.await_text())
    assert owner.lost.wait(60)
    await_pasted(session, HTML, "text/html")
    assert pasted(session, "image/png") == PNG
    assert pasted(session) == "Grüße".encode()


@pytest.mark.parametrize("end", [signal.SIGTERM, "XWayland's"])
def test_what_was_put_back_outlives_the_program(session, launch, copy, end):
    program = launch()
    terminal = Foot(session)
    contents = {"text/html": HTML, "image/png": PNG}
    copy(contents)
    program.dictate(SENTENCE)
    terminal.await_text()
    await_pasted(session, HTML, "text/html")
    if end == signal.SIGTERM:
        assert program.quit(end) == 0
    else:
        end_xwayland(session)
        wait_until(lambda: b"VORLIN_RESTARTED" in environ(program), "the next start")
    wait_until(lambda: len(keepers(session)) == 1, "who keeps it")
    await_pasted(session, PNG, "image/png")
    assert pasted(session, "text/html") == HTML
    copy({"text/html": b"another"})
    wait_until(lambda: not keepers(session), "who kept it to go")
    assert pasted(session, "text/html") == b"another"


def test_what_a_text_stood_over_comes_back_when_xwayland_ends(session, launch, copy):
    program = launch()
    terminal = Foot(session)
    copy({"text/html": HTML})
    with session.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        os.kill(terminal.process.pid, signal.SIGSTOP)
    wait_until(lambda: "text/html" not in kinds(session), "the text on the clipboard")
    end_xwayland(session)
    wait_until(lambda: b"VORLIN_RESTARTED" in environ(program), "the next start")
    await_pasted(session, HTML, "text/html")
    os.kill(terminal.process.pid, signal.SIGCONT)


def test_an_empty_clipboard_is_empty_again(session, launch):
    program = launch()
    terminal = Foot(session)
    program.dictate(SENTENCE)
    terminal.await_text()
    wait_until(lambda: not kinds(session), "the clipboard to be empty")


def test_a_terminal_that_hangs_beside_a_clipboard_manager_gets_the_text(session, launch, copy):
    copy({"text/plain;charset=utf-8": b"old contents"})
    log = session.folder / "remembered"
    session.spawn(["wl-paste", "--watch", "sh", "-c", f"cat >> {log}; echo >> {log}"])
    wait_until(lambda: log.exists() and "old contents" in log.read_text(), "the manager")
    program = launch()
    terminal = Foot(session)
    with session.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        os.kill(terminal.process.pid, signal.SIGSTOP)
    wait_until(lambda: "committee" in log.read_text(), "the manager to have read the text")
    assert stays(lambda: pasted(session) != b"old contents", 1), "the text stays for its reader"
    os.kill(terminal.process.pid, signal.SIGCONT)
    assert_arrived(SENTENCE, terminal.await_text())
    await_pasted(session, b"old contents")


@cell("overlay")
def test_the_overlay_is_seen_and_takes_neither_focus_nor_click(session, launch):
    program = launch(settings={"sounds": False})
    below = session.spawn(["stdbuf", "-oL", "wev", "-f", "wl_keyboard", "-f", "wl_pointer"],
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, bufsize=0)
    seen = []
    os.set_blocking(below.stdout.fileno(), False)

    def told():
        seen.append(below.stdout.read() or b"")
        return b"".join(seen)

    wait_until(lambda: b"wl_keyboard] enter" in told(), "the window below to have the focus")
    session.keyboard.move(5, 5)
    idle = pixels(session, "idle")
    left, top, width, height = expected_frame(SCREEN, "bottomCenter")
    middle = (left + width // 2, top + height // 2)

    def covered():
        now = pixels(session, "dictating")
        return sum(now[row][3 * left:3 * (left + width)] != idle[row][3 * left:3 * (left + width)]
                   for row in range(top, top + height)) > height * 0.8

    with session.keyboard.held("Alt_R"):
        program.await_recording()
        wait_until(covered, "the overlay on the screen")
        session.keyboard.click(*middle)
        wait_until(lambda: b"button: 272" in told(), "the click in the window below")
        assert session.focused()["pid"] == below.pid
        session.keyboard.move(5, 5)
    program.await_silence()
    wait_until(lambda: pixels(session, "idle-again") == idle, "the overlay to go")
    assert b"wl_keyboard] leave" not in told()


def test_it_stands_on_the_screen_of_the_focused_window(session, launch):
    session.command("create_output")
    session.command("output HEADLESS-2 resolution 1280x800 position 1280 0")
    program = launch(settings={"sounds": False})
    session.command("focus output HEADLESS-2")
    Foot(session)

    def seen(output):
        return session.output(["sh", "-c", f"grim -o {output} - | sha1sum"])

    for output in ("HEADLESS-1", "HEADLESS-2"):  # the terminal may still draw
        wait_until(lambda name=output: stays_equal(lambda: seen(name), 0.5), "the screen to rest")
    idle, first = seen("HEADLESS-2"), seen("HEADLESS-1")
    with session.keyboard.held("Alt_R"):
        program.await_recording()
        wait_until(lambda: seen("HEADLESS-2") != idle, "the overlay on the second screen")
        session.output(["grim", str(session.artefacts / "both.png")])
        assert seen("HEADLESS-1") == first


@cell("killed")
def test_killed_in_a_dictation_it_leaves_nothing_behind(session, launch):
    program = launch()
    terminal = Foot(session)
    with session.keyboard.held("Alt_R"):
        program.await_recording()
        program.process.kill()
        program.process.wait()
    wait_until(lambda: not session.sound.source_outputs(), "the microphone to be closed")
    session.keyboard.tap("Escape")
    session.keyboard.type("keys work")
    wait_until(lambda: terminal.text() == "\x1bkeys work", "keys in the terminal")
    assert not kinds(session)
    program.start()
    with held_until_recording(session, program):
        program.say(SENTENCE)
    wait_until(lambda: len(terminal.text()) > 15, "the dictated text")


@cell("killed")
def test_killed_right_after_the_paste_it_leaves_no_text_on_the_clipboard(session, launch):
    program = launch()
    terminal = Foot(session)
    with session.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        os.kill(terminal.process.pid, signal.SIGSTOP)
    wait_until(lambda: kinds(session), "the text on the clipboard")
    program.process.kill()
    program.process.wait()
    wait_until(lambda: not kinds(session), "the clipboard to be empty")
    os.kill(terminal.process.pid, signal.SIGCONT)
    session.keyboard.type("keys work")
    wait_until(lambda: terminal.text().endswith("keys work"), "keys in the terminal")


@cell("restart")
def test_a_reload_of_sway_costs_no_dictation(session, launch):
    program = launch()
    terminal = Foot(session)
    session.command("reload")
    with held_until_recording(session, program):
        program.say(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())


def test_the_socket_of_another_sway_is_told_nothing(session, request):
    """The variable outlives its sway, and a compositor inside a sway inherits it."""
    path = pathlib.Path(session.environment["XDG_RUNTIME_DIR"]) / "sway-ipc.other.sock"
    with socket.socket(socket.AF_UNIX) as other:
        other.bind(str(path))
        other.listen()
        session.environment["SWAYSOCK"] = str(path)
        program = Program(session, request.config.getoption("--program"))
        assert program.answers()
        asked = other.accept()[0]
        asked.settimeout(30)
        assert asked.recv(1) == b"", "it only looked who listens there"
        other.settimeout(1)
        with pytest.raises(TimeoutError):
            other.accept()


def test_without_xwayland_it_says_one_line_and_ends(begin, request):
    session = begin(configuration="xwayland disable\n", sound=False)
    done = subprocess.run([request.config.getoption("--program")], env=session.environment,
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60,
                          check=False)
    assert done.returncode == 1
    assert done.stderr.count("\n") == 1 and "XWayland" in done.stderr


def test_when_xwayland_ends_the_program_starts_anew_once_and_types_nothing_twice(session, launch):
    program = launch()
    terminal = Foot(session)
    program.dictate(SENTENCE)
    before = terminal.await_text()
    assert b"VORLIN_RESTARTED" not in environ(program)
    end_xwayland(session)
    wait_until(lambda: b"VORLIN_RESTARTED" in environ(program), "the next start")
    wait_until(program.answers, "the program to answer again")
    assert terminal.text() == before
    with held_until_recording(session, program):
        program.say(SENTENCE)
    wait_until(lambda: len(terminal.text()) > len(before), "the next text")


def test_when_xwayland_ends_the_version_that_took_its_place_starts(session, request, tmp_path):
    build = request.config.getoption("--program").resolve().parents[3]
    subprocess.run(["cmake", "--install", build, "--prefix", tmp_path], check=True,
                   stdout=subprocess.DEVNULL)
    installed = tmp_path / PROGRAM
    program = Program(session, installed)
    later = installed.with_suffix(".later")
    shutil.copy2(installed, later)
    later.rename(installed)
    exe = f"/proc/{program.process.pid}/exe"
    assert os.readlink(exe) == f"{installed} (deleted)"
    end_xwayland(session)
    wait_until(lambda: os.readlink(exe) == str(installed), "the later version")
    wait_until(program.answers, "the program to answer again")
