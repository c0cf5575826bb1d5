"""Keys of a virtual desktop: pressed through XTEST, watched through RECORD."""

import contextlib
import threading
import time

from Xlib import X, XK, display as xdisplay
from Xlib.ext import record, xinput, xtest
from Xlib.protocol import rq

from hands import Hands
from waiting import wait_until

# Names of keys by position; ordinary characters are found through the keyboard's layout.
KEYS = {
    "Escape": 9, "Tab": 23, "Return": 36, "BackSpace": 22,
    "Control_L": 37, "Control_R": 105, "Shift_L": 50, "Shift_R": 62,
    "Alt_L": 64, "Alt_R": 108, "Super_L": 133, "Super_R": 134, "Menu": 135,
    "space": 65, "Caps_Lock": 66, "Num_Lock": 77, "Insert": 118, "F5": 71, "F8": 74, "v": 55,
    "Up": 111, "Left": 113, "Right": 114, "Down": 116,
}


class Keyboard(Hands):
    """Presses keys as a person does: the display cannot tell the difference."""

    def __init__(self, x):
        self.x = x

    def press(self, key):
        self._post(X.KeyPress, key)

    def release(self, key):
        self._post(X.KeyRelease, key)

    def down(self):
        """The codes of all keys that are down now, whoever pressed them."""
        keymap = self.x.query_keymap()
        return {8 * index + bit for index, byte in enumerate(keymap) for bit in range(8)
                if byte >> bit & 1}

    def _post(self, event, key):
        xtest.fake_input(self.x, event, self._code(key))
        self.x.sync()

    def _code(self, key):
        if key in KEYS:
            return KEYS[key]
        code = self.x.keysym_to_keycode(XK.string_to_keysym(key))
        if code == 0:
            raise ValueError(f"the layout has no key {key!r}")
        return code


class ChangeHierarchy(rq.Request):
    """XIChangeHierarchy with one change: a device leaves its keyboard, or joins one."""

    LEAVE, JOIN = 4, 3
    _request = rq.Struct(rq.Card8("opcode"), rq.Opcode(43), rq.RequestLength(),
                         rq.Card8("changes"), rq.Pad(3), rq.Card16("change"),
                         rq.Card16("length"), rq.Card16("device"), rq.Card16("keyboard"))


class FakeDeviceInput(rq.Request):
    """XTestFakeInput by a device other than XTEST's own."""

    _request = rq.Struct(rq.Card8("opcode"), rq.Opcode(2), rq.RequestLength(),
                         rq.Card8("event_type"), rq.Card8("detail"), rq.Pad(2),
                         rq.Card32("time"), rq.Card32("root"), rq.Pad(8), rq.Int16("x"),
                         rq.Int16("y"), rq.Pad(7), rq.Card8("device"))


class PluggedKeyboard(Hands):
    """The display's other keyboard, a device of its own, which can be taken off and plugged in.
    (A new device would need a kernel's help; to the display one that joins is the same.)"""

    PRESS, RELEASE = 1, 2  # of a device, counted from the extension's first event

    def __init__(self, desktop):
        self.x = desktop.x
        self.xinput = self.x.query_extension(xinput.extname)
        self.x.xinput_query_version()
        found = self.x.xinput_query_device(xinput.AllDevices).devices
        self.keyboard = next(each for each in found if each.use == xinput.MasterKeyboard).deviceid
        self.device = next(each for each in found if each.use == xinput.SlaveKeyboard
                           and "XTEST" not in each.name).deviceid

    def take_off(self):
        self._change(ChangeHierarchy.LEAVE, 0)
        self._await_use(xinput.FloatingSlave)

    def plug_in(self):
        self._change(ChangeHierarchy.JOIN, self.keyboard)
        self._await_use(xinput.SlaveKeyboard)

    def press(self, key):
        self._post(self.PRESS, key)

    def release(self, key):
        self._post(self.RELEASE, key)

    def _change(self, change, keyboard):
        ChangeHierarchy(display=self.x.display, opcode=self.xinput.major_opcode, changes=1,
                        change=change, length=2, device=self.device, keyboard=keyboard)
        self.x.sync()

    def _await_use(self, use):
        wait_until(lambda: self.x.xinput_query_device(self.device).devices[0].use == use,
                   "the keyboard to come or go")

    def _post(self, event, key):
        FakeDeviceInput(display=self.x.display,
                        opcode=self.x.display.get_extension_major(xtest.extname),
                        event_type=self.xinput.first_event + event, detail=KEYS[key],
                        time=X.CurrentTime, root=X.NONE, x=0, y=0, device=self.device)
        self.x.sync()


class KeyWatcher:
    """Notes every key event of the display, grabbed or not, with the time it was seen.

        with KeyWatcher(desktop) as watcher:
            ...
            watcher.events    # [(code, "press" or "release", time.monotonic()), ...]
    """

    def __init__(self, desktop):
        self.desktop = desktop
        self.events = []

    def __enter__(self):
        # RECORD occupies the connection it delivers on: a second one controls it.
        self.control = xdisplay.Display(self.desktop.display)
        self.data = xdisplay.Display(self.desktop.display)
        self.context = self.control.record_create_context(
            0, [record.AllClients],
            [{"core_requests": (0, 0), "core_replies": (0, 0), "ext_requests": (0, 0, 0, 0),
              "ext_replies": (0, 0, 0, 0), "delivered_events": (0, 0),
              "device_events": (X.KeyPress, X.KeyRelease), "errors": (0, 0),
              "client_started": False, "client_died": False}])
        self.control.sync()
        self.started = threading.Event()
        self.thread = threading.Thread(target=self._watch, daemon=True)
        self.thread.start()
        if not self.started.wait(20):
            raise RuntimeError("the display does not record key events")
        return self

    def __exit__(self, *unused):
        self.control.record_disable_context(self.context)
        self.control.sync()
        self.thread.join(20)
        self.control.record_free_context(self.context)
        self.control.close()
        self.data.close()

    def presses(self, code):
        """The times at which a key went down."""
        return [moment for key, kind, moment in list(self.events)
                if key == code and kind == "press"]

    def await_press(self, code, count=1):
        """Waits until a key has gone down `count` times; returns the time of the last."""
        return wait_until(lambda: len(self.presses(code)) >= count and self.presses(code)[-1],
                          f"key {code} to go down", interval=0.002)

    def _watch(self):
        with contextlib.suppress(Exception):  # The connection ends when the display does.
            self.data.record_enable_context(self.context, self._received)

    def _received(self, reply):
        if reply.category == record.StartOfData:
            self.started.set()
        if reply.category != record.FromServer or reply.client_swapped or not reply.data:
            return
        moment = time.monotonic()
        data = reply.data
        while data:
            event, data = rq.EventField(None).parse_binary_value(
                data, self.data.display, None, None)
            kind = {X.KeyPress: "press", X.KeyRelease: "release"}.get(event.type)
            if kind:
                self.events.append((event.detail, kind, moment))
