"""A private desktop: display, window manager, compositor, session bus, sound server.

    with VirtualDesktop() as desktop:
        editor = desktop.spawn(["mousepad"])

Everything lives in one temporary folder and ends with the `with` block, or with this process,
however it ends. Any number of desktops can live side by side.
"""

import contextlib
import ctypes
import os
import pathlib
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time

from Xlib import X, display as xdisplay

from keyboard import Keyboard
from sound_server import SoundServer
from waiting import wait_until

HERE = pathlib.Path(__file__).resolve().parent

# No shortcut of the window manager may take a key that a test presses.
OPENBOX = """<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew><followMouse>no</followMouse></focus>
  <keyboard/>
  <mouse><context name="Client">
    <mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind>
  </context></mouse>
</openbox_config>
"""

I3 = "# i3 config file (v4)\nfont pango:monospace 8\nfocus_follows_mouse no\n"

AT_SPI = "/usr/libexec/at-spi-bus-launcher"

PICOM = 'backend = "xrender"; vsync = false; shadow = false; fading = false;\n'

_libc = ctypes.CDLL(None)
_PR_SET_PDEATHSIG = 1


def _end_with_parent():
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGTERM)
    # Ignored where the tests were started to outlive their terminal.
    signal.signal(signal.SIGHUP, signal.SIG_DFL)


