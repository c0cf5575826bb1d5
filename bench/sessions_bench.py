#!/usr/bin/python3
"""Prints what a person waits for in each kind of session, in turns on the same machine: from the
key going down to the microphone being read, and from letting it go to the text in a terminal, the
recogniser's own time included.
"""

import argparse
import contextlib
import pathlib
import statistics
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

# pylint: disable=wrong-import-position
from program import Program  # noqa: E402
from sway_desktop import SwayDesktop  # noqa: E402
from virtual_desktop import VirtualDesktop  # noqa: E402
from waiting import stays_equal, wait_until  # noqa: E402

SENTENCE = "the committee decided to postpone the meeting until next month"
BUILT = ROOT / "build" / "release"


class Microphone:
    """When the sound server says that somebody begins to read the microphone."""

    def __init__(self, desktop):
        self.began = []
        self.process = desktop.spawn(["pactl", "subscribe"], stdout=subprocess.PIPE)
        threading.Thread(target=self._listen, daemon=True).start()

    def _listen(self):
        for line in self.process.stdout:
            if b"'new' on source-output" in line:
                self.began.append(time.monotonic())


class Session:
    """A desktop with the program, and a terminal that writes down what it is typed."""

    def __init__(self, name, desktop, program, terminal):
        self.name = name
        self.desktop = desktop
        self.path = desktop.folder / "typed.txt"
        script = f"stty raw -echo; : > '{self.path}.ready'; exec cat > '{self.path}'"
        desktop.spawn([*terminal, "sh", "-c", script], log="terminal")
        wait_until(self.path.with_name("typed.txt.ready").exists, f"the terminal on {name}")
        self.microphone = Microphone(desktop)
        self.program = Program(desktop, program)
        self.began, self.typed = [], []

    def dictate(self):
        """One dictation, timed."""
        known, size = len(self.microphone.began), self.size()
        down = time.monotonic()
        with self.desktop.keyboard.held("Alt_R"):
            wait_until(lambda: len(self.microphone.began) > known, "the microphone", interval=0.001)
            self.program.say(SENTENCE)
            up = time.monotonic()
        wait_until(lambda: self.size() > size, f"text on {self.name}", interval=0.001)
        self.typed.append(1000 * (time.monotonic() - up))
        self.began.append(1000 * (self.microphone.began[known] - down))
        wait_until(lambda: stays_equal(self.size, 0.3), "the text to be complete")
        wait_until(lambda: not self.program.is_recording(), "the recording to end")
        time.sleep(0.7)  # until the clipboard is back

    def size(self):
        """Bytes that the terminal was typed."""
        return self.path.stat().st_size if self.path.exists() else 0


def show(what, sessions, values):
    """One line a session, each against the first."""
    first = statistics.median(values(sessions[0]))
    for session in sessions:
        median = statistics.median(values(session))
        print(f"{what}, {session.name} ({len(values(session))}): median {median:.0f} ms "
              f"({median - first:+.0f}), max {max(values(session)):.0f} ms", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--dictations", type=int, default=20)
    arguments = parser.parse_args()
    program = BUILT / "src/App/Linux/vorlin"
    with contextlib.ExitStack() as stack:
        x11 = stack.enter_context(VirtualDesktop())
        sway = stack.enter_context(SwayDesktop(BUILT / "tests/desktop/wayland_person"))
        sessions = [Session("X11", x11, program, ["xterm", "-e"]),
                    Session("sway", sway, program, ["foot"])]
        for session in sessions:  # its recogniser loads with the first one
            session.dictate()
            session.began.clear()
            session.typed.clear()
        for _ in range(arguments.dictations):
            for session in sessions:
                session.dictate()
        show("key down to microphone", sessions, lambda each: each.began)
        show("key let go to text", sessions, lambda each: each.typed)


if __name__ == "__main__":
    main()
