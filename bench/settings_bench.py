#!/usr/bin/python3
"""Prints what the settings window costs in a virtual desktop: the time from the wish to see it
(what a second start of the program says over the bus) to its first picture, and the memory that
stays when it is closed."""

import argparse
import pathlib
import statistics
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

# pylint: disable=wrong-import-position
from program import Program  # noqa: E402
from settings_window import SettingsWindow  # noqa: E402
from virtual_desktop import VirtualDesktop  # noqa: E402


def cold_openings(binary, times):
    """A program of its own each time: nothing of the window was ever loaded."""
    found = []
    for _ in range(times):
        with VirtualDesktop() as desktop:
            program = Program(desktop, binary, settings={"sounds": False})
            window = SettingsWindow(desktop, program)
            found.append(window.open_timed())
    return found


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", type=pathlib.Path,
                        default=ROOT / "build" / "release" / "src/App/Linux/vorlin")
    parser.add_argument("--times", type=int, default=9)
    parser.add_argument("--seconds", type=int, default=60, help="from closing to measuring")
    options = parser.parse_args()
    binary = options.program.resolve()

    times = cold_openings(binary, options.times)
    print(f"first opening, asked for over the bus, to its first picture ({len(times)}): median "
          f"{statistics.median(times):.0f} ms, min {min(times):.0f} ms, max {max(times):.0f} ms",
          flush=True)

    with VirtualDesktop() as desktop:
        program = Program(desktop, binary, settings={"sounds": False})
        window = SettingsWindow(desktop, program)
        print(f"resident, never opened: {program.memory_kb() / 1024:.1f} MB", flush=True)
        before = None
        for number in range(1, 4):
            window.open()
            shown = program.memory_kb() / 1024
            window.close()
            time.sleep(options.seconds)
            after = program.memory_kb() / 1024
            grown = "" if before is None else f", {after - before:+.1f} MB since before it"
            print(f"opening {number}: {shown:.1f} MB shown, {after:.1f} MB {options.seconds} s "
                  f"after closing{grown}", flush=True)
            before = after


if __name__ == "__main__":
    sys.exit(main())