class VirtualDesktop:
    """See the module. Options:

    layout       keyboard layout, as setxkbmap takes it
    compositor   whether a compositor runs; `start_compositor()` may start it later
    manager      the window manager: openbox, xfwm4, metacity or i3; openbox has no shortcuts then,
                 but "openbox as it comes" has its own
    accessible   whether the accessibility bus runs
    variables    further environment variables
    sound        whether a sound server runs; `desktop.sound.launch()` may start it later
    rate         sample rate of the microphone in Hz
    channels     channels of the microphone
    artefacts    folder that screenshots and logs go to; None: logs vanish with the desktop
    """

    def __init__(self, layout="us", compositor=True, sound=True, rate=48000, channels=2,
                 artefacts=None, manager="openbox", accessible=False, variables=None):
        self.layout = layout
        self.compositor = compositor
        self.with_sound = sound
        self.rate = rate
        self.channels = channels
        self.artefacts = pathlib.Path(artefacts) if artefacts else None
        self.manager = manager
        self.accessible = accessible
        self.variables = variables or {}
        self.picom = None
        self.processes = []
        self.display = None
        self.x = None

    def __enter__(self):
        self._make_folder()
        self._start_keeper()
        try:
            self._start()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *unused):
        self.close()

    # What a test uses.

    def spawn(self, command, log=None, **options):
        """Starts a process inside the desktop; returns its Popen. Output goes to a log file of
        the artefacts unless `stdout` and `stderr` say otherwise."""
        if "stdout" not in options and "stderr" not in options:
            options["stdout"] = self._log_file(log or pathlib.Path(command[0]).name)
            options["stderr"] = subprocess.STDOUT
        options.setdefault("stdin", subprocess.DEVNULL)
        options.setdefault("start_new_session", True)
        options.setdefault("env", self.environment)
        process = subprocess.Popen([str(part) for part in command],
                                   preexec_fn=_end_with_parent, **options)
        self.processes.append(process)
        return process

    def output(self, command, timeout=60):
        """Runs a command inside the desktop to its end; returns what it printed. Raises
        CalledProcessError when it fails."""
        return subprocess.run(command, env=self.environment, timeout=timeout, check=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True).stdout

    def screenshot(self, name):
        """Takes a picture of the whole screen; returns the path of the PNG file."""
        folder = self.artefacts or self.folder
        folder.mkdir(parents=True, exist_ok=True)
        path = folder / f"{name}.png"
        self.output(["import", "-window", "root", str(path)])
        return path

    def xwayland(self):
        """The process of XWayland; none while it does not run."""
        for each in pathlib.Path("/proc").iterdir():
            with contextlib.suppress(OSError):
                if ((each / "comm").read_text() == "Xwayland\n" and
                        str(self.runtime_folder).encode() in (each / "environ").read_bytes()):
                    return int(each.name)
        return None

    def start_compositor(self):
        """Starts the compositor and waits for it; `picom` is its process."""
        (self.folder / "picom.conf").write_text(PICOM)
        self.picom = self.spawn(["picom", "--config", self.folder / "picom.conf"])
        wait_until(self.has_compositor, "the compositor")

    def manager_window(self):
        """The window by which a window manager says that it is there; nothing without one."""
        root = self.x.screen().root
        check = self.x.intern_atom("_NET_SUPPORTING_WM_CHECK")
        found = root.get_full_property(check, X.AnyPropertyType)
        return found.value[0] if found else None

    def keyboard_focus(self):
        """The number of the window that the keys go to."""
        focus = self.x.get_input_focus().focus
        return getattr(focus, "id", focus)

    def has_compositor(self):
        selection = self.x.intern_atom("_NET_WM_CM_S0")
        return self.x.get_selection_owner(selection) != X.NONE

    def close(self):
        """Ends everything inside and removes the folder. May be called twice."""
        if self.keeper is None:
            return
        if self.x is not None:
            self.x.close()
            self.x = None
        self.keeper.stdin.close()
        self.keeper.wait()
        self.keeper = None
        for process in self.processes:
            process.wait()

    # How it comes to be.

    def _make_folder(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vorlin-desktop-"))
        self.runtime_folder = self.folder / "run"
        self.home = self.folder / "home"
        self.config_folder = self.home / ".config"
        self.data_folder = self.home / ".local" / "share"
        cache = self.home / ".cache"
        for folder in (self.runtime_folder, self.config_folder, self.data_folder, cache):
            folder.mkdir(mode=0o700, parents=True)
        self.environment = {name: value for name, value in os.environ.items()
                            if name in ("PATH", "TMPDIR", "USER", "LOGNAME")
                            or name.startswith(("ASAN_", "UBSAN_", "LSAN_", "TSAN_", "GTEST_"))}
        self.environment |= {
            "HOME": str(self.home),
            "LANG": "C.UTF-8",
            "XDG_RUNTIME_DIR": str(self.runtime_folder),
            "XDG_CONFIG_HOME": str(self.config_folder),
            "XDG_DATA_HOME": str(self.data_folder),
            "XDG_CACHE_HOME": str(cache),
            "XDG_SESSION_TYPE": "x11",
            # None: whether this machine is locked is nothing to it.
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.runtime_folder}/no-system-bus",
            "PULSE_SERVER": f"unix:{self.runtime_folder}/pulse/native",
            # Desktop services that the editors would start and nobody needs.
            "NO_AT_BRIDGE": "1",
            "GSETTINGS_BACKEND": "memory",
            "GIO_USE_VFS": "local",
            "GTK_USE_PORTAL": "0",
        } | self.variables

    def _start_keeper(self):
        # With the standard library alone, and outside the desktop: it must not find itself.
        self.keeper = subprocess.Popen(
            [sys.executable, "-S", "-E", str(HERE / "keeper.py"), str(self.folder)],
            stdin=subprocess.PIPE, start_new_session=True, cwd="/",
            env={"PATH": os.environ.get("PATH", "/usr/bin:/bin")})

    def _start(self):
        self.sound = SoundServer(self, self.rate, self.channels)
        if self.with_sound:
            self.sound.launch()
        bus = self._start_bus()
        self._start_display()
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = _line(bus, "the session bus's address")
        if self.accessible:
            self.spawn([AT_SPI, "--launch-immediately", "--a11y=1"])
        # Xvfb has answered, but only a window manager makes windows take the focus.
        self._start_window_manager()
        if self.compositor:
            self.start_compositor()
        self.output(["setxkbmap", "-layout", self.layout])
        self._await_window_manager()
        if self.with_sound:
            self.sound.await_ready()

    def _start_bus(self):
        read_end, write_end = os.pipe()
        self.spawn(["dbus-daemon", "--session", "--nofork", "--nopidfile",
                    f"--address=unix:path={self.runtime_folder}/bus",
                    f"--print-address={write_end}"], pass_fds=[write_end])
        os.close(write_end)
        return read_end

    def start_x_server(self):
        """Starts an X server without a screen; returns its display's name."""
        read_end, write_end = os.pipe()
        self.spawn(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x800x24",
                    "-nolisten", "tcp", "-ac", "-noreset", "+extension", "RANDR",
                    "+extension", "GLX", "+extension", "Composite"], pass_fds=[write_end])
        os.close(write_end)
        return ":" + _line(read_end, "the display's number")

    def _start_display(self):
        self.display = self.start_x_server()
        self.environment["DISPLAY"] = self.display
        self.x = xdisplay.Display(self.display)
        self.keyboard = Keyboard(self.x)

    def _start_window_manager(self):
        openbox = self.folder / "openbox.xml"
        openbox.write_text(OPENBOX)
        i3 = self.folder / "i3.config"
        i3.write_text(I3)
        self.spawn({
            "openbox": ["openbox", "--sm-disable", "--config-file", openbox],
            "openbox as it comes": ["openbox", "--sm-disable"],
            "xfwm4": ["xfwm4", "--compositor=off"],
            "metacity": ["metacity", "--sm-disable", "--no-composite"],
            "i3": ["i3", "-c", i3],
        }[self.manager])

    def _await_window_manager(self):
        wait_until(self.manager_window, "the window manager")

    def _log_file(self, name):
        folder = self.artefacts or self.folder
        folder.mkdir(parents=True, exist_ok=True)
        return open(folder / f"{name}.log", "ab")


def _line(descriptor, what, timeout=30.0):
    """The first line that comes through a pipe."""
    received = b""
    deadline = time.monotonic() + timeout
    with os.fdopen(descriptor, "rb", buffering=0) as pipe:
        while not received.endswith(b"\n"):
            ready, _, _ = select.select([pipe], [], [], max(0.0, deadline - time.monotonic()))
            piece = pipe.read(256) if ready else b""
            if not piece:
                raise RuntimeError(f"did not get {what}")
            received += piece
    return received.decode().strip()
