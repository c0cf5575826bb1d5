"""Real programs in a Wayland session that receive dictated text, and how it is read back."""

from waiting import stays_equal, wait_until


class SwayEditor:
    """A program with one window and one text, read from the file that is being edited.

    A subclass gives `name`, `kind`, `command(path)` and, where the program does not choose it
    itself, the variables that let it be a program of Wayland or of X11.
    """

    name = "editor"
    variables = {}

    def __init__(self, desktop):
        self.desktop = desktop
        self.path = desktop.folder / f"{self.name}.txt"
        self.path.touch()
        self.process = desktop.spawn(self.command(self.path), log=self.name,
                                     env=desktop.environment | self.variables)
        self.window = wait_until(self._find_window, f"{self.name}'s window")
        self.focus()
        wait_until(self.ready, f"{self.name} to be ready")

    def command(self, path):
        raise NotImplementedError

    def ready(self):
        return self.path.name in self._node()["name"]

    def focus(self):
        self.desktop.command(f"[con_id={self.window}] focus")
        wait_until(lambda: self._node()["focused"], f"{self.name} to have the keyboard")

    def text(self):
        """What stands in the editor now, saved first."""
        self.desktop.keyboard.chord("Control_L", "s")
        return self.path.read_text().removesuffix("\n")

    def await_text(self, timeout=180.0):
        """Waits until there is a text; returns it."""
        wait_until(self.text, f"text in {self.name}", timeout, interval=0.5)
        return self.text()

    def _find_window(self):
        if self.process.poll() is not None:
            raise RuntimeError(f"{self.name} ended with {self.process.returncode}")
        return next((each["id"] for each in self.desktop.windows()
                     if each["pid"] == self.process.pid), None)

    def _node(self):
        return next(each for each in self.desktop.windows() if each["id"] == self.window)


class TerminalEditor(SwayEditor):
    """A terminal with a program that writes down every byte it is typed."""

    def script(self, path):
        return ["sh", "-c", f"stty raw -echo; : > '{path}.ready'; exec cat > '{path}'"]

    def ready(self):
        return self.path.with_name(self.path.name + ".ready").exists()

    def text(self):
        return self.path.read_text()

    def await_text(self, timeout=180.0):
        wait_until(self.text, f"text in {self.name}", timeout)
        wait_until(lambda: stays_equal(self.text, 0.3), "the text to be complete", timeout)
        return self.text()


class Foot(TerminalEditor):
    kind = "terminal"
    name = "foot"

    def command(self, path):
        return ["foot", *self.script(path)]


class XTerm(TerminalEditor):
    """A program on XWayland."""

    kind = "terminal on XWayland"
    name = "xterm"

    def command(self, path):
        return ["xterm", "-T", path.name, "-e", *self.script(path)]


class GTK4Editor(SwayEditor):
    kind = "GTK 4"
    name = "gnome-text-editor"
    variables = {"GDK_BACKEND": "wayland"}

    def command(self, path):
        return ["gnome-text-editor", "--standalone", path]


class QtEditor(SwayEditor):
    kind = "Qt"
    name = "featherpad"
    variables = {"QT_QPA_PLATFORM": "wayland"}

    def command(self, path):
        return ["featherpad", "--standalone", path]


class QtXWaylandEditor(SwayEditor):
    """The same program on XWayland."""

    kind = "XWayland"
    name = "featherpad-x11"
    variables = {"QT_QPA_PLATFORM": "xcb"}

    def command(self, path):
        return ["featherpad", "--standalone", path]
