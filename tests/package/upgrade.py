#!/usr/bin/python3
"""Replaces the installed package by the next one while the program runs and is dictated with, and
looks what is still as the person left it. For a machine of its own: see scripts/try-package.

    upgrade.py PACKAGE.deb PICTURES
"""

import json
import os
import pathlib
import signal
import subprocess
import sys

from install_and_purge import ROOT, apt, described

sys.path.insert(0, str(ROOT / "tests" / "desktop"))

LOGIN = "Open at login"
ENGINE = "/usr/libexec/vorlin/vorlin-engine"


def next_package(package, folder, number):
    """The same package with a higher version; returns its path."""
    unpacked = folder / f"next-{number}"
    subprocess.run(["dpkg-deb", "--raw-extract", package, unpacked], check=True)
    control = unpacked / "DEBIAN" / "control"
    lines = control.read_text().split("\n")
    control.write_text("\n".join(f"{line}+next{number}" if line.startswith("Version: ") else line
                                 for line in lines))
    made = folder / f"vorlin-next-{number}.deb"
    subprocess.run(["dpkg-deb", "--build", "--root-owner-group", unpacked, made], check=True,
                   stdout=subprocess.DEVNULL)
    return made


def version():
    return subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", "vorlin"], check=True,
                          stdout=subprocess.PIPE, text=True).stdout


def files_below(*folders):
    """What every file in some folders is."""
    return {str(path): described(path) for folder in folders for path in folder.rglob("*")}


class Walk:
    """A person's way through two upgrades, on a desktop."""

    def __init__(self, desktop, package):
        from editors import GTKEditor
        from first_minute import started
        from local_model import LocalModel
        self.desktop = desktop
        self.package = package
        self.model = LocalModel(desktop)
        # As a download leaves it: the person's own, though no engine's that is listed.
        kept = desktop.data_folder / "Vorlin" / "Models" / "kept"
        kept.mkdir(parents=True)
        (kept / "weights").write_bytes(os.urandom(100_000))
        self.program = started(desktop, settings=self.model.settings(sounds=False))
        self.editor = GTKEditor(desktop)
        self.heard = ""

    def upgrade(self, number):
        """Installs the next package over the one whose program runs; what is wrong then."""
        kept, before, process = self.kept(), version(), self.program.process.pid
        apt("install", str(next_package(self.package, self.desktop.folder, number)))
        if version() != f"{before.partition('+next')[0]}+next{number}":
            yield f"{before} became {version()}"
        if self.program.process.poll() is not None:
            yield "the program that ran has ended"
        if not os.readlink(f"/proc/{process}/exe").endswith(" (deleted)"):
            yield "the program that ran was not replaced"
        if self.kept() != kept:
            yield "something of the person's was changed"

    def kept(self):
        """What is the person's: models, whether it opens at login, and what the settings say."""
        settings = self.desktop.config_folder / "Vorlin" / "settings.json"
        said = json.loads(settings.read_text()) if settings.exists() else None
        return said, files_below(self.desktop.config_folder / "autostart",
                                 self.desktop.data_folder / "Vorlin", self.model.folder)

    def end_engine(self):
        """Ends the program's engine process, as ten minutes without a dictation do."""
        from local_model import engine_processes
        from waiting import wait_until
        for process in engine_processes(self.program):
            os.kill(process, signal.SIGKILL)
        wait_until(lambda: not engine_processes(self.program), "the engine's end")

    def dictate_with_new_engine(self, what):
        """Dictates by an engine process that is begun now; what is wrong."""
        from local_model import engine_processes
        self.end_engine()
        yield from self.dictate(what)
        begun = [os.readlink(f"/proc/{each}/exe") for each in engine_processes(self.program)]
        if begun != [ENGINE]:
            yield f"{what} it began {begun}"

    def dictate(self, what):
        """Dictates the model's own sentence into the editor; what is wrong."""
        utterance = self.model.utterances[0]
        with self.desktop.keyboard.held("Alt_R"):
            self.program.await_recording()
            self.desktop.sound.play(self.model.recording([utterance], what))
        typed = self.editor.await_more(self.heard, 60)
        self.heard += typed
        print(f'Dictated {what}: "{typed}".', flush=True)
        if typed.strip() != utterance["text"]:
            yield f'{what} it typed "{typed}"'

    def start_anew(self):
        """Ends the program and starts it; what is wrong."""
        if self.program.quit() != 0:
            yield "the replaced program did not end well"
        self.program.start()
        if os.readlink(f"/proc/{self.program.process.pid}/exe") != "/usr/bin/vorlin":
            yield "it is not the new program that has started"

    def switch_login(self, on):
        """The person switches opening at login on or off."""
        from controls import Controls
        from settings_window import SettingsWindow
        from waiting import wait_until
        window = SettingsWindow(self.desktop, self.program)
        window.open()
        controls = Controls(self.desktop)
        controls.show_tab("General", LOGIN)
        controls.press(LOGIN)
        wait_until(lambda: self.opens_at_login() == on, "the switch")
        self.desktop.screenshot(f"login-{'on' if on else 'off'}")
        window.close()

    def opens_at_login(self):
        return (self.desktop.config_folder / "autostart" / "org.vorlin.Vorlin.desktop").exists()

    def replace(self, number):
        """One upgrade, and what follows it; what is wrong."""
        kept, login = self.kept(), self.opens_at_login()
        yield from self.upgrade(number)
        yield from self.dictate_with_new_engine(f"by the program that was replaced, {number}")
        yield from self.start_anew()
        yield from self.dictate(f"by the new one, {number}")
        if self.kept() != kept:
            yield "the new program changed something of the person's"
        if self.opens_at_login() != login:
            yield f"whether it opens at login was {login}"

    def run(self):
        """All of it; what is wrong."""
        yield from self.dictate("before")
        self.switch_login(True)
        yield from self.replace(1)
        self.switch_login(False)
        yield from self.replace(2)
        self.desktop.screenshot("upgraded")
        if self.program.quit() != 0:
            yield "it did not end well"


def main():
    package, pictures = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    apt("install", str(package))
    from first_minute import complaints
    from virtual_desktop import VirtualDesktop
    with VirtualDesktop(artefacts=pictures, accessible=True, variables={
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}) as desktop:
        wrong = list(Walk(desktop, package).run())
        wrong += complaints(desktop)
    for line in wrong:
        print(f"upgrade: {line}", file=sys.stderr)
    if not wrong:
        print("Replaced twice while it ran: it went on, and all of the person's stayed.")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
