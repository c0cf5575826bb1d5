#!/usr/bin/python3
"""Shows the program at work where there is no screen: in a virtual desktop it dictates a spoken
sentence into an editor, and says what was typed.

    demonstrate.py --program PATH

Then it takes a picture of a second dictation, while the key is held.
"""

import argparse
import pathlib
import sys

from editors import GTKEditor
from overlay import OtherWindow
from program import Program
from virtual_desktop import VirtualDesktop
from waiting import WaitedTooLong

SENTENCE = "the committee decided to postpone the meeting until next month"
SECOND = "the weather will be warm and sunny for the rest of the week"
ARTEFACTS = pathlib.Path(__file__).resolve().parent.parent.parent / "build/artefacts/demonstration"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", required=True, type=pathlib.Path)
    binary = parser.parse_args().program.resolve()
    print("== Starting a virtual desktop with an editor and Vorlin in it", flush=True)
    with VirtualDesktop(artefacts=ARTEFACTS) as desktop:
        _wallpaper = OtherWindow(desktop, (0, 0, 1280, 800), managed=False).lower().show()
        editor = GTKEditor(desktop)
        program = Program(desktop, binary)
        print("== Holding the key and speaking", flush=True)
        program.dictate(SENTENCE)
        try:
            typed = editor.await_text()
        except WaitedTooLong:
            typed = ""
        print(f'Spoken: "{SENTENCE}". Typed into {editor.name}: "{typed}".', flush=True)
        with desktop.keyboard.held("Alt_R"):
            program.await_recording()
            program.say(SECOND)
            picture = desktop.screenshot("dictating")
        program.quit()
    print(f"A picture of a second dictation: {picture}")
    return 0 if typed else 1


if __name__ == "__main__":
    sys.exit(main())
