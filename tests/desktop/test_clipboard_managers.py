"""Clipboard managers keep what was copied, and no dictation."""

import subprocess

import pytest

import clipboard
from editors import GTKEditor
from program import assert_arrived
from waiting import wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"


class CopyQ:
    command = ["copyq"]

    def __init__(self, desktop):
        self.desktop = desktop
        desktop.spawn(self.command)

    def history(self):
        """All that it keeps."""
        count = self._ask("count").strip()
        return self._ask("read", *map(str, range(int(count)))) if count.isdigit() else ""

    def _ask(self, *arguments):
        return subprocess.run(["copyq", *arguments], env=self.desktop.environment, timeout=60,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False,
                              stdin=subprocess.DEVNULL).stdout.decode()


class Clipman(CopyQ):
    command = ["xfce4-clipman"]

    def history(self):
        file = self.desktop.home / ".cache" / "xfce4" / "clipman" / "textsrc"
        return file.read_text() if file.exists() else ""


@pytest.fixture(name="manager", params=[CopyQ, Clipman], ids=["copyq", "clipman"])
def _manager(desktop, request):
    manager = request.param(desktop)
    copies = 0

    def keeps():
        nonlocal copies
        copies += 1
        copy(desktop, f"copy {copies}")
        try:
            wait_until(lambda: f"copy {copies}" in manager.history(), "the copy to be kept", 5)
        except AssertionError:
            return False  # it has just begun
        return True

    wait_until(keeps, "the clipboard manager to be at work")
    return manager


def copy(desktop, text):
    return clipboard.ClipboardOwner(desktop, {"UTF8_STRING": text.encode(),
                                              "text/plain": text.encode()})


def test_it_keeps_no_dictation(desktop, launch, manager):
    program = launch()
    editor = GTKEditor(desktop)
    copy(desktop, "before it")
    wait_until(lambda: "before it" in manager.history(), "what was copied before")
    watcher = clipboard.SelectionWatcher(desktop)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, editor.await_text())
    watcher.await_changes(2)
    wait_until(lambda: clipboard.read(desktop) == b"before it", "the clipboard to come back")
    copy(desktop, "after it")
    wait_until(lambda: "after it" in manager.history(), "what was copied after")
    kept = manager.history()
    assert "committee" not in kept and "meeting" not in kept, kept


# CopyQ takes nothing over: it is no manager as the conventions have it.
@pytest.mark.parametrize("manager", [Clipman], indirect=True, ids=["clipman"])
def test_it_takes_over_what_was_put_back_when_the_program_ends(desktop, launch, manager):
    program = launch()
    editor = GTKEditor(desktop)
    copy(desktop, "before it")
    wait_until(lambda: "before it" in manager.history(), "what was copied before")
    watcher = clipboard.SelectionWatcher(desktop)
    program.dictate(SENTENCE)
    editor.await_text()
    watcher.await_changes(2)
    assert program.quit() == 0
    wait_until(lambda: clipboard.read(desktop) == b"before it", "the manager to offer it")
