"""A private Wayland session: sway without a screen, session bus, sound server.

    with SwayDesktop(person=PROGRAM) as desktop:
        desktop.spawn(["foot"])
        desktop.keyboard.type("hello")

`person` is the program that presses keys there (`wayland_person`). What `VirtualDesktop` says of
its options and of its end holds here too; there is no X11 connection (`x` is none), although
XWayland runs once somebody asks for it.
"""

import json
import os

from sound_server import SoundServer
from virtual_desktop import VirtualDesktop
from waiting import wait_until
from wayland_keyboard import WaylandKeyboard

CONFIGURATION = """\
output * resolution 1280x800
output * background #204060 solid_color
default_border none
focus_follows_mouse no
focus_on_window_activation focus
"""


class SwayDesktop(VirtualDesktop):
    """See the module. `configuration` is what sway's says besides."""

    def __init__(self, person, configuration="", **options):
        super().__init__(**options)
        self.person = person
        self.configuration = configuration

    # What a test uses.

    def screenshot(self, name):
        folder = self.artefacts or self.folder
        folder.mkdir(parents=True, exist_ok=True)
        path = folder / f"{name}.png"
        self.output(["grim", str(path)])
        return path

    def ask(self, what):
        """What sway answers to one question, such as get_tree."""
        return json.loads(self.output(["swaymsg", "-r", "-t", what]))

    def command(self, text):
        """Lets sway carry a command out."""
        self.output(["swaymsg", "--", text])

    def windows(self):
        """The nodes of all windows."""
        nodes = [self.ask("get_tree")]
        found = []
        while nodes:
            node = nodes.pop()
            nodes += node["nodes"] + node["floating_nodes"]
            if node.get("pid"):
                found.append(node)
        return found

    def focused(self):
        """The node of the focused window; none where no window has the focus."""
        return next((each for each in self.windows() if each["focused"]), None)

    # How it comes to be.

    def _start(self):
        self.environment |= {"XDG_SESSION_TYPE": "wayland", "XDG_CURRENT_DESKTOP": "sway",
                             "WLR_BACKENDS": "headless", "WLR_RENDERER": "pixman",
                             "WLR_LIBINPUT_NO_DEVICES": "1"} | self.variables
        self.sound = SoundServer(self, self.rate, self.channels)
        if self.with_sound:
            self.sound.launch()
        bus = self._start_bus()
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._line(bus)
        self._start_sway()
        # A seat without any keyboard would give the focus to nobody.
        self.keyboard = WaylandKeyboard(self, self.person, self.layout)
        if self.with_sound:
            self.sound.await_ready()

    def _start_sway(self):
        names = self.folder / "names"
        file = self.folder / "sway.conf"
        file.write_text(
            CONFIGURATION + self.configuration +
            f"\nexec sh -c 'echo \"$WAYLAND_DISPLAY;$DISPLAY;$SWAYSOCK\" > {names}.new && "
            f"mv {names}.new {names}'\n")
        command = ["sway", "-c", file]
        if os.getuid() == 0:  # it refuses root; XWayland lets in only users that the machine has
            command = ["unshare", "--user", "--map-user=1", "--map-group=1", *command]
        self.sway = self.spawn(command, log="sway")
        wait_until(names.exists, "sway to start", 60)
        wayland, display, socket = names.read_text().strip().split(";")
        self.environment |= {"WAYLAND_DISPLAY": wayland, "SWAYSOCK": socket}
        if display:
            self.environment["DISPLAY"] = self.display = display

    @staticmethod
    def _line(descriptor):
        with os.fdopen(descriptor, "r", encoding="utf-8") as pipe:
            return pipe.readline().strip()


def is_inside(node, x, y):
    """Whether a place on the screen is inside a window."""
    rect = node["rect"]
    return (rect["x"] <= x < rect["x"] + rect["width"]
            and rect["y"] <= y < rect["y"] + rect["height"])

