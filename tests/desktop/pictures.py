#!/usr/bin/python3
"""Takes the pictures of the README in a virtual desktop: a dictation as it is recorded from the
screen (dictation.gif), and one moment of it (dictation.png).

    pictures.py --program PATH

They are taken anew until nothing is wrong with what was typed, three times at most, and lie in
build/artefacts/pictures. Where those in docs show something else by now, it fails: whoever is
content with the new ones copies them there. Those in docs were taken on Debian 12.
"""

import argparse
import os
import pathlib
import platform
import subprocess
import sys
import time

from editors import GTKEditor
from likeness import Scene, differences, film_differences
from overlay import OtherWindow, Overlay
from program import Program, wrong_words
from recording import KEY_DOWN, KeyPicture, Recording
from virtual_desktop import VirtualDesktop
from waiting import wait_until

FIRST = "the committee decided to postpone the meeting until next month"
SENTENCES = ("our new house has three bedrooms and a large kitchen",
             "my brother plays the piano every evening after dinner")
ROOT = pathlib.Path(__file__).resolve().parents[2]
ARTEFACTS = ROOT / "build/artefacts/pictures"
SHOWN = ROOT / "docs"
SUITE_SHOWN = "bookworm"
# Of the screen, which has 1280 x 800: where the editor stands, and what is shown of all.
EDITOR = (320, 330, 640, 300)
AREA = (280, 290, 720, 480)
BACKGROUND = 0x5a7fa8
KEY_PLACE = (40, 400)
KEY_SIZE = (104, 36)
# Frames before the key is let go: the moment of the single picture.
SECOND = 10
MOST_BYTES = 1_000_000
# Columns of pixels with ink in an overlay that has words; none has so many by its level.
LEAST_WRITTEN = 60
ATTEMPTS = 3


class Letter(GTKEditor):
    """An editor as a person has it: its title without the folder, its text large enough."""

    name = "letter"

    def prepare(self):
        folder = self.desktop.config_folder / "glib-2.0" / "settings"
        folder.mkdir(parents=True)
        (folder / "keyfile").write_text(
            "[org/xfce/mousepad/preferences/window]\npath-in-title=false\n"
            "[org/xfce/mousepad/preferences/view]\nuse-default-monospace-font=false\n"
            "font-name='DejaVu Sans 14'\nword-wrap=true\n")

    def command(self, path):
        # It warns everybody of root's account.
        as_a_person = ["unshare", "--user", "--map-user=1000"] if os.geteuid() == 0 else []
        return as_a_person + super().command(path)

    def place(self, frame):
        """Moves the window to a frame (x, y, width, height) and waits until it is there."""
        x, y, width, height = frame
        self.window.configure(x=x, y=y, width=width, height=height)
        self.desktop.x.sync()
        wait_until(lambda: self.window.get_geometry().width == width, "the editor to be moved")


def scene(place):
    """What is where in the pictures, with the overlay at this frame of the screen."""
    held = tuple(bytes.fromhex(KEY_DOWN[0].removeprefix("#")))
    overlay = (place[0] - AREA[0], place[1] - AREA[1], *place[2:])
    return Scene(AREA[2], (*KEY_PLACE, *KEY_SIZE), overlay, held)


def prepare(editor, program):
    """Has the recogniser's model loaded, as it is from a person's first dictation on, and leaves
    an empty editor."""
    program.dictate(FIRST)
    editor.await_text()
    keyboard = editor.desktop.keyboard
    keyboard.chord("Control_L", "a")
    keyboard.tap("Delete")
    editor.await_text()


def dictate(program, recording, sentence):
    """Holds the key, speaks, releases; the recording shows when."""
    recording.held = True
    with program.desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(sentence)
    recording.held = False


def take(binary):
    """Records the dictations of both sentences. Returns the recording, the text that was typed,
    and where the overlay stood."""
    with VirtualDesktop(artefacts=ARTEFACTS, variables={"GSETTINGS_BACKEND": "keyfile"}) as desktop:
        _wallpaper = OtherWindow(desktop, (0, 0, 1280, 800), BACKGROUND, managed=False)
        _wallpaper.lower().show()
        editor = Letter(desktop)
        editor.place(EDITOR)
        program = Program(desktop, binary)
        prepare(editor, program)
        overlay = Overlay(desktop)
        overlay.await_hidden()
        key = KeyPicture("right Alt", KEY_PLACE, KEY_SIZE, f"#{BACKGROUND:06x}")
        with Recording(desktop, AREA, key) as recording:
            time.sleep(0.8)  # so that whoever watches sees the empty editor
            for sentence in SENTENCES:
                dictate(program, recording, sentence)
                typed = editor.await_text()
                overlay.await_hidden()
                desktop.keyboard.tap("Return")
                editor.await_text()
        place = overlay.frame()
        program.quit()
    return recording, typed, place


def faults(recording, typed, place):
    """What is wrong with a recording, one line each."""
    if wrong_words(" ".join(SENTENCES), typed):
        yield f'typed: "{typed}"'
    spoken = [scene(place).written_columns(frame.pixels)
              for frame in recording.frames if frame.held]
    if not spoken[0] < LEAST_WRITTEN <= max(spoken):
        yield "no words grew in the overlay"
    most = 0.9 * AREA[2] * AREA[3]
    if any(frame.pixels.count(frame.pixels[:3]) > most for frame in recording.frames):
        yield "a frame is blank"


def save(recording):
    """Writes both pictures; returns what is wrong with them, one line each."""
    recording.save(ARTEFACTS / "dictation.gif")
    spoken = [frame for frame in recording.frames if frame.held]
    recording.save_frame(spoken[-SECOND], ARTEFACTS / "dictation.png")
    size = (ARTEFACTS / "dictation.gif").stat().st_size
    return [] if size < MOST_BYTES else [f"dictation.gif has {size} bytes"]


def frames(picture):
    """The frames of a picture, RGB each; a picture that stands still has one."""
    rgb = subprocess.run(["convert", picture, "-coalesce", "-depth", "8", "rgb:-"],
                         check=True, stdout=subprocess.PIPE).stdout
    size = 3 * AREA[2] * AREA[3]
    return [rgb[start:start + size] for start in range(0, len(rgb), size)]


def outdated(place):
    """In what the pictures in docs differ from those just taken, one line each."""
    if platform.freedesktop_os_release().get("VERSION_CODENAME") != SUITE_SHOWN:
        print("They are not held against those in docs, which show another Debian.")
        return
    film, still = ([frames(folder / name) for folder in (SHOWN, ARTEFACTS)]
                   for name in ("dictation.gif", "dictation.png"))
    for line in film_differences(scene(place), *film):
        yield f"docs/dictation.gif shows something else: {line}"
    for line in differences(scene(place), still[0][0], still[1][0], spoken=True):
        yield f"docs/dictation.png shows something else: {line}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", required=True, type=pathlib.Path)
    binary = parser.parse_args().program.resolve()
    for _ in range(ATTEMPTS):
        recording, typed, place = take(binary)
        wrong = list(faults(recording, typed, place)) or save(recording)
        if not wrong:
            print(f"The pictures lie in {ARTEFACTS}; {len(recording.frames)} frames.")
            old = list(outdated(place))
            print(*old, sep="\n", file=sys.stderr, end="\n" if old else "")
            return 1 if old else 0
        print("\n".join(wrong), file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
