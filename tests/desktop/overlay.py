"""The overlay as another program sees it: its window, its pixels, what it announces; and windows
that a test puts around it."""

import math
import re
import subprocess
import threading
import time

from gi.repository import Gio, GLib
from Xlib import X, Xatom, display as xdisplay, error

from waiting import WaitedTooLong, wait_until

POSITIONS = [row + column for row in ("top", "middle", "bottom")
             for column in ("Left", "Center", "Right")]


class Overlay:
    """The program's overlay on a desktop."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.x = desktop.x
        self._window = None
        self.reader = None

    def window(self):
        """Its window; nothing before the program has made it."""
        if self._window is None:
            for child in self.x.screen().root.query_tree().children:
                try:
                    if (child.get_wm_class() or ("",))[0] == "vorlin-overlay":
                        self._window = child
                except error.BadWindow:
                    pass
        return self._window

    def is_shown(self):
        window = self.window()
        return window is not None and window.get_attributes().map_state == X.IsViewable

    def await_shown(self):
        wait_until(self.is_shown, "the overlay")

    def await_hidden(self):
        wait_until(lambda: not self.is_shown(), "the overlay to go")

    def frame(self):
        """(x, y, width, height) on the display."""
        geometry = self.window().get_geometry()
        return geometry.x, geometry.y, geometry.width, geometry.height

    def await_frame(self, expected, what):
        """Waits until the frame is `expected`, and fails with the one it has otherwise."""
        try:
            wait_until(lambda: self.frame() == expected, what)
        except AssertionError:
            assert self.frame() == expected, what

    def picture(self, name):
        """Takes a screenshot once nothing moves any more."""
        def still():
            before = self.pixels()
            time.sleep(0.15)
            return self.pixels() == before
        wait_until(still, "the overlay to come to rest")
        return self.desktop.screenshot(name)

    def pixels(self, frame=None):
        """The pixels in a frame of the display, its own if none is given: rows of (r, g, b)."""
        x, y, width, height = frame or self.frame()
        raw = self.x.screen().root.get_image(x, y, width, height, X.ZPixmap, 0xffffffff).data
        return [[tuple(raw[4 * (row * width + column) + channel] for channel in (2, 1, 0))
                 for column in range(width)] for row in range(height)]


def rows(picture, width):
    """The rows of a picture of a screen so wide, three bytes a pixel."""
    raw = subprocess.run(["convert", picture, "-depth", "8", "rgb:-"], check=True,
                         stdout=subprocess.PIPE).stdout
    return [raw[start:start + 3 * width] for start in range(0, len(raw), 3 * width)]


def rounded(value):
    """To the nearest whole number, half up."""
    return math.floor(value + 0.5)


def expected_frame(area, position, mode="clip", size=1.0, margin=56.0, scale=1.0):
    """Where the overlay has to stand in `area` (left, top, right, bottom in device pixels), by
    arithmetic of its own: in points, y upwards, each edge flipped, scaled and rounded once."""
    left, top, right, bottom = (edge / scale for edge in area)
    lower, upper = -bottom, -top  # y upwards from the display's upper edge
    width = size * (520 if mode == "full" else 430)
    height = size * (300 if mode == "full" else 76)
    column = re.sub("top|middle|bottom", "", position)
    row = position.removesuffix(column)
    x = {"Left": left + margin, "Center": (left + right) / 2 - width / 2,
         "Right": right - margin - width}[column]
    y = {"top": upper - margin - height, "middle": (lower + upper) / 2 - height / 2,
         "bottom": lower + margin}[row]
    edges = [rounded(edge * scale) for edge in (x, -(y + height), x + width, -y)]
    return edges[0], edges[1], edges[2] - edges[0], edges[3] - edges[1]


class OtherWindow:
    """A window of a program that counts the clicks it gets."""

    def __init__(self, desktop, frame, colour=0x5a7fa8, managed=True):
        self.x = xdisplay.Display(desktop.display)
        self.desktop = desktop
        screen = self.x.screen()
        self.window = screen.root.create_window(
            *frame, 0, screen.root_depth, X.InputOutput, X.CopyFromParent, background_pixel=colour,
            override_redirect=not managed, event_mask=X.ButtonPressMask | X.StructureNotifyMask)
        self.window.set_wm_class("other-window", "OtherWindow")
        self.window.set_wm_name("test window")
        # It stands where it asks to stand: size hints that name a position.
        self.window.set_wm_normal_hints(flags=5, min_width=1, min_height=1)

    def set_numbers(self, name, kind, numbers):
        self.window.change_property(self.x.intern_atom(name), kind, 32, numbers)

    def set_atoms(self, name, *values):
        self.set_numbers(name, Xatom.ATOM, [self.x.intern_atom(value) for value in values])

    def show(self):
        self.window.map()
        self.x.sync()
        wait_until(lambda: self.window.get_attributes().map_state == X.IsViewable, "a window")
        return self

    def lower(self):
        """Puts it below all others."""
        self.window.configure(stack_mode=X.Below)
        self.x.sync()
        return self

    def clicks(self):
        """How often it was clicked since the last call."""
        count = 0
        self.x.sync()
        while self.x.pending_events():
            count += self.x.next_event().type == X.ButtonPress
        return count

    def close(self):
        self.x.close()


def dock(desktop, **struts):
    """A panel along an edge of the display that reserves its room: dock(desktop, bottom=40)."""
    (edge, thickness), = struts.items()
    root = desktop.x.screen().root.get_geometry()
    frames = {"bottom": (0, root.height - thickness, root.width, thickness),
              "top": (0, 0, root.width, thickness), "left": (0, 0, thickness, root.height)}
    window = OtherWindow(desktop, frames[edge], 0x303030)
    window.set_atoms("_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_DOCK")
    index = ["left", "right", "top", "bottom"].index(edge)
    partial = [0] * 12
    partial[index] = thickness
    partial[4 + 2 * index + 1] = (root.height if edge == "left" else root.width) - 1
    window.set_numbers("_NET_WM_STRUT", Xatom.CARDINAL, partial[:4])
    window.set_numbers("_NET_WM_STRUT_PARTIAL", Xatom.CARDINAL, partial)
    return window.show()


class Watch:
    """Looks at a display, as often as it can, from a thread of its own for the length of a block;
    a subclass's `_watch` adds to `seen` until `ending` is set."""

    def __init__(self, desktop):
        self.display = desktop.display
        self.seen = set()
        self.ending = threading.Event()

    def __enter__(self):
        self.thread = threading.Thread(target=self._watch, daemon=True)
        self.thread.start()
        return self

    def __exit__(self, *unused):
        self.ending.set()
        self.thread.join(20)

    def _watch(self):
        raise NotImplementedError


