#!/usr/bin/python3
"""Purges the installed package in the midst of a dictation, with opening at login switched on, and
looks that the person is left in peace: the words are typed, the program ends, the keys are theirs,
and no login misses it. For a machine of its own: see scripts/try-package.

    purge_running.py PACKAGE.deb PICTURES
"""

import os
import pathlib
import subprocess
import sys

from install_and_purge import ROOT, apt

sys.path.insert(0, str(ROOT / "tests" / "desktop"))

# Who starts what opens at login in GNOME and in Plasma.
LOGIN = "/usr/lib/systemd/user-generators/systemd-xdg-autostart-generator"
UNIT = "app-org.vorlin.Vorlin@autostart.service"


class Walk:
    """A person's way through it, on a desktop."""

    def __init__(self, desktop):
        from editors import GTKEditor
        from first_minute import started
        self.desktop = desktop
        self.program = started(desktop, settings={"sounds": True})
        self.editor = GTKEditor(desktop)
        self.entry = desktop.config_folder / "autostart" / "org.vorlin.Vorlin.desktop"

    def open_at_login(self):
        """The person switches it on."""
        from controls import Controls
        from settings_window import SettingsWindow
        from waiting import wait_until
        window = SettingsWindow(self.desktop, self.program)
        window.open()
        controls = Controls(self.desktop)
        controls.show_tab("General", "Open at login")
        controls.press("Open at login")
        wait_until(self.entry.exists, "the switch")
        window.close()

    def login(self, name):
        """Whether the next login would start it; what is wrong with its entry is printed."""
        units = self.desktop.folder / name
        units.mkdir()
        said = subprocess.run([LOGIN, units, units, units], check=True, stderr=subprocess.STDOUT,
                              stdout=subprocess.PIPE, env=self.desktop.environment, text=True)
        if "orlin" in said.stdout:
            raise AssertionError(f"the login says {said.stdout}")
        from gi.repository import Gio, GLib
        try:
            known = Gio.DesktopAppInfo.new_from_filename(str(self.entry))
        except (GLib.Error, TypeError):  # how it says that there is none
            known = None
        starts = (units / UNIT).exists()
        if starts != (known is not None):
            raise AssertionError("one desktop would start it and another would not")
        return starts

    def purge_in_a_dictation(self):
        """What is wrong then."""
        from first_minute import MOST_WRONG_WORDS, SENTENCE
        from program import wrong_words
        with self.desktop.keyboard.held("Alt_R"):
            self.program.await_recording()
            self.program.say(SENTENCE)
            apt("purge", "--auto-remove", "vorlin")
            self.desktop.screenshot("purged")
        typed = self.editor.await_text()
        print(f'Purged in the midst of "{SENTENCE}". Typed: "{typed}".', flush=True)
        if wrong_words(SENTENCE, typed) > MOST_WRONG_WORDS:
            yield f'it typed "{typed}"'
        if self.program.process.wait(timeout=120) != 0:
            yield "it did not end well"
        yield from (f"{process} goes on" for process in left_running())
        self.desktop.keyboard.tap("Alt_R")
        self.desktop.keyboard.type("mine")
        if self.editor.await_more(typed, 60).strip() != "mine":
            yield "the keys are not the person's"
        self.desktop.screenshot("ended")

    def run(self):
        """All of it; what is wrong."""
        self.open_at_login()
        if not self.login("before"):
            yield "the login does not start it although it was switched on"
        settings = self.program.settings_file.read_bytes()
        yield from self.purge_in_a_dictation()
        if not self.entry.exists() or self.program.settings_file.read_bytes() != settings:
            yield "something of the person's was changed"
        if self.login("after"):
            yield "the login misses it"


def left_running():
    """The processes of the package's programs."""
    for process in pathlib.Path("/proc").iterdir():
        try:
            program = os.readlink(process / "exe")
        except OSError:
            continue
        if program.startswith(("/usr/bin/vorlin", "/usr/libexec/vorlin")):
            yield program


def main():
    package, pictures = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    apt("install", str(package))
    from first_minute import complaints
    from virtual_desktop import VirtualDesktop
    with VirtualDesktop(artefacts=pictures, accessible=True, variables={
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}) as desktop:
        walk = Walk(desktop)
        wrong = list(walk.run())
        wrong += complaints(desktop)
        apt("install", str(package))
        if not walk.login("again"):
            wrong.append("installed again it is not started, although the person had chosen so")
    for line in wrong:
        print(f"purge_running: {line}", file=sys.stderr)
    if not wrong:
        print("Purged while it ran: the words were typed, it ended, and no login misses it.")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
