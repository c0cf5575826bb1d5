"""Real programs that receive dictated text, and how a test reads it back from them."""

import signal

from Xlib import X, protocol

from waiting import stays_equal, wait_until


class Editor:
    """A program with one window and one text.

    A subclass gives `command(path)`. Text is read from the file that is being edited.
    """

    name = "editor"

    def __init__(self, desktop):
        self.desktop = desktop
        self.path = desktop.folder / f"{self.name}.txt"
        self.path.touch()
        self.prepare()
        self.process = desktop.spawn(self.command(self.path), log=self.name)
        self.window = wait_until(self._find_window, f"{self.name}'s window", 60)
        wait_until(self.ready, f"{self.name} to open its file", 60)
        self.focus()

    # What a subclass says.

    def command(self, path):
        raise NotImplementedError

    def prepare(self):
        """Writes settings before the program starts."""

    def ready(self):
        return self.path.name in self.title()

    def text(self):
        """What stands in the editor now."""
        if self.changed():
            self.desktop.keyboard.chord("Control_L", "s")
            wait_until(lambda: not self.changed(), f"{self.name} to save its file")
        return self.path.read_text().removesuffix("\n")

    # What a test uses.

    def title(self):
        x = self.desktop.x
        name = self.window.get_full_property(x.intern_atom("_NET_WM_NAME"), X.AnyPropertyType)
        return name.value.decode(errors="replace") if name else ""

    def changed(self):
        """Whether there is text that was not saved; looks without touching."""
        return self.title().startswith("*")

    def await_text(self, timeout=30.0):
        """Waits, without touching the program, until its text has changed; returns the text."""
        wait_until(self.changed, f"text in {self.name}", timeout)
        return self.text()

    def await_more(self, before, timeout=30.0):
        """Waits, without touching the program, for text behind what stood there; returns it."""
        text = self.await_text(timeout)
        assert text.startswith(before), f"{self.name} lost {before!r}: {text!r}"
        return text[len(before):]

    def focus(self):
        """Gives the window the keyboard and waits until it has it."""
        root = self.desktop.x.screen().root
        active = self.desktop.x.intern_atom("_NET_ACTIVE_WINDOW")
        message = protocol.event.ClientMessage(
            window=self.window, client_type=active, data=(32, [2, X.CurrentTime, 0, 0, 0]))
        root.send_event(message,
                        event_mask=X.SubstructureRedirectMask | X.SubstructureNotifyMask)
        self.desktop.x.flush()
        wait_until(self.has_focus, f"{self.name} to have the keyboard")

    def has_focus(self):
        root = self.desktop.x.screen().root
        active = root.get_full_property(self.desktop.x.intern_atom("_NET_ACTIVE_WINDOW"),
                                        X.AnyPropertyType)
        return bool(active) and active.value[0] == self.window.id

    def hang(self):
        """Stops the program as a busy one is: it answers nobody until `recover`."""
        self.process.send_signal(signal.SIGSTOP)

    def recover(self):
        self.process.send_signal(signal.SIGCONT)

    def _find_window(self):
        if self.process.poll() is not None:
            raise RuntimeError(f"{self.name} ended with {self.process.returncode}")
        x = self.desktop.x
        clients = x.screen().root.get_full_property(x.intern_atom("_NET_CLIENT_LIST"),
                                                    X.AnyPropertyType)
        for window_id in clients.value if clients else []:
            window = x.create_resource_object("window", window_id)
            owner = window.get_full_property(x.intern_atom("_NET_WM_PID"), X.AnyPropertyType)
            if owner and owner.value[0] == self.process.pid:
                return window
        return None


class GTKEditor(Editor):
    name = "mousepad"

    def command(self, path):
        return ["mousepad", "--disable-server", path]


class QtEditor(Editor):
    """A Qt window with a menu bar, which a lone Alt would take the keyboard to."""

    name = "featherpad"

    def prepare(self):
        folder = self.desktop.config_folder / "featherpad"
        folder.mkdir(exist_ok=True)
        (folder / "fp.conf").write_text("[text]\nappendEmptyLine=false\n")

    def command(self, path):
        return ["featherpad", "--standalone", path]


class Terminal(Editor):
    """xterm with a program that writes down every byte it is typed, control characters too."""

    name = "xterm"

    def command(self, path):
        return ["xterm", "-T", path.name, "-e", "sh", "-c",
                f"stty raw -echo; : > '{path}.ready'; exec cat > '{path}'"]

    def ready(self):
        return self.path.with_name(self.path.name + ".ready").exists()

    def changed(self):
        return self.path.stat().st_size > 0

    def await_text(self, timeout=30.0):
        wait_until(self.changed, f"text in {self.name}", timeout)
        # The bytes of one paste arrive in pieces.
        wait_until(lambda: stays_equal(self.text, 0.3), "the text to be complete", timeout)
        return self.text()

    def await_more(self, before, timeout=30.0):
        wait_until(lambda: self.text() != before, f"more text in {self.name}", timeout)
        return super().await_more(before, timeout)

    def text(self):
        return self.path.read_text()
