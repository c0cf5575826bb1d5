#!/usr/bin/python3
"""Prints what the overlay costs in a virtual desktop: processor time while it is hidden and while
it shows a person speaking, a minute each, and the time from key down to its first frame."""

import argparse
import pathlib
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

# pylint: disable=wrong-import-position
from overlay import Overlay  # noqa: E402
from program import Program  # noqa: E402
from sound_server import speech  # noqa: E402
from virtual_desktop import VirtualDesktop  # noqa: E402

SENTENCE = "the committee decided to postpone the meeting until next month"
SECONDS = 60
PRESSES = 30


def thread_seconds(program):
    """Processor time of the main thread, which draws, and of all others."""
    main = others = 0
    for task in pathlib.Path(f"/proc/{program.process.pid}/task").iterdir():
        fields = (task / "stat").read_text().rpartition(")")[2].split()
        used = (int(fields[11]) + int(fields[12])) / 100
        if int(task.name) == program.process.pid:
            main = used
        else:
            others += used
    return main, others


def share(program, seconds, what):
    before = thread_seconds(program)
    time.sleep(seconds)
    after = thread_seconds(program)
    main, others = (100 * (new - old) / seconds for new, old in zip(after, before))
    print(f"{what} for {seconds} s: main thread {main:.2f} %, other threads {others:.2f} % of a "
          "core", flush=True)


def speak_for(desktop, seconds):
    """Speaks on and on, in the background."""
    once, many = desktop.folder / "once.wav", desktop.folder / "many.wav"
    speech(SENTENCE, once)
    subprocess.run(["sox", once, many, "repeat", str(int(seconds / 3))], check=True)
    return desktop.sound.begin_playing(many)


def first_frames(desktop, program, overlay):
    """Times from key down until a pixel of the overlay has changed, in milliseconds."""
    times = []
    x, y, width, height = overlay.frame()
    spot = (x + width // 2, y + height - 17, 1, 1)
    for _ in range(PRESSES):
        time.sleep(0.2)
        before = overlay.pixels(spot)
        pressed = time.monotonic()
        desktop.keyboard.press("Alt_R")
        while overlay.pixels(spot) == before:
            time.sleep(0.0005)
        times.append(1000 * (time.monotonic() - pressed))
        desktop.keyboard.release("Alt_R")
        program.await_recording()
        desktop.keyboard.tap("Escape")
        overlay.await_hidden()
    return times


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", type=pathlib.Path,
                        default=ROOT / "build" / "release" / "src/App/Linux/vorlin")
    parser.add_argument("--seconds", type=int, default=SECONDS)
    options = parser.parse_args()
    for compositor in (True, False):
        settings = {"recordMode": "toggle", "sounds": False, "hud.showText": False}
        with VirtualDesktop(compositor=compositor) as desktop:
            program = Program(desktop, options.program.resolve(), settings=settings)
            overlay = Overlay(desktop)
            print(f"compositor: {'yes' if compositor else 'no'}", flush=True)
            desktop.keyboard.tap("Alt_R")
            overlay.await_shown()
            program.await_recording()
            if compositor:
                talking = speak_for(desktop, options.seconds + 5)
                time.sleep(2)
                share(program, options.seconds, "listening to speech, waveform shown")
                talking.terminate()
            desktop.keyboard.tap("Escape")
            overlay.await_hidden()
            if compositor:
                time.sleep(2)
                share(program, options.seconds, "hidden")
                print(f"resident: {program.memory_kb() / 1024:.1f} MB", flush=True)
            times = first_frames(desktop, program, overlay)
            print(f"key down to the first frame ({len(times)}): median "
                  f"{statistics.median(times):.0f} ms, min {min(times):.0f} ms, "
                  f"max {max(times):.0f} ms", flush=True)


if __name__ == "__main__":
    main()
