"""Keys and a pointer of a person in a Wayland session, by a program that is their hands."""

import subprocess

from hands import Hands

# The kernel's numbers, by position.
ROWS = {16: "qwertyuiop", 30: "asdfghjkl", 44: "zxcvbnm", 2: "1234567890"}
KEYS = {letter: first + offset for first, row in ROWS.items() for offset, letter in enumerate(row)}
KEYS |= {
    "Escape": 1, "BackSpace": 14, "Tab": 15, "Return": 28, "space": 57, "Insert": 110,
    "Control_L": 29, "Control_R": 97, "Shift_L": 42, "Shift_R": 54, "Alt_L": 56, "Alt_R": 100,
    "Super_L": 125, "F5": 63, "F8": 66, "F9": 67, "F10": 68,
}
BUTTON_LEFT = 0x110


class WaylandKeyboard(Hands):
    """Presses keys as a person does at a keyboard of their own. `person` is the program that does
    it, `layout` what xkb calls the layout."""

    def __init__(self, desktop, person, layout="us"):
        self.process = desktop.spawn([person, layout], stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, bufsize=0)
        self._await_answer("ready")

    def press(self, key):
        self._tell(f"press {KEYS[key]}")

    def release(self, key):
        self._tell(f"release {KEYS[key]}")

    def move(self, x, y):
        """Moves the pointer there."""
        self._tell(f"move {x} {y}")

    def click(self, x, y):
        """Moves the pointer there and clicks."""
        self.move(x, y)
        self._tell(f"click {BUTTON_LEFT}")

    def _tell(self, command):
        self.process.stdin.write(command.encode() + b"\n")
        self._await_answer("done")

    def _await_answer(self, expected):
        answer = self.process.stdout.readline().decode().strip()
        if answer != expected:
            raise RuntimeError(f"the person's hands said {answer!r}")
