"""Real programs in a session whose compositor tells nobody about windows: what they are dictated
is read back from the file that they save."""

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
        wait_until(self._takes_keys, f"{self.name} to have the keyboard", 90, interval=0.5)
        while self.text():
            desktop.keyboard.tap("BackSpace")

    def command(self, path):
        raise NotImplementedError

    def text(self):
        """What stands in the editor now, saved first."""
        self.desktop.keyboard.chord("Control_L", "s")
        wait_until(lambda: stays_equal(self.path.read_text, 0.3), "the file to be written")
        return self.path.read_text().removesuffix("\n")

    def await_text(self, timeout=30.0):
        """Waits until there is a text; returns it."""
        wait_until(self.text, f"text in {self.name}", timeout, interval=0.5)
        return self.text()

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
    """A terminal with a program that writes down every byte it is typed."""

    def __init__(self, desktop):
        self.path = desktop.folder / "terminal.bytes"
        ready = desktop.folder / "terminal.ready"
        desktop.spawn(["foot", "sh", "-c",
                       f"stty raw -echo; : > '{ready}'; exec cat > '{self.path}'"])
        wait_until(ready.exists, "the terminal to be ready")

        def takes_keys():
            desktop.keyboard.tap("a")
            return self.typed()

        wait_until(takes_keys, "the terminal to have the keyboard", interval=0.5)

    def typed(self):
        return self.path.read_bytes() if self.path.exists() else b""

    def await_escape(self):
        wait_until(lambda: b"\x1b" in self.typed(), "Escape in the terminal")
