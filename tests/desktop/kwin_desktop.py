"""A private session of KWin, in an X server that shows it to nobody, with its portals, a bus and a
sound server.

    with KWinDesktop() as desktop:
        desktop.spawn(["konsole"])
        desktop.keyboard.type("hello")
"""

import pathlib

from gi.repository import GLib

from portal_session import PortalSession
from program import hotkey_setting
from settings_window import Reader
from waiting import wait_until
from wayland_keyboard import WaylandKeyboard

HERE = pathlib.Path(__file__).resolve().parent
PROTOCOL = "/usr/share/plasma-wayland-protocols/fake-input.xml"
STORE = "org.freedesktop.impl.portal.PermissionStore"
# What its dialog is called that asks the person. It comes with Plasma's workspace.
ASKS_TO_TYPE = "Remote control requested"


class KWinDesktop(PortalSession):
    """See the module."""

    kind = "KWin"
    session_variables = {
        "XDG_CURRENT_DESKTOP": "KDE",
        "XDG_MENU_PREFIX": "plasma-", "KWIN_COMPOSE": "Q",
        # Its own programs would start portals before there is a backend for keys.
        "QT_NO_XDG_DESKTOP_PORTAL": "1",
        # For the person's hands; the program gets nothing by it.
        "KWIN_WAYLAND_NO_PERMISSION_CHECKS": "1",
    }
    backend = "/usr/lib/x86_64-linux-gnu/libexec/xdg-desktop-portal-kde"
    backend_name = "org.freedesktop.impl.portal.desktop.kde"
    may_type = False

    def start_compositor_and_person(self):
        names = self.folder / "names"
        script = self.folder / "session.sh"
        script.write_text("#!/bin/sh\n"
                          f"echo \"$WAYLAND_DISPLAY;$DISPLAY;$XAUTHORITY\" > {names}.new\n"
                          f"mv {names}.new {names}\n")
        script.chmod(0o700)
        self.make_socket_folder()
        # Without a graphics card it makes no pictures of itself.
        self.outer = self.start_x_server()
        self.kwin = self.spawn(["kwin_wayland", "--x11-display", self.outer, "--width", "1280",
                                "--height", "800", "--no-lockscreen", "--xwayland", script],
                               log="kwin")
        wait_until(names.exists, "KWin to start", 60)
        wait_until(lambda: self.has_name("org.kde.kglobalaccel"), "KWin on the bus", 60)
        wayland, self.display, authority = names.read_text().strip().split(";")
        self.environment |= {"WAYLAND_DISPLAY": wayland, "DISPLAY": self.display}
        if authority:
            self.environment["XAUTHORITY"] = authority
        self.start_person()

    def start_person(self):
        self.keyboard = WaylandKeyboard(self, HERE / "kwin_person.py", PROTOCOL)

    def screenshot(self, name):
        folder = self.artefacts or self.folder
        folder.mkdir(parents=True, exist_ok=True)
        path = folder / f"{name}.png"
        self.output(["import", "-display", self.outer, "-window", "root", str(path)])
        return path

    # The release of any key is told as that of the hotkey's, so none is lost but on its way.
    lossy_hotkey = hotkey_setting(101)
    lossy_keys = ("F9",)

    def lose_the_release(self, program):
        """Of the hotkey that is held: who would tell of it has crashed, which ends a dictation."""
        self.end_backend()
        self.keyboard.release("F9")
        program.await_silence()
        self.start_backend()

    def agree(self, look=lambda name: None):
        if self.may_type:
            return
        reader = Reader(self)
        share = wait_until(lambda: reader.find("Share", ASKS_TO_TYPE), "the dialog")
        look("asked")
        reader.press(share)
        wait_until(lambda: not reader.window(ASKS_TO_TYPE), "the dialog to go")

    def allow_typing(self, app_id="org.vorlin.Vorlin"):
        """The person has allowed a program to type, as in the system's settings."""
        self.may_type = True
        call_arguments = GLib.Variant("(sbssas)", ("kde-authorized", True, "remote-desktop",
                                                   app_id, ["yes"]))
        self.bus.call_sync(STORE, "/org/freedesktop/impl/portal/PermissionStore", STORE,
                           "SetPermission", call_arguments, None, 0, 20000, None)
