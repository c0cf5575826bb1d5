"""Terminals: the chord that pastes there, both selections as they were, and no line that a shell
would run. At night only."""

import contextlib
import pathlib

import pytest

import clipboard
from applications import is_installed
from local_model import TOKEN_THE, LocalModel
from program import Program, assert_arrived
from terminals import SHELLS, TERMINALS
from virtual_desktop import VirtualDesktop
from waiting import wait_until

IN_ONE_LINE = "I will be in touch ran office at seven."
ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SENTENCE = "the committee decided to postpone the meeting until next month"
COPIED, SELECTED = b"copied before", b"selected before"


@pytest.fixture(name="terminal", params=TERMINALS, scope="module")
def _terminal(request):
    """A desktop with one such terminal."""
    kind, package = TERMINALS[request.param]
    if not is_installed(package):
        pytest.skip(f"{package} is not installed")
    with VirtualDesktop(artefacts=ROOT / "build" / "artefacts" / f"terminals-{kind.name}"
                        ) as desktop:
        yield kind(desktop)
        desktop.screenshot("end")


@pytest.fixture(name="selections")
def _selections(terminal):
    """Something was copied and something else selected before."""
    for contents, selection in ((COPIED, "CLIPBOARD"), (SELECTED, "PRIMARY")):
        clipboard.ClipboardOwner(terminal.desktop, {"UTF8_STRING": contents}, selection)

    def are_back():
        return clipboard.read(terminal.desktop) == COPIED and clipboard.read(
            terminal.desktop, selection="primary") == SELECTED

    return are_back


@contextlib.contextmanager
def several_lines(desktop, request):
    """A dictation that would run a command, were its lines typed into a shell."""
    model = LocalModel(desktop)
    model.write_for(TOKEN_THE, "\r\ntouch ran\n\x03")  # a line of its own, and a key
    utterance = model.utterances[0]
    assert utterance["text"] == "I will be in the office at seven."
    program = Program(desktop, request.config.getoption("--program"),
                      settings=model.settings(sounds=False))
    try:
        with desktop.keyboard.held("Alt_R"):
            program.await_recording()
            desktop.sound.play(model.recording([utterance], "one"))
        yield
    finally:
        program.quit()


@pytest.mark.matrix("terminals", row="terminal", column="words arrive, selections come back")
def test_the_words_arrive_and_the_selections_come_back(terminal, selections, request):
    before = terminal.text()
    program = Program(terminal.desktop, request.config.getoption("--program"),
                      settings={"sounds": False})
    try:
        program.dictate(SENTENCE)
        text = terminal.await_more(before)
        assert_arrived(SENTENCE, text)
        assert text == text.strip()
        wait_until(selections, "both selections to come back")
    finally:
        program.quit()


@pytest.mark.matrix("terminals", row="terminal", column="several lines run nothing")
def test_several_lines_come_as_one_that_nothing_runs(terminal, selections, request):
    before = terminal.text()
    with several_lines(terminal.desktop, request):
        assert terminal.await_more(before) == IN_ONE_LINE
        wait_until(selections, "both selections to come back")


@pytest.mark.parametrize("name", SHELLS)
def test_a_shell_that_takes_them_for_typed_runs_none_of_several_lines(name, request):
    with VirtualDesktop(artefacts=ROOT / "build" / "artefacts" / f"shell-{name}") as desktop:
        shell = SHELLS[name](desktop)
        with several_lines(desktop, request):
            wait_until(lambda: IN_ONE_LINE in shell.text(), "the words at the prompt")
        assert not list(shell.folder.iterdir())
        # Such a shell it is: lines that are pasted as they are it runs.
        clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"\ntouch ran\n"}, "PRIMARY")
        desktop.keyboard.chord("Shift_L", "Insert")
        wait_until((shell.folder / "ran").exists, "the shell to run a line")