class FocusWatch(Watch):
    """Notes which windows have the focus and are active.

        with FocusWatch(desktop) as watch:
            ...
        watch.seen    # {(focused, active), ...}
    """

    def _watch(self):
        x = xdisplay.Display(self.display)
        root = x.screen().root
        active = x.intern_atom("_NET_ACTIVE_WINDOW")
        while not self.ending.wait(0.003):
            value = root.get_full_property(active, X.AnyPropertyType)
            focus = x.get_input_focus().focus
            self.seen.add((getattr(focus, "id", focus), value.value[0] if value else None))
        x.close()


class Portal:
    """The settings portal of a desktop."""

    XML = """<node><interface name="org.freedesktop.portal.Settings">
      <method name="ReadAll"><arg type="as" direction="in"/>
        <arg type="a{sa{sv}}" direction="out"/></method>
      <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
    </interface></node>"""
    PATH = "/org/freedesktop/portal/desktop"
    INTERFACE = "org.freedesktop.portal.Settings"
    APPEARANCE = ("org.freedesktop.appearance", "color-scheme")
    MOTION = ("org.gnome.desktop.interface", "enable-animations")

    def __init__(self, desktop, dark=False, motion=True):
        self.values = {self.APPEARANCE: GLib.Variant("u", 1 if dark else 2),
                       self.MOTION: GLib.Variant("b", motion)}
        self.bus = connect(desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        node = Gio.DBusNodeInfo.new_for_xml(self.XML)
        self.bus.register_object(self.PATH, node.interfaces[0], self._called, None, None)
        self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                           "RequestName",
                           GLib.Variant("(su)", ("org.freedesktop.portal.Desktop", 0)), None,
                           Gio.DBusCallFlags.NONE, 5000, None)

    def change(self, which, value):
        self.values[which] = value
        self.bus.emit_signal(None, self.PATH, self.INTERFACE, "SettingChanged",
                             GLib.Variant("(ssv)", (*which, value)))

    def serve(self):
        """Answers what was asked until now; true, for use in a wait."""
        while GLib.MainContext.default().iteration(False):
            pass
        return True

    def _called(self, _bus, _sender, _path, _interface, _method, _arguments, invocation):
        answer = {}
        for (group, key), value in self.values.items():
            answer.setdefault(group, {})[key] = value
        invocation.return_value(GLib.Variant("(a{sa{sv}})", (answer,)))


