"""Real programs in a session whose compositor tells nobody about windows: what they are dictated
is read back from the file that they save."""

import re

from waiting import stays_equal, wait_until


class PortalEditor:
    """A program with one window and one text. A subclass gives `name`, `kind`, `command(path)` and
    the variables that let it be a program of Wayland or of X11."""

    name = "editor"
    variables = {}

    def __init__(self, desktop):
        self.desktop = desktop
        self.path = desktop.folder / f"{self.name}.txt"
        self.path.touch()
        self.process = desktop.spawn(self.command(self.path), log=self.name,
                                     env=desktop.environment | self.variables)
        wait_until(self._takes_keys, f"{self.name} to have the keyboard", interval=0.5)
        wait_until(self._is_emptied, f"{self.name} to be empty", interval=0.5)

    def command(self, path):
        raise NotImplementedError

    def text(self):
        """What stands in the editor now, saved first."""
        self.desktop.keyboard.chord("Control_L", "s")
        wait_until(lambda: stays_equal(self.path.read_text, 0.3), "the file to be written")
        return self.path.read_text().removesuffix("\n")

    def await_text(self, timeout=180.0):
        """Waits until there is a text; returns it."""
        wait_until(self.text, f"text in {self.name}", timeout, interval=0.5)
        return self.text()

    def _is_emptied(self):
        self.desktop.keyboard.chord("Control_L", "a")
        self.desktop.keyboard.tap("BackSpace")
        return not self.text()

    def _takes_keys(self):
        if self.process.poll() is not None:
            raise RuntimeError(f"{self.name} ended with {self.process.returncode}")
        self.desktop.keyboard.type("a")
        return self.text()


class GTK4Editor(PortalEditor):
    kind = "GTK 4"
    name = "gnome-text-editor"
    variables = {"GDK_BACKEND": "wayland"}

    def command(self, path):
        return ["gnome-text-editor", "--standalone", path]


class QtEditor(PortalEditor):
    kind = "Qt"
    name = "featherpad"
    variables = {"QT_QPA_PLATFORM": "wayland"}

    def command(self, path):
        return ["featherpad", "--standalone", path]


class QtXWaylandEditor(PortalEditor):
    kind = "XWayland"
    name = "featherpad-x11"
    variables = {"QT_QPA_PLATFORM": "xcb"}

    def command(self, path):
        return ["featherpad", "--standalone", path]


class Terminal:
    """A terminal as large as the screen, with a program that writes down every byte it is typed,
    and is told of clicks and of the focus. It is not on the accessibility bus."""

    name = "foot"
    options = ("--maximized",)
    variables = {}

    def __init__(self, desktop):
        self.path = desktop.folder / f"{self.name}.bytes"
        ready = desktop.folder / f"{self.name}.ready"
        script = desktop.folder / f"{self.name}.sh"
        script.write_text("#!/bin/sh\n"
                          "printf '\\033[?1000h\\033[?1006h\\033[?1004h'; stty raw -echo\n"
                          f": > '{ready}'; exec cat > '{self.path}'\n")
        script.chmod(0o700)
        desktop.spawn([self.name, *self.options, script], log=self.name,
                      env=desktop.environment | self.variables)
        wait_until(ready.exists, "the terminal to be ready")

        def takes_keys():
            desktop.keyboard.tap("a")
            return self.typed()

        wait_until(takes_keys, "the terminal to have the keyboard", interval=0.5)

    def typed(self):
        return self.path.read_bytes() if self.path.exists() else b""

    def clicks(self):
        """How often it was told that a button went down."""
        return len(re.findall(rb"\x1b\[<0;\d+;\d+M", self.typed()))

    def lost_focus(self):
        return b"\x1b[O" in self.typed()

    def await_escape(self):
        wait_until(self.escapes, "Escape in the terminal")

    def escapes(self):
        """How often Escape was typed."""
        return len(re.findall(rb"\x1b(?![\[O])", self.typed()))


class QtTerminal(Terminal):
    """One that is on it."""
    kind = "Qt"
    name = "qterminal"
    options = ("-e",)
    variables = {"QT_QPA_PLATFORM": "wayland"}


class GTK4Terminal(Terminal):
    """Another one."""
    kind = "GTK 4"
    name = "kgx"
    options = ("-e",)
    variables = {"GDK_BACKEND": "wayland"}
