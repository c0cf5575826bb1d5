"""The program's settings window as others see it: its window, its pixels, and what a screen reader
is told of it."""

import time

from gi.repository import GLib
from Xlib import X, error

from overlay import connect
from program import BUS_NAME
from waiting import wait_until

TITLE = "Vorlin Settings"
SIZE = (560, 470)

ACCESSIBLE = "org.a11y.atspi.Accessible"
PROPERTIES = "org.freedesktop.DBus.Properties"
STATE_FOCUSABLE, STATE_VISIBLE = 11, 30


class SettingsWindow:
    """The settings of the program on a desktop."""

    def __init__(self, desktop, program):
        self.desktop = desktop
        self.program = program
        self.x = desktop.x

    def window(self):
        """The X window that is shown; nothing while there is none."""
        for window in self._all(self.x.screen().root):
            try:
                if window.get_wm_name() == TITLE \
                        and window.get_attributes().map_state == X.IsViewable:
                    return window
            except error.BadWindow:
                pass
        return None

    def is_painted(self):
        """Whether its tabs stand out from their background."""
        window = self.window()
        if window is None:
            return False
        try:
            geometry = window.get_geometry()
            image = window.get_image(0, 0, geometry.width, 66 * geometry.height // SIZE[1],
                                     X.ZPixmap, 0xffffffff)
        except error.XError:
            return False
        data = image.data
        return len({data[at:at + 3] for at in range(0, len(data) - 4, 4)}) > 20

    def ask(self):
        """Asks for it as a second start of the program does."""
        self.program.bus.call_sync(BUS_NAME, "/org/vorlin/Vorlin", "org.freedesktop.Application",
                                   "Activate", GLib.Variant("(a{sv})", ({},)), None, 0, 10000,
                                   None)

    def open(self):
        self.ask()
        wait_until(self.is_painted, "the settings window", 60)

    def open_timed(self):
        """Opens it; returns the milliseconds from the wish to the picture."""
        begun = time.monotonic()
        self.ask()
        wait_until(self.is_painted, "the settings window", 60, interval=0.002)
        return 1000 * (time.monotonic() - begun)

    def close(self):
        """Closes it as a person does, by its keys."""
        with self.desktop.keyboard.held("Control_L"):
            self.desktop.keyboard.tap("w")
        wait_until(lambda: self.window() is None, "the settings window to go")

    def size(self):
        geometry = self.window().get_geometry()
        return geometry.width, geometry.height

    @classmethod
    def _all(cls, parent):
        try:
            children = parent.query_tree().children
        except error.BadWindow:
            return
        for child in children:
            yield child
            yield from cls._all(child)


class Reader:
    """What a screen reader is told of the program; the desktop must be `accessible`, and the
    program started with QT_LINUX_ACCESSIBILITY_ALWAYS_ON."""

    def __init__(self, desktop):
        session = connect(desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        address = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress",
                                    None, None, 0, 20000, None)[0]
        self.bus = connect(address)

    def window(self):
        """The settings window as an accessible: (bus name, path)."""
        root = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
        for application in self.children(root):
            for window in self.children(application):
                if self.name(window) == TITLE:
                    return window
        return None

    def walk(self, item):
        """Everything at and below an item that is in sight, with its role and name."""
        if not self.states(item) >> STATE_VISIBLE & 1:
            return
        yield item, self.role(item), self.name(item)
        for child in self.children(item):
            yield from self.walk(child)

    def is_operable(self, item):
        return bool(self.states(item) >> STATE_FOCUSABLE & 1)

    def children(self, item):
        return self._call(item, ACCESSIBLE, "GetChildren", None)

    def role(self, item):
        return self._call(item, ACCESSIBLE, "GetRoleName", None)

    def name(self, item):
        return self._call(item, PROPERTIES, "Get", GLib.Variant("(ss)", (ACCESSIBLE, "Name")))

    def states(self, item):
        low, high = self._call(item, ACCESSIBLE, "GetState", None)
        return low | high << 32

    def press(self, item):
        """Does what a press of the item does."""
        self._call(item, "org.a11y.atspi.Action", "DoAction", GLib.Variant("(i)", (0,)))

    def find(self, name):
        """The item of this name; nothing where there is none."""
        window = self.window()
        return window and next((item for item, _, found in self.walk(window) if found == name),
                               None)

    def _call(self, item, interface, method, arguments):
        return self.bus.call_sync(item[0], item[1], interface, method, arguments, None, 0, 20000,
                                  None)[0]
