"""What private Wayland sessions have in common whose keys go through the desktop's portals."""

import os
import pathlib
import signal

from gi.repository import Gio, GLib

from controls import Controls
from overlay import connect
from settings_window import SettingsWindow
from sound_server import SoundServer
from virtual_desktop import AT_SPI, VirtualDesktop
from waiting import wait_until

PORTALS = "org.freedesktop.portal.Desktop"
FRONTEND = "/usr/libexec/xdg-desktop-portal"
APP_IDS = ("org.vorlin.Vorlin", "org.vorlin.Vorlin.Escape")


class PortalSession(VirtualDesktop):
    """A session with sound, a bus, a compositor, and then its portals. A subclass says how the
    compositor starts and which backend its portals have. There is no X11 connection (`x` is none),
    although XWayland runs."""

    session_variables = {}
    backend = None
    backend_name = None
    outlives_xwayland = True
    shares_its_clipboard = True
    tells_modifiers = True

    def start_compositor_and_person(self):
        raise NotImplementedError

    def agree(self, look=lambda name: None):
        """The person says yes to each of the desktop's questions, after a look at each."""

    def allow(self, program):
        """The person presses the button, and agrees."""
        controls = self.wish(program)
        self.agree()
        controls.find("Accessibility: Granted")
        wait_until(lambda: not controls.has("Allow…"), "nothing to be left to ask for")
        self.keyboard.chord("Control_L", "w")
        wait_until(lambda: not controls.has("Permissions"), "the settings to close")

    def wish(self, program):
        """The person presses the button; returns the settings' controls."""
        SettingsWindow(self, program).ask()
        controls = Controls(self)
        # As it opens it may show the tab that it opens with once more.
        wait_until(lambda: controls.press("Permissions") or controls.has("Allow…"),
                   "the button", interval=0.5)
        controls.press("Allow…")
        return controls

    @staticmethod
    def make_socket_folder():
        """Where X servers put their sockets, which a bare system lacks."""
        folder = pathlib.Path("/tmp/.X11-unix")
        if not folder.exists():
            folder.mkdir()
            folder.chmod(0o1777)

    def kill(self, process):
        process.kill()
        process.wait()

    def restart_portals(self):
        """Ends the portals and starts new ones, as an update of the system does."""
        self.kill(self.portals)
        wait_until(lambda: not self.has_name(PORTALS), "the portals to go")
        self._start_portals()

    def start_backend(self):
        """Starts it, unless somebody has: the bus does for who asks something of it."""
        self.spawn([self.backend], log="portal-backend")
        wait_until(lambda: self.has_name(self.backend_name), "the portals' back end")

    def end_backend(self):
        """As a crash does: the portals tell nobody of it."""
        served = self._ask_bus("GetNameOwner", self.backend_name)
        os.kill(self._ask_bus("GetConnectionUnixProcessID", served), signal.SIGKILL)
        wait_until(lambda: not self.has_name(served), "the portals' back end to go")

    def has_name(self, name):
        return self._ask_bus("NameHasOwner", name)

    def _ask_bus(self, method, name):
        return self.bus.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", method,
                                  GLib.Variant("(s)", (name,)), None, 0, 20000, None)[0]

    def _start(self):
        self.environment |= {"XDG_SESSION_TYPE": "wayland", "LIBGL_ALWAYS_SOFTWARE": "1",
                             **self.session_variables, **self.variables}
        self._install_entries()
        self._withhold_portals()
        self.sound = SoundServer(self, self.rate, self.channels)
        if self.with_sound:
            self.sound.launch()
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._bus("bus")
        # One without any service: compositors want to ask somebody.
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = self._bus("system-bus")
        self.bus = connect(self.environment["DBUS_SESSION_BUS_ADDRESS"])
        if self.accessible:
            self.spawn([AT_SPI, "--launch-immediately", "--a11y=1"])
        self.start_compositor_and_person()
        self.output(["dbus-update-activation-environment", *(
            f"{name}={self.environment[name]}" for name in (
                "WAYLAND_DISPLAY", "DISPLAY", "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE"))])
        self.start_backend()
        self._start_portals()
        if self.with_sound:
            self.sound.await_ready()

    def _bus(self, name):
        """Starts a bus; returns its address."""
        read_end, write_end = os.pipe()
        self.spawn(["dbus-daemon", "--session", "--nofork", "--nopidfile",
                    f"--address=unix:path={self.runtime_folder}/{name}",
                    f"--print-address={write_end}"], pass_fds=[write_end])
        os.close(write_end)
        with os.fdopen(read_end, "r", encoding="utf-8") as pipe:
            return pipe.readline().strip()

    def _withhold_portals(self):
        """Whom a compositor starts asks for portals at once, and the bus would start some that know
        of no display, and serve nobody."""
        folder = self.runtime_folder / "dbus-1" / "services"
        folder.mkdir(parents=True)
        (folder / f"{PORTALS}.service").write_text(
            f"[D-BUS Service]\nName={PORTALS}\nExec=/bin/false\n")

    def _start_portals(self):
        self.portals = self.spawn([FRONTEND, "--replace"], log="portals")
        wait_until(lambda: self.has_name(PORTALS), "the portals")

    def _install_entries(self):
        """As the program's package does, where it has not. Portals know nobody whose program cannot
        be found."""
        folder = self.data_folder / "applications"
        if (pathlib.Path("/usr/share/applications") / f"{APP_IDS[0]}.desktop").exists():
            return
        folder.mkdir(parents=True)
        for app_id in APP_IDS:
            (folder / f"{app_id}.desktop").write_text(
                f"[Desktop Entry]\nType=Application\nName=Vorlin\nExec=/bin/true\n"
                f"NoDisplay={'true' if app_id.endswith('Escape') else 'false'}\n")


def variant(signature, *values):
    return GLib.Variant(signature, values)


def call(bus, name, path, interface, method, arguments=None):
    """One call over the bus; returns what is answered."""
    return bus.call_sync(name, path, interface, method, arguments, None,
                         Gio.DBusCallFlags.NO_AUTO_START, 20000, None)
