"""A system bus with a login manager, which locks the session and puts the machine to sleep."""

import threading

from gi.repository import Gio, GLib

from overlay import connect
from waiting import wait_until

NAME = "org.freedesktop.login1"
PATH = "/org/freedesktop/login1"
SESSION_PATH = f"{PATH}/session/_31"
MANAGER = f"{NAME}.Manager"
SESSION = f"{NAME}.Session"

XML = f"""<node>
  <interface name="{MANAGER}">
    <method name="GetSession"><arg type="s" direction="in"/><arg type="o" direction="out"/></method>
    <signal name="PrepareForSleep"><arg type="b"/></signal>
  </interface>
  <interface name="{SESSION}"><property name="LockedHint" type="b" access="read"/></interface>
</node>"""


class LoginManager:
    """Start it before the program, which then follows the session."""

    def __init__(self, desktop):
        self.locked = False
        self.asked = threading.Event()
        address = desktop.environment["DBUS_SYSTEM_BUS_ADDRESS"]
        desktop.spawn(["dbus-daemon", "--session", "--nofork", "--nopidfile",
                       f"--address={address}"], log="system-bus")
        socket = desktop.runtime_folder / address.rpartition("/")[2]
        wait_until(socket.exists, "the system bus")
        self.context = GLib.MainContext()
        ready = threading.Event()
        threading.Thread(target=self._serve, args=(address, ready), daemon=True).start()
        if not ready.wait(20):
            raise RuntimeError("the login manager does not come up")

    def await_follower(self):
        """Waits until the program has asked whether the session is locked."""
        if not self.asked.wait(60):
            raise RuntimeError("nobody asks whether the session is locked")

    def set_locked(self, locked):
        self.locked = locked
        self._tell(SESSION_PATH, "org.freedesktop.DBus.Properties", "PropertiesChanged",
                   GLib.Variant("(sa{sv}as)", (SESSION, {"LockedHint": GLib.Variant("b", locked)},
                                               [])))

    def sleep(self):
        self._tell(PATH, MANAGER, "PrepareForSleep", GLib.Variant("(b)", (True,)))

    def wake(self):
        self._tell(PATH, MANAGER, "PrepareForSleep", GLib.Variant("(b)", (False,)))

    def _tell(self, path, interface, signal, arguments):
        self.bus.emit_signal(None, path, interface, signal, arguments)
        self.bus.flush_sync(None)

    def _serve(self, address, ready):
        self.context.push_thread_default()
        self.bus = connect(address)
        node = Gio.DBusNodeInfo.new_for_xml(XML)
        self.bus.register_object(PATH, node.lookup_interface(MANAGER), self._called, None, None)
        self.bus.register_object(SESSION_PATH, node.lookup_interface(SESSION), None, self._get,
                                 None)
        self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                           "RequestName", GLib.Variant("(su)", (NAME, 0)), None,
                           Gio.DBusCallFlags.NONE, 5000, None)
        ready.set()
        GLib.MainLoop.new(self.context, False).run()

    @staticmethod
    def _called(_bus, _sender, _path, _interface, _method, _arguments, invocation):
        invocation.return_value(GLib.Variant("(o)", (SESSION_PATH,)))

    def _get(self, _bus, _sender, _path, _interface, _property):
        self.asked.set()
        return GLib.Variant("b", self.locked)