def connect(address):
    """A connection of its own to a bus."""
    return Gio.DBusConnection.new_for_address_sync(
        address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
        | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)


class ScreenReader:
    """What a screen reader would say of announcements, which Qt sends from 6.8 on, and of
    notifications that are shown; the desktop must be `accessible`. A program whose start coincides
    with the reader's may overlook it: have the one before the other."""

    def __init__(self, desktop):
        self.said = []
        session = connect(desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        address = wait_until(lambda: self._address(session), "the accessibility bus")
        self.bus = connect(address)
        self._listen("object:state-changed:showing", "StateChanged", self._changed)
        self._listen("object:announcement", "Announcement", self._announced)

    def heard(self, text):
        """Whether `text` was announced."""
        while GLib.MainContext.default().iteration(False):
            pass
        return text in self.said

    def await_heard(self, text):
        """Returns once `text` was announced."""
        try:
            wait_until(lambda: self.heard(text), "words")
        except WaitedTooLong:
            raise WaitedTooLong(f"waited in vain for '{text}'; heard: {self.said}") from None

    @staticmethod
    def _address(session):
        try:
            return session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress",
                                     None, None, Gio.DBusCallFlags.NONE, 2000, None)[0]
        except GLib.Error:
            return None

    def _listen(self, event, signal, heard):
        self._call("org.a11y.atspi.Registry", "/org/a11y/atspi/registry",
                   "org.a11y.atspi.Registry", "RegisterEvent", GLib.Variant("(sas)", (event, [])))
        self.bus.signal_subscribe(None, "org.a11y.atspi.Event.Object", signal, None, None,
                                  Gio.DBusSignalFlags.NONE, heard)

    def _call(self, name, path, interface, method, arguments):
        return self.bus.call_sync(name, path, interface, method, arguments, None,
                                  Gio.DBusCallFlags.NONE, 5000, None)

    def _changed(self, _bus, sender, path, _interface, _signal, arguments):
        if arguments[0] != "showing" or arguments[1] != 1:
            return
        role = self._call(sender, path, "org.a11y.atspi.Accessible", "GetRoleName", None)[0]
        name = self._call(sender, path, "org.freedesktop.DBus.Properties", "Get",
                          GLib.Variant("(ss)", ("org.a11y.atspi.Accessible", "Name")))[0]
        if role == "notification":
            self.said.append(name)

    def _announced(self, _bus, _sender, _path, _interface, _signal, arguments):
        self.said.append(arguments[3])
