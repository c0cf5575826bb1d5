#!/usr/bin/python3
"""Prints what a person waits for in each kind of session, the unchanged program in each: from the
key going down to the microphone being opened, and from letting it go to the chord, or the text,
in a terminal, the recogniser's own time included.

The kinds of session come one after the other, the first of them once more at the end: what that
differs from its first time is the machine's doing. A kind that is not installed is passed over.
"""

import argparse
import contextlib
import pathlib
import shutil
import statistics
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

# pylint: disable=wrong-import-position
from gnome_desktop import GnomeDesktop  # noqa: E402
from kwin_desktop import KWinDesktop  # noqa: E402
from program import Program, hotkey_setting  # noqa: E402
from sway_desktop import SwayDesktop  # noqa: E402
from virtual_desktop import VirtualDesktop  # noqa: E402
from waiting import stays, stays_equal, wait_until  # noqa: E402

SENTENCE = "the weather will be warm and sunny"
BUILT = ROOT / "build" / "release"
F9 = 101
# By what each needs; the terminal is one that is not asked for a chord of its own where there is
# a choice.
KINDS = {
    "X11": ("Xvfb", VirtualDesktop, ["xterm", "-e"]),
    "sway": ("sway", lambda **options: SwayDesktop(BUILT / "tests/desktop/wayland_person",
                                                   **options), ["foot"]),
    "KWin": ("kwin_wayland", KWinDesktop, ["foot"]),
    "GNOME Shell": ("gnome-shell", GnomeDesktop, ["foot"]),
}


class Microphone:
    """When the sound server says that somebody begins to read a microphone."""

    def __init__(self, desktop):
        self.began = []
        process = desktop.spawn(["pactl", "subscribe"], stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL)
        threading.Thread(target=self._listen, args=[process.stdout], daemon=True).start()

    def _listen(self, lines):
        for line in lines:
            if b"'new' on source-output" in line:
                self.began.append(time.monotonic())


class Session:
    """A desktop with the program, and a terminal that writes down what it is typed."""

    def __init__(self, desktop, terminal):
        self.desktop = desktop
        self.path = desktop.folder / "typed"
        ready = desktop.folder / "ready"
        desktop.spawn([*terminal, "sh", "-c", f"stty raw -echo; : > '{self.path}'; : > '{ready}'; "
                       f"exec cat > '{self.path}'"], log="terminal")
        self.program = Program(desktop, BUILT / "src/App/Linux/vorlin",
                               settings={"hotkey.v2": hotkey_setting(F9)})
        if hasattr(desktop, "allow"):
            desktop.allow_typing()
            desktop.allow(self.program)
        wait_until(ready.exists, "the terminal")
        wait_until(lambda: desktop.keyboard.tap("a") or self.size(), "the terminal's keyboard",
                   interval=0.5)
        self.microphone = Microphone(desktop)
        wait_until(self._listens, "the key to be watched")
        wait_until(lambda: stays(lambda: not self.program.is_recording(), 1), "silence")

    def _listens(self):
        known = len(self.microphone.began)
        with self.desktop.keyboard.held("F9"):
            return not stays(lambda: len(self.microphone.began) == known, 1)

    def dictate(self):
        """One dictation: (ms from key down to microphone, ms from key up to the terminal)."""
        known, size = len(self.microphone.began), self.size()
        down = time.monotonic()
        with self.desktop.keyboard.held("F9"):
            wait_until(lambda: len(self.microphone.began) > known, "the microphone",
                       interval=0.001)
            self.program.say(SENTENCE)
            up = time.monotonic()
        wait_until(lambda: self.size() > size, "the terminal to be typed", interval=0.001)
        typed = time.monotonic()
        wait_until(lambda: stays_equal(self.size, 0.3), "the text to be complete")
        time.sleep(4)  # until the clipboard is what it was, or what was not taken is left
        return 1000 * (self.microphone.began[known] - down), 1000 * (typed - up)

    def size(self):
        """How many bytes the terminal was typed."""
        return self.path.stat().st_size if self.path.exists() else 0


def measure(kind, dictations):
    """What each dictation took in one kind of session."""
    _needed, desktop, terminal = KINDS[kind]
    with contextlib.ExitStack() as stack:
        options = {} if kind in ("X11", "sway") else {
            "accessible": True, "variables": {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}}
        session = Session(stack.enter_context(desktop(**options)), terminal)
        session.dictate()  # its recogniser loads with the first one
        return [session.dictate() for _ in range(dictations)]


def show(kind, taken, first):
    for what, values, others in zip(("key down to microphone", "key let go to terminal"),
                                    zip(*taken), zip(*first)):
        median = statistics.median(values)
        print(f"{kind}, {what} ({len(values)}): median {median:.0f} ms "
              f"({median - statistics.median(others):+.0f}), max {max(values):.0f} ms", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--dictations", type=int, default=8)
    parser.add_argument("--kinds", nargs="+", choices=KINDS, default=list(KINDS))
    arguments = parser.parse_args()
    kinds = [kind for kind in arguments.kinds if shutil.which(KINDS[kind][0])]
    first = measure(kinds[0], arguments.dictations)
    show(kinds[0], first, first)
    for kind in (*kinds[1:], kinds[0]):
        show(kind, measure(kind, arguments.dictations), first)


if __name__ == "__main__":
    main()
