#!/usr/bin/python3
"""Dictates many times in random order over several programs, while window managers, compositors and
sound servers come and go.

    soak.py [--program FILE] [--count N] [--seed N]

Every text has to arrive, once, in the right window, with the clipboard as it was; descriptors and
threads have to be as after the tenth dictation, and memory within 5 MB of it. Prints its seed and
ends with 1 at the first thing that is wrong; with the seed the same is done again.
"""

import argparse
import os
import pathlib
import random
import sys
import time

import clipboard
from applications import APPLICATIONS, is_installed
from program import Program, wrong_words, words
from virtual_desktop import VirtualDesktop
from waiting import stays_equal, wait_until

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SENTENCES = ("the committee decided to postpone the meeting until next month",
             "the weather will be warm and sunny for the rest of the week",
             "he has been working for the same company for twenty years")
SETTLED_AFTER = 10
MEMORY_KB = 5 * 1024
# One dictation in so many has something happen around it.
TROUBLE_IN = 8


class Soak:
    """A desktop with all programs open, and one dictation after the other."""

    def __init__(self, desktop, program, chance):
        self.desktop = desktop
        self.program = program
        self.chance = chance
        self.editors = [kind(desktop) for kind, package in APPLICATIONS.values()
                        if is_installed(package)]
        self.texts = {editor: editor.text() for editor in self.editors}
        self.manager = next(each for each in desktop.processes if each.args[0] == "openbox")
        self.count = 0

    def dictate(self):
        """One dictation into one program; raises when anything is wrong."""
        self.count += 1
        if self.chance.randrange(TROUBLE_IN) == 0:
            self.chance.choice((self.replace_manager, self.restart_compositor,
                                self.restart_sound))()
        editor, said = self.chance.choice(self.editors), self.chance.choice(SENTENCES)
        copied = f"copied before dictation {self.count}".encode()
        editor.focus()
        owner = clipboard.ClipboardOwner(self.desktop, {"UTF8_STRING": copied})
        self.program.dictate(said)
        if not editor.has_focus():
            raise AssertionError(f"dictation {self.count}: {editor.name} lost the keyboard to "
                                 f"{self.desktop.keyboard_focus()}")
        came = editor.await_more(self.texts[editor], 120)
        if wrong_words(said, came) > len(words(said)) // 3:
            raise AssertionError(
                f"dictation {self.count}: said {said!r}, {editor.name} has {came!r}")
        self.texts[editor] += came
        wait_until(lambda: clipboard.read(self.desktop) == copied, "the clipboard to come back")
        self.check_others(editor)
        owner.close()
        if self.desktop.keyboard.down():
            raise AssertionError(f"dictation {self.count}: keys are down")

    def check_others(self, dictated):
        for editor in self.editors:
            if editor is not dictated and (has := editor.text()) != self.texts[editor]:
                raise AssertionError(f"dictation {self.count}: {editor.name} has {has!r}, "
                                     f"not {self.texts[editor]!r}")

    def replace_manager(self):
        before = self.manager
        command = self.chance.choice((["openbox", "--replace", "--sm-disable", "--config-file",
                                       self.desktop.folder / "openbox.xml"],
                                      ["xfwm4", "--replace", "--compositor=off"]))
        if os.path.basename(str(before.args[0])) == command[0]:
            before.kill()
            before.wait()
        # The next one's window may have the number of one that was killed.
        x = self.desktop.x
        x.screen().root.delete_property(x.intern_atom("_NET_SUPPORTING_WM_CHECK"))
        x.sync()
        self.manager = self.desktop.spawn(command)
        before.wait()
        wait_until(self.desktop.manager_window, "the other window manager")
        # It gives the keyboard to whom the last one had given it, when it has come to that.
        wait_until(lambda: stays_equal(self.desktop.keyboard_focus, 1.0), "the keyboard's focus")

    def restart_compositor(self):
        self.desktop.picom.kill()
        self.desktop.picom.wait()
        self.desktop.start_compositor()

    def restart_sound(self):
        self.desktop.sound.die()
        self.desktop.sound.restart()
        wait_until(self._records, "the program to record again")

    def _records(self):
        """Whether a press is listened to; what it began is cancelled."""
        with self.desktop.keyboard.held("Alt_R"):
            begun = time.monotonic()
            while time.monotonic() - begun < 1 and not self.program.is_recording():
                time.sleep(0.02)
            if not self.program.is_recording():
                return False
            self.desktop.keyboard.tap("Escape")
        self.program.await_silence()
        return True

    def resources(self):
        """(descriptors, threads, kilobytes) of the program."""
        process = pathlib.Path(f"/proc/{self.program.process.pid}")
        return (len(list((process / "fd").iterdir())), len(list((process / "task").iterdir())),
                self.program.memory_kb())

    def await_resources(self, settled):
        """Fails unless the program comes to rest with no more than it had."""
        def at_rest():
            now = self.resources()
            return now[:2] == settled[:2] and now[2] <= settled[2] + MEMORY_KB

        try:
            wait_until(at_rest, "the program to come to rest", 30)
        except AssertionError:
            raise AssertionError(f"it had {settled} (descriptors, threads, kB) and has "
                                 f"{self.resources()}") from None


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", type=pathlib.Path,
                        default=ROOT / "build" / "release" / "src/App/Linux/vorlin")
    parser.add_argument("--count", type=int, default=300)
    parser.add_argument("--seed", type=int, default=None)
    options = parser.parse_args()
    seed = random.SystemRandom().randrange(1 << 32) if options.seed is None else options.seed
    print(f"soak.py --seed {seed} --count {options.count}", flush=True)
    artefacts = ROOT / "build" / "artefacts" / "soak"
    with VirtualDesktop(artefacts=artefacts, accessible=True) as desktop:
        program = Program(desktop, options.program, settings={"sounds": False})
        soak = Soak(desktop, program, random.Random(seed))
        settled = None
        try:
            for number in range(1, options.count + 1):
                soak.dictate()
                if number == SETTLED_AFTER:
                    settled = soak.resources()
                if number % 20 == 0:
                    print(f"{number} dictations, {soak.resources()}", flush=True)
            if settled:
                soak.await_resources(settled)
        except AssertionError as wrong:
            desktop.screenshot("end")
            print(f"soak.py: {wrong}", file=sys.stderr)
            return 1
    print(f"{options.count} dictations: each text arrived once, the clipboard came back each time")
    return 0


if __name__ == "__main__":
    sys.exit(main())
