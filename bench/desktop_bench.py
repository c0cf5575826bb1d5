#!/usr/bin/python3
"""Prints what the unchanged program costs in a virtual desktop: from letting the key go to the
text, idle processor time over a minute, and resident memory."""

import argparse
import pathlib
import statistics
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

# pylint: disable=wrong-import-position
from clipboard import SelectionWatcher  # noqa: E402
from editors import GTKEditor  # noqa: E402
from keyboard import KEYS, KeyWatcher  # noqa: E402
from program import Program  # noqa: E402
from virtual_desktop import VirtualDesktop  # noqa: E402
from waiting import wait_until  # noqa: E402

SENTENCES = ["the committee decided to postpone the meeting until next month",
             "the weather will be warm and sunny for the rest of the week"]
DICTATIONS = 10
IDLE_SECONDS = 60


def row(what, values):
    print(f"{what} ({len(values)}): median {statistics.median(values):.0f} ms, "
          f"min {min(values):.0f} ms, max {max(values):.0f} ms", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", type=pathlib.Path,
                        default=ROOT / "build" / "release" / "src/App/Linux/vorlin")
    binary = parser.parse_args().program.resolve()
    with VirtualDesktop() as desktop:
        program = Program(desktop, binary)
        memory = program.memory_kb()
        before = program.processor_seconds()
        time.sleep(IDLE_SECONDS)
        used = program.processor_seconds() - before
        print(f"idle, recogniser not loaded: {memory / 1024:.1f} MB resident, "
              f"{100 * used / IDLE_SECONDS:.3f} % of a core over {IDLE_SECONDS} s", flush=True)

        GTKEditor(desktop)
        releases, pastes = [], []
        with KeyWatcher(desktop) as keys:
            for count in range(DICTATIONS):
                watcher = SelectionWatcher(desktop)
                with desktop.keyboard.held("Alt_R"):
                    program.await_recording()
                    program.say(SENTENCES[count % 2])
                    released = time.monotonic()
                pasted = keys.await_press(KEYS["v"], count + 1)
                releases.append(released)
                pastes.append(1000 * (pasted - released))
                watcher.await_changes(2)  # the text, then the old contents
                wait_until(lambda: not program.is_recording(), "the recording to end")
        row("key let go to paste chord, recogniser included, first dictation", pastes[:1])
        row("key let go to paste chord, recogniser included, later ones", pastes[1:])
        print(f"recogniser loaded: {program.memory_kb() / 1024:.1f} MB resident")


if __name__ == "__main__":
    main()
