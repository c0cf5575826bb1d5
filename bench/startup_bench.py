#!/usr/bin/python3
"""Prints what the program costs before anybody uses it, in a virtual desktop: the time from the
start of its process until a panel has its tray item with the symbol, and the memory that it holds
in idle while the settings were never opened."""

import argparse
import pathlib
import re
import statistics
import sys
import time

from gi.repository import Gio, GLib

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

# pylint: disable=wrong-import-position
from overlay import Overlay, connect  # noqa: E402
from program import Program  # noqa: E402
from settings_window import SettingsWindow  # noqa: E402
from virtual_desktop import VirtualDesktop  # noqa: E402
from waiting import wait_until  # noqa: E402


class Panel:
    """A panel that reads the symbol of each status item that is registered."""

    NAME = "org.kde.StatusNotifierWatcher"
    ITEM = "org.kde.StatusNotifierItem"
    XML = f"""<node><interface name="{NAME}">
      <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
      <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
    </interface></node>"""

    def __init__(self, desktop):
        self.drawn = None
        self.bus = connect(desktop.environment["DBUS_SESSION_BUS_ADDRESS"])
        node = Gio.DBusNodeInfo.new_for_xml(self.XML)
        self.bus.register_object("/StatusNotifierWatcher", node.interfaces[0], self._called,
                                 lambda *unused: GLib.Variant("b", True), None)
        self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                           "RequestName", GLib.Variant("(su)", (self.NAME, 0)), None,
                           Gio.DBusCallFlags.NONE, 5000, None)

    def await_item(self):
        """Waits for the next item; returns when its symbol was there, by the monotonic clock."""
        self.drawn = None

        def is_drawn():
            while GLib.MainContext.default().iteration(False):
                pass
            return self.drawn
        return wait_until(is_drawn, "the tray item", 60, interval=0.0005)

    def _called(self, _bus, sender, _path, _interface, _method, _arguments, invocation):
        invocation.return_value(None)
        self.bus.call(sender, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                      GLib.Variant("(ss)", (self.ITEM, "IconPixmap")), None, 0, 10000, None,
                      self._has_symbol)

    def _has_symbol(self, bus, answer):
        if bus.call_finish(answer)[0]:
            self.drawn = time.monotonic()


class Started(Program):
    """The program, and the milliseconds from its start to its tray item, in `took`."""

    def __init__(self, desktop, binary, panel):
        self.panel = panel
        self.took = None
        super().__init__(desktop, binary)

    def start(self):
        begun = time.monotonic()
        self.process = self.desktop.spawn([self.binary], log="vorlin")
        self.took = 1000 * (self.panel.await_item() - begun)

    def memory(self):
        """Resident memory in MB: all of it, and what of it is nobody else's file."""
        text = pathlib.Path(f"/proc/{self.process.pid}/status").read_text(encoding="ascii")
        return [int(re.search(name + r":\s+(\d+)", text)[1]) / 1024 for name in
                ("VmRSS", "RssAnon")]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", type=pathlib.Path,
                        default=ROOT / "build" / "release" / "src/App/Linux/vorlin")
    parser.add_argument("--times", type=int, default=15)
    parser.add_argument("--seconds", type=int, default=30, help="from the start to measuring")
    options = parser.parse_args()
    binary = options.program.resolve()
    with VirtualDesktop() as desktop:
        panel = Panel(desktop)
        took = []
        for _ in range(options.times + 1):
            program = Started(desktop, binary, panel)
            took.append(program.took)
            wait_until(program.answers, "the program to answer")
            program.quit()
        del took[0]  # brought the files into memory
        print(f"start of the process to the tray item with its symbol ({len(took)}): median "
              f"{statistics.median(took):.0f} ms, min {min(took):.0f} ms, max {max(took):.0f} ms",
              flush=True)

        program = Started(desktop, binary, panel)
        wait_until(Overlay(desktop).window, "the overlay to be ready")
        time.sleep(options.seconds)
        assert SettingsWindow(desktop, program).window() is None
        everything, private = program.memory()
        print(f"resident {options.seconds} s after the start, settings never opened: "
              f"{everything:.1f} MB, of which {private:.1f} MB are of no file", flush=True)


if __name__ == "__main__":
    main()
