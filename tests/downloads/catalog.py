"""The program under test: the engine catalog, driven over its standard input."""

import os
import pathlib
import signal
import subprocess
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "desktop"))

# pylint: disable=wrong-import-position
from traces import ULTRA, Traces  # noqa: E402
from waiting import wait_until  # noqa: E402


class Catalog(Traces):
    """One run of it, in a home of its own."""

    def __init__(self, binary, home, environment=None):
        self.data = home / "data"
        super().__init__(self.data)
        self.lines = []
        variables = {name: value for name, value in os.environ.items()
                     if not name.lower().endswith("_proxy")}
        self.process = subprocess.Popen(
            [binary], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            text=True, bufsize=1,
            env={**variables, "HOME": str(home), "XDG_DATA_HOME": str(self.data),
                 "XDG_CONFIG_HOME": str(home / "config"), **(environment or {})})
        threading.Thread(target=self._read, daemon=True).start()
        self.await_line("state parakeetUltra ")

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))

    def tell(self, command):
        """A command, and what is shown from then on: the number of lines before."""
        seen = len(self.lines)
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        return seen

    def install(self, engine=ULTRA):
        return self.tell(f"install {engine}")

    def remove(self, engine=ULTRA):
        return self.tell(f"remove {engine}")

    def await_line(self, beginning, seen=0):
        """The first line from `seen` on that begins so."""
        def found():
            return next((line for line in self.lines[seen:] if line.startswith(beginning)), None)
        return wait_until(found, f"{beginning!r} among {self.lines[-20:]}", timeout=60)

    def await_end(self, engine=ULTRA, seen=0):
        """How a download ends: "installed", or the line of its failure."""
        def ended():
            shown = self.lines[seen:]
            begun = next((i for i, line in enumerate(shown)
                          if line.startswith(f"state {engine} downloading")), None)
            return begun is not None and next(
                (line for line in shown[begun:]
                 if line in (f"state {engine} installed", f"state {engine} notInstalled")), None)
        state = wait_until(ended, f"an end of {engine} among {self.lines[-20:]}", timeout=120)
        if state.endswith(" installed"):
            return "installed"
        return self.await_line("error ", max(seen, self.lines.index(state, seen)))[len("error "):]

    def fractions(self, engine=ULTRA):
        beginning = f"state {engine} downloading "
        return [float(line[len(beginning):]) for line in self.lines if line.startswith(beginning)]

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()

    def quit(self):
        """Asks it to end; returns after how many seconds it did, and with what status."""
        begun = time.monotonic()
        self.process.terminate()
        status = self.process.wait(timeout=60)
        return time.monotonic() - begun, status

    def close(self):
        if self.process.poll() is None:
            self.kill()
