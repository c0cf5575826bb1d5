#!/usr/bin/python3
"""Shows the program at work where there is no screen: in a virtual desktop it dictates a spoken
sentence into an editor, and says what was typed.

    demonstrate.py --program PATH
"""

import argparse
import pathlib
import sys

from editors import GTKEditor
from program import Program
from virtual_desktop import VirtualDesktop
from waiting import WaitedTooLong

SENTENCE = "the committee decided to postpone the meeting until next month"
ARTEFACTS = pathlib.Path(__file__).resolve().parent.parent.parent / "build/artefacts/demonstration"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", required=True, type=pathlib.Path)
    binary = parser.parse_args().program.resolve()
    with VirtualDesktop(artefacts=ARTEFACTS) as desktop:
        editor = GTKEditor(desktop)
        program = Program(desktop, binary)
        program.dictate(SENTENCE)
        try:
            typed = editor.await_text()
        except WaitedTooLong:
            typed = ""
        picture = desktop.screenshot("dictated")
        program.quit()
    print(f'Spoken: "{SENTENCE}". Typed into {editor.name}: "{typed}". Screenshot: {picture}')
    return 0 if typed else 1


if __name__ == "__main__":
    sys.exit(main())
