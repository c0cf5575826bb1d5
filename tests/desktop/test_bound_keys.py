"""The lines with which a person binds a key in a compositor's configuration do what the document
says of them: taken out of it, and run by the compositor."""

import re
import shutil

import pytest
from gi.repository import Gio, GLib

from documented import lines_for
from sway_desktop import SwayDesktop
from waiting import wait_until

INTERFACE = """<node><interface name="org.freedesktop.Application">
  <method name="ActivateAction">
    <arg type="s" direction="in"/><arg type="av" direction="in"/><arg type="a{sv}" direction="in"/>
  </method>
</interface></node>"""


class Ear:
    """Has the program's name on a session bus, and hears which actions are asked for."""

    def __init__(self, address):
        self.actions = []
        self.bus = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        self.bus.register_object("/org/vorlin/Vorlin", interface, self._called, None, None)
        self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                           "RequestName", GLib.Variant("(su)", ("org.vorlin.Vorlin", 4)), None,
                           Gio.DBusCallFlags.NONE, -1, None)

    def _called(self, *call):
        self.actions.append(call[5].unpack()[0])
        call[6].return_value(None)

    def hears(self, *actions):
        """Waits until these and no other actions were asked for since the last time."""
        def heard():
            while GLib.MainContext.default().iteration(False):
                pass
            return len(self.actions) >= len(actions)
        wait_until(heard, f"{actions} to be asked for, not {self.actions}")
        assert self.actions == list(actions)
        self.actions = []


class LabwcDesktop(SwayDesktop):
    """The same with labwc; `configuration` goes into the keyboard of its rc.xml."""

    def _start_sway(self):
        names = self.folder / "names"
        folder = self.config_folder / "labwc"
        folder.mkdir()
        (folder / "rc.xml").write_text(
            f"<labwc_config><keyboard>{self.configuration}</keyboard></labwc_config>")
        (folder / "autostart").write_text(
            f"echo $WAYLAND_DISPLAY > {names}.new && mv {names}.new {names}\n")
        self.spawn(["labwc"], log="labwc")
        wait_until(names.exists, "labwc to start", 60)
        self.environment |= {"WAYLAND_DISPLAY": names.read_text().strip()}


@pytest.fixture(name="bound")
def _bound(artefacts, request):
    """Starts a compositor with the lines that are for it."""
    sessions = []

    def start(name, desktop):
        if shutil.which(name) is None:
            pytest.skip(f"this Debian has no {name}")
        session = desktop(person=request.config.getoption("--person"), sound=False,
                          artefacts=artefacts, configuration=lines_for(name)).__enter__()
        sessions.append(session)
        return session.keyboard, Ear(session.environment["DBUS_SESSION_BUS_ADDRESS"])

    yield start
    for session in sessions:
        session.close()


def test_on_sway_the_key_is_held_and_let_go(bound):
    keyboard, ear = bound("sway", SwayDesktop)
    for _ in range(2):
        keyboard.press("F9")
        ear.hears("press")
        keyboard.release("F9")
        ear.hears("release")


def test_on_labwc_the_key_is_pressed_again(bound):
    keyboard, ear = bound("labwc", LabwcDesktop)
    for _ in range(2):
        keyboard.tap("F9")
        ear.hears("toggle")


@pytest.mark.parametrize("name", ["sway", "labwc", "river", "niri", "hyprland"])
def test_the_lines_ask_for_actions_that_there_are(name):
    asked = re.findall(r'ActivateAction"? "?(\w+)"? [\'"]\[\][\'"] [\'"]\{\}', lines_for(name))
    assert asked in (["press", "release"], ["toggle"])
