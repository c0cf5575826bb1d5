"""The unchanged program, asked for downloads in its settings as a person asks."""

import pathlib
import re

from gi.repository import GLib
from Xlib import X
from Xlib.ext import xtest

from program import Program
from settings_window import ACCESSIBLE, PROPERTIES, STATE_VISIBLE, Reader, SettingsWindow
from traces import Traces
from virtual_desktop import VirtualDesktop
from waiting import wait_until

ARTEFACTS = pathlib.Path(__file__).resolve().parent.parent.parent / "build" / "artefacts"
ULTRA_NAME = "NVIDIA Parakeet Ultra"
REDUX_NAME = "NVIDIA Parakeet Redux"
BUILT_IN_NAME = "Built-in Speech"
# The button of a row's menu.
MORE = "…"
STATE_CHECKED = 4
KEYS = {"/": "slash", "-": "minus", ".": "period"}


class Tree:
    """Reads many accessibles at once: one after the other they take seconds while the machine has
    other things to do."""

    def __init__(self, bus):
        self.bus = bus

    def read(self, top):
        """Everything in sight at and below an accessible, in order: (accessible, role, name)."""
        level, rows = [top] if top else [], {}
        while level:
            answers = self._ask([question(item) for item in level for question in (
                _states, _role, _name, _children)])
            below = []
            for number, item in enumerate(level):
                states, role, name, children = answers[4 * number:4 * number + 4]
                if None in (states, role, name, children):
                    continue  # it has gone meanwhile
                visible = states[0] >> STATE_VISIBLE & 1
                rows[item] = (role, name, children if visible else None)
                below += children if visible else []
            level = below
        return list(self._in_order(top, rows))

    def _in_order(self, item, rows):
        role, name, children = rows.get(item, ("", "", None))
        if children is not None:
            yield item, role, name
            for child in children:
                yield from self._in_order(child, rows)

    def _ask(self, questions):
        answers, left = [None] * len(questions), [len(questions)]

        def answered(bus, result, number):
            left[0] -= 1
            try:
                answers[number] = bus.call_finish(result).unpack()[0]
            except GLib.Error:
                pass
        for number, (item, interface, method, arguments) in enumerate(questions):
            self.bus.call(*item, interface, method, arguments, None, 0, 20000, None, answered,
                          number)
        while left[0] > 0:
            GLib.MainContext.default().iteration(True)
        return answers


def _states(item):
    return item, ACCESSIBLE, "GetState", None


def _role(item):
    return item, ACCESSIBLE, "GetRoleName", None


def _name(item):
    return item, PROPERTIES, "Get", GLib.Variant("(ss)", (ACCESSIBLE, "Name"))


def _children(item):
    return item, ACCESSIBLE, "GetChildren", None


