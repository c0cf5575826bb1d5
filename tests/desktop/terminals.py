"""The terminals that people have. In each a program writes down every byte that it is typed,
control characters too."""

from applications import Application
from editors import Terminal

LOGS_EVERYTHING = "stty raw -echo; : > '{path}.ready'; exec cat > '{path}'"


class AnyTerminal(Application):
    """A terminal whose window is known by its class, which may be another process's."""

    options = ()
    environment = {}

    def command(self, path):
        script = LOGS_EVERYTHING.format(path=path)
        variables = [f"{name}={value}" for name, value in self.environment.items()]
        return ["env", *variables, self.name, *self.options, "sh", "-c", script]

    def ready(self):
        return self.path.with_name(self.path.name + ".ready").exists()

    def text(self):
        return self.path.read_text()


class Urxvt(AnyTerminal):
    name, window_class, options = "urxvt", "URxvt", ("-e",)


class St(AnyTerminal):
    name, window_class, options = "stterm", "st-256color", ("-e",)


class GnomeTerminal(AnyTerminal):
    name, window_class = "gnome-terminal", "gnome-terminal-server"
    options = ("--wait", "--")

    def prepare(self):
        # Its windows are those of a service, which the bus starts.
        self.desktop.output(["dbus-update-activation-environment", *(
            f"{name}={self.desktop.environment[name]}" for name in ("DISPLAY", "LANG"))])


class Konsole(AnyTerminal):
    name, window_class = "konsole", "konsole"
    options = ("--nofork", "-e")


class Alacritty(AnyTerminal):
    name, window_class, options = "alacritty", "Alacritty", ("-e",)
    environment = {"LIBGL_ALWAYS_SOFTWARE": "1"}


class Kitty(AnyTerminal):
    name, window_class = "kitty", "kitty"
    environment = {"LIBGL_ALWAYS_SOFTWARE": "1"}


class XfceTerminal(AnyTerminal):
    name, window_class = "xfce4-terminal", "Xfce4-terminal"
    options = ("--disable-server", "-x")


class MateTerminal(AnyTerminal):
    name, window_class = "mate-terminal", "Mate-terminal"
    options = ("--disable-factory", "-x")


class LxTerminal(AnyTerminal):
    name, window_class = "lxterminal", "Lxterminal"

    def command(self, path):
        return ["lxterminal", "--no-remote", "-e", self._script_file(path)]

    def _script_file(self, path):
        file = path.with_suffix(".sh")
        file.write_text(f"#!/bin/sh\n{LOGS_EVERYTHING.format(path=path)}\n")
        file.chmod(0o755)
        return file


class QTerminal(LxTerminal):
    name, window_class = "qterminal", "qterminal"

    def command(self, path):
        return ["qterminal", "-e", self._script_file(path)]


class Sakura(LxTerminal):
    name, window_class = "sakura", "Sakura"

    def command(self, path):
        return ["sakura", "-e", self._script_file(path)]


class Tilix(LxTerminal):
    name, window_class = "tilix", "Tilix"

    def command(self, path):
        return ["tilix", "--new-process", "-e", self._script_file(path)]


class Terminator(LxTerminal):
    name, window_class = "terminator", "Terminator"

    def command(self, path):
        return ["terminator", "--no-dbus", "-x", self._script_file(path)]


class Shell(AnyTerminal):
    """xterm with a shell that takes what is pasted for typed. Its text is what the window shows."""

    name, window_class = "xterm", "XTerm"
    PROMPT = "ready> "
    shell = ()
    start = ""

    def command(self, path):
        self.folder = path.with_name(path.stem + "-folder")
        self.folder.mkdir()
        start = path.with_suffix(".rc")
        start.write_text(f"PS1='{self.PROMPT}'\n{self.start}\n")
        shell = " ".join(self.shell).format(start=start)
        return ["env", "-C", str(self.folder), "xterm", "-e", "script", "--quiet", "--flush",
                "--command", shell, str(path)]

    def ready(self):
        return self.PROMPT in self.path.read_text()

    def text(self):
        return self.path.read_text().rpartition(self.PROMPT)[2]


class Bash(Shell):
    shell = ("bash", "--noprofile", "--rcfile", "{start}", "-i")
    start = "bind 'set enable-bracketed-paste off'"


class Dash(Shell):
    shell = ("env", "ENV={start}", "dash", "-i")


SHELLS = {"bash": Bash, "dash": Dash}

# Each with the package that brings it.
TERMINALS = {
    "xterm": (Terminal, "xterm"),
    "urxvt": (Urxvt, "rxvt-unicode"),
    "st": (St, "stterm"),
    "GNOME Terminal": (GnomeTerminal, "gnome-terminal"),
    "Konsole": (Konsole, "konsole"),
    "Alacritty": (Alacritty, "alacritty"),
    "kitty": (Kitty, "kitty"),
    "xfce4-terminal": (XfceTerminal, "xfce4-terminal"),
    "mate-terminal": (MateTerminal, "mate-terminal"),
    "LXTerminal": (LxTerminal, "lxterminal"),
    "QTerminal": (QTerminal, "qterminal"),
    "Sakura": (Sakura, "sakura"),
    "Tilix": (Tilix, "tilix"),
    "Terminator": (Terminator, "terminator"),
}
