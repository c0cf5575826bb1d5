"""Whole desktops: window manager, panel, settings daemon and clipboard manager as a session of each
starts them, with the key bindings they come with."""

import pathlib
import subprocess

from Xlib import X

from virtual_desktop import VirtualDesktop
from waiting import wait_until


class WholeDesktop(VirtualDesktop):
    """A subclass gives what its session starts, window manager first, and further variables of it.

    A compositor of its own counts as one: none is started beside it.
    """

    services = ()
    session_variables = {}
    # What the services need to be installed.
    packages = ()

    def __init__(self, **options):
        options.setdefault("compositor", False)
        super().__init__(variables=dict(self.session_variables), accessible=True, **options)

    def _start_window_manager(self):
        self.environment.pop("GSETTINGS_BACKEND", None)  # its services tell each other
        for command in self.services:
            self.spawn(command)

    def await_panel(self):
        """Waits for a window that reserves an edge of the screen, if the desktop has one."""


class WithPanel(WholeDesktop):
    def await_panel(self):
        root = self.x.screen().root
        strut = self.x.intern_atom("_NET_WM_STRUT_PARTIAL")
        clients = self.x.intern_atom("_NET_CLIENT_LIST")

        def reserves():
            listed = root.get_full_property(clients, X.AnyPropertyType)
            windows = [self.x.create_resource_object("window", each)
                       for each in (listed.value if listed else ())]
            return any(window.get_full_property(strut, X.AnyPropertyType) for window in windows)

        wait_until(reserves, "the panel")


class Xfce(WithPanel):
    services = (["xfwm4"], ["xfce4-panel", "--disable-wm-check"], ["xfce4-clipman"])
    session_variables = {"XDG_CURRENT_DESKTOP": "XFCE"}
    packages = ("xfwm4", "xfce4-panel", "xfce4-clipman")


class I3(WholeDesktop):
    """With the bindings of its own configuration, but without the wizard that a first start is
    greeted by and the programs of other packages."""

    session_variables = {"XDG_CURRENT_DESKTOP": "i3"}
    packages = ("i3-wm",)

    def _start_window_manager(self):
        lines = pathlib.Path("/etc/i3/config").read_text().splitlines(keepends=True)
        config = self.folder / "i3.config"
        config.write_text("".join(line for line in lines if not line.startswith("exec")))
        self.spawn(["i3", "-c", config])


class Mate(WithPanel):
    services = (["marco"], ["mate-settings-daemon"], ["mate-panel"])
    session_variables = {"XDG_CURRENT_DESKTOP": "MATE"}
    packages = ("marco", "mate-settings-daemon", "mate-panel")


class KWin(WholeDesktop):
    services = (["kwin_x11"], ["kglobalaccel5"])
    session_variables = {"XDG_CURRENT_DESKTOP": "KDE", "KDE_FULL_SESSION": "true",
                         "KDE_SESSION_VERSION": "5"}
    packages = ("kwin-x11", "libkf5globalaccel-bin")


class Gnome(WholeDesktop):
    services = (["gnome-shell", "--x11"],)
    session_variables = {"XDG_CURRENT_DESKTOP": "GNOME", "LIBGL_ALWAYS_SOFTWARE": "1"}
    packages = ("gnome-shell",)

    def _start_window_manager(self):
        # One without any service: it wants to ask somebody.
        address = self.environment["DBUS_SYSTEM_BUS_ADDRESS"]
        self.spawn(["dbus-daemon", "--session", "--nofork", "--nopidfile",
                    f"--address={address}"], log="system-bus")
        wait_until((self.runtime_folder / "no-system-bus").exists, "the system bus")
        super()._start_window_manager()

    def await_panel(self):
        """Leaves the overview, which a session of it begins with, by the key that a person presses,
        again where the shell was not ready for it."""
        wait_until(lambda: self._shows_overview() == "true", "the overview", 120)

        def leave():
            self.keyboard.tap("Escape")
            return self._shows_overview() == "false"

        wait_until(leave, "the overview to go", 120, interval=1)

    def _shows_overview(self):
        """What the shell says; nothing before it answers."""
        try:
            said = self.output(["gdbus", "call", "--session", "--dest", "org.gnome.Shell",
                                "--object-path", "/org/gnome/Shell", "--method",
                                "org.freedesktop.DBus.Properties.Get", "org.gnome.Shell",
                                "OverviewActive"])
        except subprocess.CalledProcessError:
            return ""
        return said.strip("(<>,)\n")


class InputMethod(WholeDesktop):
    """A desktop with an input method running, which all programs are told to use."""

    services = (["openbox", "--sm-disable"],)
    daemon = ()
    method = ""

    def __init__(self, **options):
        self.session_variables = {"GTK_IM_MODULE": self.method, "QT_IM_MODULE": self.method,
                                  "XMODIFIERS": f"@im={self.method}"}
        super().__init__(**options)

    def _await_window_manager(self):
        super()._await_window_manager()
        self.spawn(self.daemon)
        server = self.x.intern_atom(f"@server={self.method}")
        wait_until(lambda: self.x.get_selection_owner(server) != X.NONE, "the input method")


class IBus(InputMethod):
    method = "ibus"
    daemon = ("ibus-daemon", "--xim", "--panel=disable")
    packages = ("ibus", "ibus-gtk3")


class Fcitx5(InputMethod):
    method = "fcitx"
    daemon = ("fcitx5", "--disable=wayland")
    packages = ("fcitx5", "fcitx5-frontend-gtk3")


class Locks(WholeDesktop):
    """Num Lock and Caps Lock are on."""

    services = (["openbox", "--sm-disable"],)
    packages = ("openbox",)

    def _await_window_manager(self):
        super()._await_window_manager()
        for key in ("Num_Lock", "Caps_Lock"):
            self.keyboard.tap(key)


DESKTOPS = {
    "Xfce: xfwm4, panel, clipman": Xfce,
    "i3": I3,
    "MATE: marco, panel, settings": Mate,
    "KWin on X11": KWin,
    "GNOME Shell on X11": Gnome,
    "IBus running": IBus,
    "fcitx5 running": Fcitx5,
    "Num Lock and Caps Lock on": Locks,
}