class ModelsTab(Traces):
    """The program in a desktop of its own, with the Models tab of its settings in front. What is
    read and pressed is what a screen reader reads and presses."""

    def __init__(self, binary, artefacts, sound=False):
        self.desktop = VirtualDesktop(artefacts=artefacts, accessible=True, sound=sound, variables={
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}).__enter__()
        super().__init__(self.desktop.data_folder)
        try:
            self.program = Program(self.desktop, binary)
            self.window = SettingsWindow(self.desktop, self.program)
            self.reader = Reader(self.desktop)
            self.tree = Tree(self.reader.bus)
            self.open()
        except BaseException:
            self.close()
            raise

    @classmethod
    def begin(cls, request, name):
        """The program that the tests are given; its artefacts get the name."""
        return cls(request.config.getoption("--vorlin").resolve(), ARTEFACTS / name)

    @property
    def process(self):
        return self.program.process

    def open(self):
        """Opens the settings, at the tab."""
        self.window.open()
        self.show("Models")
        wait_until(lambda: self.state(ULTRA_NAME) is not None, "the list of engines")

    def restart(self):
        """Starts the program again, which has ended."""
        self.program.start()
        self.open()

    def close(self):
        self.desktop.close()

    # What stands there.

    def items(self):
        """Everything in sight: (accessible, role, name)."""
        def read():
            try:
                return self.tree.read(self.reader.window())
            except GLib.Error:
                return None  # a window went while it was looked for
        return wait_until(read, "the settings among the accessibles", 60)

    def find(self, name):
        """The first of this name; nothing where there is none."""
        return next((item for item, _, found in self.items() if found == name), None)

    def row(self, engine):
        """What can be read or pressed in an engine's row, by name; nothing where there is no such
        row."""
        found, inside = {}, False
        for item, role, name in self.items():
            if name.startswith("Use "):
                inside = name == f"Use {engine}"
            if inside:
                more = role != "label" and name in (engine, f"More for {engine}")
                found[MORE if more else name] = item
        return found

    def state(self, engine):
        """"not installed", "installed", or a percentage; nothing while neither is known."""
        names = self.row(engine)
        if "Cancel download" in names:
            return next((name for name in names if re.fullmatch(r"\d+%", name)), None)
        if "Download" in names:
            return "not installed"
        return "installed" if MORE in names else None

    def error(self):
        """The line of the last failure; nothing when there is none."""
        return next((name for _, role, name in self.items() if role == "alert message"), None)

    def is_selected(self, engine):
        item = self.row(engine)[f"Use {engine}"]
        return bool(self.reader.states(item) >> STATE_CHECKED & 1)

    def is_at_rest(self):
        """Whether nothing is installed and nothing under way."""
        return (self.process.poll() is None and self.partial() == []
                and all(self.state(each) == "not installed" for each in (ULTRA_NAME, REDUX_NAME)))

    def await_state(self, engine, state):
        """`state` may be several."""
        wanted = (state,) if isinstance(state, str) else state
        return wait_until(lambda: next((each for each in (self.state(engine),) if each in wanted),
                                       None), f"{engine} to be {state}", timeout=60, interval=0.05)

    def await_error(self, line, timeout=60):
        wait_until(lambda: self.error() == line, f"the line {line!r}", timeout, interval=0.05)

    # What a person does.

    def show(self, tab):
        self.press(lambda: self.find(tab), f"the tab {tab}")

    def press(self, find, what):
        """Presses what `find` finds, once it is there."""
        def pressed():
            try:
                item = find()
                if item:
                    self.reader.press(item)
                return bool(item)
            except GLib.Error:
                return False  # it went meanwhile
        wait_until(pressed, what)

    def press_in(self, engine, name):
        """A button of an engine's row."""
        self.press(lambda: self.row(engine).get(name), f"{name} of {engine}")

    def download(self, engine=ULTRA_NAME):
        self.press_in(engine, "Download")

    def cancel(self, engine=ULTRA_NAME):
        self.press_in(engine, "Cancel download")

    def delete(self, engine=ULTRA_NAME, entry="Delete download"):
        """By the menu at the end of the row."""
        self.press_in(engine, MORE)
        self.choose(entry)

    def remove(self, engine=ULTRA_NAME, entry="Delete download"):
        """By the menu under the right button."""
        self.click(self.row(engine)[f"Use {engine}"], button=3)
        self.choose(entry)

    def choose(self, entry):
        """An entry of the menu that opens, with the pointer."""
        def chosen():
            found = self.find(entry)
            try:
                return found and not self.click(found)
            except GLib.Error:
                return False  # the row has just made its menu anew
        wait_until(chosen, f"the menu with {entry!r}")

    def click(self, item, button=1, count=1):
        x, y, width, height = self._component(item, "GetExtents", GLib.Variant("(u)", (0,)))
        xtest.fake_input(self.desktop.x, X.MotionNotify, x=x + width // 2, y=y + height // 2)
        for _ in range(count):
            xtest.fake_input(self.desktop.x, X.ButtonPress, button)
            xtest.fake_input(self.desktop.x, X.ButtonRelease, button)
        self.desktop.x.sync()

    def download_by_double_click(self, engine=ULTRA_NAME):
        """As somebody does who knows no other click."""
        self.click(self.row(engine)["Download"], count=2)

    def add_from_hub(self, repository):
        """By the sheet, with the keyboard."""
        self.press(lambda: self.find("Add model…"), "the button that adds")
        field = wait_until(lambda: self.find("Repository"), "the sheet")
        self._component(field, "GrabFocus", None)
        for character in repository:
            shift = ("Shift_L",) if character.isupper() else ()
            self.desktop.keyboard.chord(*shift, KEYS.get(character, character.lower()))
        self.desktop.keyboard.tap("Return")
        wait_until(lambda: self.find("Repository") is None, "the sheet to close")

    def _component(self, item, method, arguments):
        return self.reader.bus.call_sync(item[0], item[1], "org.a11y.atspi.Component", method,
                                         arguments, None, 0, 20000, None).unpack()[0]
