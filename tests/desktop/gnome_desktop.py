"""A private session of GNOME Shell without a screen, with its portals, a bus and a sound server.

    with GnomeDesktop() as desktop:
        desktop.spawn(["gnome-text-editor"])
        desktop.keyboard.type("hello")
"""

import contextlib

from gi.repository import GLib

from portal_session import PortalSession
from program import hotkey_setting
from waiting import stays, wait_until
from wayland_keyboard import BUTTON_LEFT, KEYS, WaylandKeyboard

SHELL = "org.gnome.Shell"
MUTTER = "org.gnome.Mutter.RemoteDesktop"
# What its dialogs are called that ask the person.
ASKS_FOR_KEYS, ASKS_TO_TYPE = "Add Keyboard Shortcuts", "Remote Desktop"


class GnomeDesktop(PortalSession):
    """See the module."""

    kind = "GNOME Shell"
    session_variables = {"XDG_CURRENT_DESKTOP": "GNOME", "GSETTINGS_BACKEND": "dconf"}
    backend = "/usr/libexec/xdg-desktop-portal-gnome"
    backend_name = "org.freedesktop.impl.portal.desktop.gnome"
    outlives_xwayland = False  # but where systemd has started it
    shares_its_clipboard = False  # with programs that have no focus
    tells_modifiers = False

    def start_compositor_and_person(self):
        socket = "wayland-gnome"
        self.make_socket_folder()
        for name, value in (("shell/welcome-dialog-last-shown-version", "'99'"),
                            ("desktop/interface/enable-hot-corners", "false")):
            self.output(["dconf", "write", f"/org/gnome/{name}", value])
        # What the shell starts by itself would find no display yet, and serve nobody.
        self.shell = self.spawn(["gnome-shell", "--headless", "--wayland", "--unsafe-mode",
                                 "--virtual-monitor", "1280x800", "--wayland-display", socket],
                                log="gnome-shell")
        wait_until((self.runtime_folder / socket).exists, "GNOME Shell to start", 120)
        self.environment["WAYLAND_DISPLAY"] = socket
        wait_until(lambda: self.evaluate("Main.layoutManager._startingUp") == "false",
                   "GNOME Shell to be ready", 120)
        self.display = self.evaluate("GLib.getenv('DISPLAY')").strip('"')
        authority = self.evaluate("GLib.getenv('XAUTHORITY')").strip('"')
        self.environment |= {"DISPLAY": self.display, "XAUTHORITY": authority}
        self.keyboard = GnomeKeyboard(self)
        self.evaluate("Main.overview.hide()")
        wait_until(lambda: self.evaluate("Main.overview.visible") == "false",
                   "the overview to go")

    def evaluate(self, script):
        """What a script gives inside the shell, as JSON; empty while it cannot run."""
        with contextlib.suppress(GLib.Error):
            good, answer = self.bus.call_sync(
                SHELL, "/org/gnome/Shell", SHELL, "Eval", GLib.Variant("(s)", (script,)), None, 0,
                20000, None).unpack()
            return answer if good else ""
        return ""

    def screenshot(self, name):
        folder = self.artefacts or self.folder
        folder.mkdir(parents=True, exist_ok=True)
        path = folder / f"{name}.png"
        interface = f"{SHELL}.Screenshot"
        self.bus.call_sync(interface, "/org/gnome/Shell/Screenshot", interface, "Screenshot",
                           GLib.Variant("(bbs)", (False, False, str(path))), None, 0, 20000, None)
        return path

    def windows(self):
        """The titles of all windows as JSON, and which one has the keyboard."""
        focused = self.evaluate("global.display.focus_window?.get_title() ?? ''").strip('"')
        titles = self.evaluate("global.get_window_actors().map(a => a.meta_window.get_title())")
        return titles, focused

    def end_backend(self):
        super().end_backend()
        # One that starts before the shell has noticed is refused, and serves nobody.
        self.evaluate("0")

    # Its release is not told where that of a modifier came first.
    lossy_hotkey = hotkey_setting(2, 0x40000 | 0x80000)
    lossy_keys = ("Control_L", "Alt_L", "d")

    def lose_the_release(self, program):
        """Of the hotkey that is held; then comes the next press."""
        for key in self.lossy_keys:
            self.keyboard.release(key)
        assert stays(program.is_recording, 1.5), "the release was told"
        self.keyboard.chord(*self.lossy_keys)

    def allow_typing(self):
        """Here the person is asked for that, and agrees."""

    def agree(self, look=lambda name: None):
        for number, (dialog, letters) in enumerate((
                (ASKS_FOR_KEYS, "a"),  # Add
                (ASKS_TO_TYPE, "is"),  # Allow Remote Interaction, Share
                (ASKS_FOR_KEYS, "a"))):  # Escape
            self.await_dialog(dialog)
            look(f"asked-{number + 1}")
            self.answer(dialog, *letters)

    def refuse(self):
        for dialog in (ASKS_FOR_KEYS, ASKS_TO_TYPE, ASKS_FOR_KEYS):
            self.await_dialog(dialog)
            self.answer(dialog, "c")  # Cancel

    def await_dialog(self, title):
        """Waits until a dialog takes keys."""
        wait_until(lambda: title in self.windows()[0], f"the dialog {title!r}")
        # One that has just opened takes no key for a moment, and nothing tells when it does.
        wait_until(lambda: stays(lambda: self.windows()[1] == title, 2),
                   f"the dialog {title!r} to have the keyboard")

    def answer(self, title, *letters):
        """Answers a dialog as a person at the keyboard, by the letters that its controls underline;
        by the last one until it has gone."""
        for letter in letters[:-1]:
            self.keyboard.chord("Alt_L", letter)
        wait_until(lambda: self._goes(title, letters[-1]), f"the dialog {title!r} to go")

    def _goes(self, title, letter):
        self.keyboard.chord("Alt_L", letter)
        return not stays(lambda: self.windows()[1] == title, 1)


class GnomeKeyboard(WaylandKeyboard):
    """By the compositor's own interface for those who sit elsewhere."""

    def __init__(self, desktop):  # no process is its hands
        self.bus = desktop.bus
        path = self._call("/org/gnome/Mutter/RemoteDesktop", MUTTER, "CreateSession")[0]
        self.session = path
        self._notify("Start")

    def press(self, key):
        self._notify("NotifyKeyboardKeycode", GLib.Variant("(ub)", (KEYS[key], True)))

    def release(self, key):
        self._notify("NotifyKeyboardKeycode", GLib.Variant("(ub)", (KEYS[key], False)))

    def click(self, x, y):
        for step in ((-5000, -5000), (x, y)):
            self._notify("NotifyPointerMotionRelative", GLib.Variant("(dd)", step))
        for down in (True, False):
            self._notify("NotifyPointerButton", GLib.Variant("(ib)", (BUTTON_LEFT, down)))

    def _notify(self, method, arguments=None):
        self._call(self.session, f"{MUTTER}.Session", method, arguments)

    def _call(self, path, interface, method, arguments=None):
        return self.bus.call_sync(MUTTER, path, interface, method, arguments, None, 0, 20000, None)
