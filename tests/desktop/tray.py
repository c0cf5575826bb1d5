"""A panel of the desktop: it takes the program's item over the session bus, shows its menu, and
clicks."""

import collections
import threading

from gi.repository import Gio, GLib

from overlay import connect
from waiting import wait_until

WATCHER = "org.kde.StatusNotifierWatcher"
WATCHER_PATH = "/StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"

XML = """<node><interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
</interface></node>"""

SEPARATOR = "separator"

Entry = collections.namedtuple("Entry", "number text enabled shortcut")


class Panel:
    """Start it before or after the program; its thread ends with the desktop's bus.

    The menu is kept until the program says that it has changed, as panels do.
    """

    def __init__(self, desktop):
        self.items = []
        self.menu_changes = 0
        self.icon_changes = 0
        self.menu = (None, [])  # as it was after so many changes
        self.bus = connect(desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        ready = threading.Event()
        threading.Thread(target=self._serve, args=(desktop, ready), daemon=True).start()
        if not ready.wait(20):
            raise RuntimeError("the panel does not come up")

    def await_item(self):
        wait_until(lambda: self.items, "the program's item in the panel")

    def lines(self):
        """The menu's texts from top to bottom."""
        return [entry.text for entry in self.entries()]

    def await_lines(self, expected):
        try:
            wait_until(lambda: self.lines() == expected, "the menu")
        except AssertionError:
            assert self.lines() == expected

    def entries(self):
        """The menu from top to bottom; a separator is an entry of the text SEPARATOR."""
        changes = self.menu_changes
        if self.menu[0] != changes:
            arguments = GLib.Variant("(iias)", (0, -1, []))
            self.menu = (changes, [
                Entry(number, values.get("label", values.get("type")),
                      values.get("enabled", True), values.get("shortcut"))
                for number, values, _ in
                self._call(MENU, "/MenuBar", "GetLayout", arguments)[1][2]])
        return self.menu[1]

    def click(self, text):
        """Clicks on the entry of this text, which must be there and can be clicked."""
        entry = next((each for each in self.entries() if each.text == text), None)
        assert entry and entry.enabled, f"{text!r} cannot be clicked in {self.lines()}"
        self._call(MENU, "/MenuBar", "Event",
                   GLib.Variant("(isvu)", (entry.number, "clicked", GLib.Variant("i", 0), 0)))

    def activate(self):
        """Clicks on the item itself."""
        self._call(ITEM, "/StatusNotifierItem", "Activate", GLib.Variant("(ii)", (10, 10)))

    def symbol(self):
        """The pixels of the item's symbol in its smallest size."""
        return min(self._property("IconPixmap"))[2]

    def _property(self, name):
        return self._call("org.freedesktop.DBus.Properties", "/StatusNotifierItem", "Get",
                          GLib.Variant("(ss)", (ITEM, name)))[0]

    def _call(self, interface, path, method, arguments):
        self.await_item()
        return self.bus.call_sync(self.items[-1], path, interface, method, arguments, None, 0,
                                  20000, None).unpack()

    # In a thread of its own: the program's calls are answered whatever a test waits for.

    def _serve(self, desktop, ready):
        context = GLib.MainContext()
        context.push_thread_default()
        loop = GLib.MainLoop(context)
        bus = connect(desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        bus.connect("closed", lambda *unused: loop.quit())
        bus.register_object(WATCHER_PATH, Gio.DBusNodeInfo.new_for_xml(XML).interfaces[0],
                            self._called, lambda *unused: GLib.Variant("b", True), None)
        for interface, signal, handler in ((MENU, "LayoutUpdated", self._menu_changed),
                                           (ITEM, "NewIcon", self._icon_changed)):
            bus.signal_subscribe(None, interface, signal, None, None, Gio.DBusSignalFlags.NONE,
                                 handler)
        bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                      "RequestName", GLib.Variant("(su)", (WATCHER, 0)), None, 0, 20000, None)
        ready.set()
        loop.run()

    def _called(self, _bus, _sender, _path, _interface, _method, arguments, invocation):
        self.items.append(arguments[0])
        invocation.return_value(None)

    def _menu_changed(self, *_unused):
        self.menu_changes += 1

    def _icon_changed(self, *_unused):
        self.icon_changes += 1
