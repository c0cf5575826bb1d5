"""The screen saver of a desktop, which says when the screen is locked."""

from gi.repository import Gio, GLib

from overlay import connect


class ScreenSaver:
    """The screen saver of a desktop. It answers no question: it locks when it is told to."""

    NAME = "org.gnome.ScreenSaver"

    def __init__(self, desktop):
        self.bus = connect(desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                           "RequestName", GLib.Variant("(su)", (self.NAME, 0)), None,
                           Gio.DBusCallFlags.NONE, 5000, None)

    def set_active(self, active):
        self.bus.emit_signal(None, "/org/gnome/ScreenSaver", self.NAME, "ActiveChanged",
                             GLib.Variant("(b)", (active,)))
        self.bus.flush_sync(None)
