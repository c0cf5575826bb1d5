"""The controls of the settings window, found as a screen reader finds them and worked as a person
works them: with the pointer, with keys, or through the screen reader."""

from gi.repository import GLib
from Xlib import X
from Xlib.ext import xtest

from settings_window import ACCESSIBLE, PROPERTIES, Reader
from waiting import wait_until

STATE_CHECKED = 4

COMPONENT = "org.a11y.atspi.Component"


class Controls:
    """What is in the settings window of a program; the desktop must be `accessible`.

    Controls are named as a screen reader reads them out.
    """

    def __init__(self, desktop):
        self.x = desktop.x
        self.reader = Reader(desktop)
        wait_until(self.reader.window, "the settings window among the accessibles")

    def has(self, name):
        return self.reader.find(name) is not None

    def find(self, name):
        """The control of this name, which is waited for."""
        return wait_until(lambda: self.reader.find(name), f"the control {name!r}")

    def show_tab(self, name, what):
        """Goes to a tab; returns when something that is only there is."""
        self.press(name)
        self.find(what)

    def press(self, name):
        """Does what a press does, as a screen reader's person asks for it."""
        self.reader.press(self.find(name))

    def focus(self, name):
        """Gives it the keyboard's focus, which also brings it into sight."""
        self._call(self.find(name), COMPONENT, "GrabFocus", None)

    def click(self, name):
        """Clicks with the pointer on the middle of a control, which is brought into sight."""
        if not self.reader.is_in_sight(self.find(name)):
            self.focus(name)
            wait_until(lambda: self.reader.is_in_sight(self.find(name)), f"{name!r} in sight")
        x, y, width, height = self._call(self.find(name), COMPONENT, "GetExtents",
                                         GLib.Variant("(u)", (0,)))
        xtest.fake_input(self.x, X.MotionNotify, x=x + width // 2, y=y + height // 2)
        xtest.fake_input(self.x, X.ButtonPress, 1)
        xtest.fake_input(self.x, X.ButtonRelease, 1)
        self.x.sync()

    def set_value(self, name, value):
        """Sets a number, as a screen reader's person does."""
        self._call(self.find(name), PROPERTIES, "Set",
                   GLib.Variant("(ssv)", ("org.a11y.atspi.Value", "CurrentValue",
                                          GLib.Variant("d", value))))

    def description(self, name):
        """What is read out after the name."""
        return self._call(self.find(name), PROPERTIES, "Get",
                          GLib.Variant("(ss)", (ACCESSIBLE, "Description")))

    def is_checked(self, name):
        return bool(self.reader.states(self.find(name)) >> STATE_CHECKED & 1)

    def _call(self, item, interface, method, arguments):
        answer = self.reader.bus.call_sync(item[0], item[1], interface, method, arguments, None, 0,
                                           20000, None).unpack()
        return answer[0] if answer else None
