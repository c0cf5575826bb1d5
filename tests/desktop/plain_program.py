"""A program that asks the portals for a key as their specification says, and for nothing else: what
it is told, or not told, is the desktop's doing."""

import itertools

from gi.repository import Gio, GLib

from overlay import connect

PORTALS = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
SHORTCUTS = "org.freedesktop.portal.GlobalShortcuts"
REQUEST = "org.freedesktop.portal.Request"
REGISTRY = "org.freedesktop.host.portal.Registry"


class PlainProgram:
    """Each `bind` is a program that has just started. `told` is what it hears of its key."""

    APP_ID = "org.example.Plain"

    def __init__(self, desktop):
        self.desktop = desktop
        self.told = []
        self.bus = None
        self.tokens = (f"plain{number}" for number in itertools.count())
        entry = desktop.data_folder / "applications" / f"{self.APP_ID}.desktop"
        entry.write_text("[Desktop Entry]\nType=Application\nName=Plain\nExec=/bin/true\n")

    def bind(self, trigger, timeout=20, agree=lambda: None):
        """Asks for a key; returns the answer: its code, and what it says of keys. `agree` is what
        the person does meanwhile."""
        self.bus = connect(self.desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        self._call(REGISTRY, "Register", GLib.Variant("(sa{sv})", (self.APP_ID, {})))
        self.bus.signal_subscribe(PORTALS, SHORTCUTS, None, PATH, None, 0,
                                  lambda *args: self.told.append((args[4], args[5].unpack())))
        created = self._request("CreateSession", "(a{sv})", timeout,
                                options={"session_handle_token": GLib.Variant("s", "plain")})
        self.session = created[1]["session_handle"]
        self._request("ListShortcuts", "(oa{sv})", timeout, lambda: None, self.session)
        key = {"description": GLib.Variant("s", "Plain"),
               "preferred_trigger": GLib.Variant("s", trigger)}
        return self._request("BindShortcuts", "(oa(sa{sv})sa{sv})", timeout, agree,
                             self.session, [("plain", key)], "")

    def end(self):
        """As a program that ends."""
        self.bus.close_sync(None)

    def hears(self, signal):
        """Whether it was told so since this was asked last."""
        self._iterate()
        names = [name for name, _ in self.told]
        self.told.clear()
        return signal in names

    def _request(self, method, signature, timeout, agree=lambda: None, *arguments, options=None):
        token = next(self.tokens)
        sender = self.bus.get_unique_name()[1:].replace(".", "_")
        answers = []
        self.bus.signal_subscribe(
            PORTALS, REQUEST, "Response", f"{PATH}/request/{sender}/{token}", None, 0,
            lambda *args: answers.append(args[5].unpack()))
        options = {"handle_token": GLib.Variant("s", token)} | (options or {})
        self._call(SHORTCUTS, method, GLib.Variant(signature, (*arguments, options)))
        agree()
        late = []
        GLib.timeout_add(int(timeout * 1000), lambda: late.append(True))
        while not answers and not late:
            GLib.MainContext.default().iteration(True)
        assert answers, f"the portals did not answer {method}"
        return answers[0]

    def _call(self, interface, method, arguments):
        return self.bus.call_sync(PORTALS, PATH, interface, method, arguments, None,
                                  Gio.DBusCallFlags.NONE, 20000, None)

    @staticmethod
    def _iterate():
        while GLib.MainContext.default().iteration(False):
            pass
