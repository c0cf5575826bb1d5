"""The program's settings window as others see it: its window, its pixels, and what a screen reader
is told of it."""

import time

from gi.repository import Gio, GLib
from Xlib import X, display as xdisplay, error, protocol

from overlay import connect
from program import BUS_NAME
from waiting import wait_until

TITLE = "Vorlin Settings"
SIZE = (560, 470)

ACCESSIBLE = "org.a11y.atspi.Accessible"
ACTION = "org.a11y.atspi.Action"
PROPERTIES = "org.freedesktop.DBus.Properties"
TEXT = "org.a11y.atspi.Text"
# What the program answers of an item that went, or that is not yet whole.
UNKNOWN = ("org.freedesktop.DBus.Error.UnknownObject",
           "org.freedesktop.DBus.Error.UnknownInterface")
STATE_FOCUSABLE, STATE_FOCUSED, STATE_VISIBLE = 11, 12, 30


class Raises:
    """Counts how often anybody asks the window manager to bring a window to the front."""

    def __init__(self, desktop):
        self.x = xdisplay.Display(desktop.display)
        self.wish = self.x.intern_atom("_NET_ACTIVE_WINDOW")
        self.seen = 0

    def __enter__(self):
        self.x.screen().root.change_attributes(event_mask=X.SubstructureNotifyMask)
        self.x.sync()
        return self

    def __exit__(self, *_):
        self.x.close()

    def count(self):
        while self.x.pending_events():
            event = self.x.next_event()
            self.seen += event.type == X.ClientMessage and event.client_type == self.wish
        return self.seen


class SettingsWindow:
    """The settings of the program on a desktop."""

    def __init__(self, desktop, program):
        self.desktop = desktop
        self.program = program
        self.x = desktop.x

    def window(self, title=TITLE):
        """The X window of this title that is shown; nothing while there is none."""
        for window in self._all(self.x.screen().root):
            try:
                if window.get_wm_name() == title \
                        and window.get_attributes().map_state == X.IsViewable:
                    return window
            except error.BadWindow:
                pass
        return None

    def is_active(self, title=TITLE):
        """Whether the window manager says that it is the one in use."""
        window = self.window(title)
        active = self.x.screen().root.get_full_property(
            self.x.intern_atom("_NET_ACTIVE_WINDOW"), X.AnyPropertyType)
        return bool(window and active and active.value[0] == window.id)

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
        """Opens it; returns once the program has brought it to the front for the last time."""
        with Raises(self.desktop) as raises:
            self.ask()
            wait_until(self.is_painted, "the settings window", 60)
            wait_until(lambda: raises.count() >= 2, "the settings' second way to the front")

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

    def close_by_its_frame(self):
        """Closes it as the button in a window's frame does."""
        atom = self.x.intern_atom
        message = protocol.event.ClientMessage(
            window=self.window(), client_type=atom("_NET_CLOSE_WINDOW"), data=(32, [0, 2, 0, 0, 0]))
        self.x.screen().root.send_event(
            message, event_mask=X.SubstructureRedirectMask | X.SubstructureNotifyMask)
        self.x.flush()
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

    def window(self, title=TITLE):
        """The window of this title as an accessible: (bus name, path)."""
        return self._look(lambda: self._window(title))

    def _window(self, title):
        root = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
        for application in self.children(root):
            for window in self.children(application):
                if self.name(window) == title:
                    return window
        return None

    def walk(self, item):
        """Everything at and below an item that is in sight, with its role and name."""
        if self.is_in_sight(item):
            yield item, self.role(item), self.name(item)
            for child in self.children(item):
                yield from self.walk(child)

    def is_in_sight(self, item):
        return bool(self.states(item) >> STATE_VISIBLE & 1)

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
        """Does what a press of the item does, which it must offer."""
        names = [each[0] for each in self._call(item, ACTION, "GetActions", None)]
        assert "Press" in names or "Toggle" in names, f"{self.name(item)!r} offers {names}"
        number = names.index("Press" if "Press" in names else "Toggle")
        self._call(item, ACTION, "DoAction", GLib.Variant("(i)", (number,)))

    def find(self, name, title=TITLE):
        """The item of this name in the window of this title, also where it has to be scrolled to;
        nothing where there is none."""
        def look():
            window = self._window(title)
            return window and self._below(window, name)

        return self._look(look)

    def find_role(self, role, title):
        """The item of this role that has the focus in the window of this title; nothing where there
        is none."""
        def look():
            window = self._window(title)
            found = self.walk(window) if window else ()
            return next((item for item, its, _ in found if its == role and
                         self.states(item) >> STATE_FOCUSED & 1), None)

        return self._look(look)

    def text(self, item):
        """All of a text."""
        return self._call(item, TEXT, "GetText", GLib.Variant("(ii)", (0, -1)))

    @staticmethod
    def _look(look):
        """What the look finds; looks again where something went or came meanwhile."""
        while True:
            try:
                return look()
            except GLib.Error as problem:
                if Gio.DBusError.get_remote_error(problem) not in UNKNOWN:
                    raise

    def _below(self, item, name):
        # A dialog may be called as its button is.
        if self.name(item) == name and self.role(item) != "dialog":
            return item
        found = (self._below(child, name) for child in self.children(item))
        return next((each for each in found if each), None)

    def _call(self, item, interface, method, arguments):
        return self.bus.call_sync(item[0], item[1], interface, method, arguments, None, 0, 20000,
                                  None)[0]
