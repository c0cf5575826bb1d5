#!/usr/bin/python3
"""Installs the package as a person does, dictates a sentence with it, removes it, and looks what
is left. For a machine of its own: see scripts/try-package.

    install_and_purge.py PACKAGE.deb
"""

import hashlib
import os
import pathlib
import stat
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

SENTENCE = "the committee decided to postpone the meeting until next month"
# Of a recogniser as small as the built-in one a wrong word is no fault of the package.
MOST_WRONG_WORDS = 2
# What is no file of a package: other file systems, this checkout, and the notes of apt and dpkg.
NOT_LOOKED_AT = ("/dev", "/proc", "/sys", "/run", "/tmp", str(ROOT), "/root/.cache",
                 "/var/cache", "/var/log", "/var/lib/apt", "/var/lib/dpkg")
# Lists that Debian makes anew of whatever is installed.
MADE_ANEW = ("/etc/ld.so.cache", "/etc/mailcap", "/var/lib/systemd/catalog/database")
OWN_FILES = {".config/Vorlin/settings.json", ".local/state/Vorlin/state.json"}


def install(*packages):
    apt("install", *packages)


def apt(*arguments):
    subprocess.run(["apt-get", "--quiet", "--yes", *arguments], check=True,
                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   env=os.environ | {"DEBIAN_FRONTEND": "noninteractive"})


def files_of_the_system():
    """What every file of the system is: by path, its kind, its rights, and what it holds."""
    found = {}
    for folder, folders, files in os.walk("/"):
        folders[:] = [name for name in folders
                      if os.path.join(folder, name) not in NOT_LOOKED_AT]
        for name in folders + files:
            path = os.path.join(folder, name)
            if path not in MADE_ANEW and "__pycache__" not in path:
                found[path] = described(path)
    return found


def described(path):
    status = os.lstat(path)
    if stat.S_ISLNK(status.st_mode):
        return "link", os.readlink(path)
    if not stat.S_ISREG(status.st_mode):
        return stat.S_IFMT(status.st_mode), stat.S_IMODE(status.st_mode)
    with open(path, "rb") as stream:
        return stat.S_IMODE(status.st_mode), hashlib.file_digest(stream, "sha256").hexdigest()


def differences(before, after):
    yield from (f"left behind: {path}" for path in sorted(after.keys() - before.keys()))
    yield from (f"taken away: {path}" for path in sorted(before.keys() - after.keys()))
    yield from (f"changed: {path}" for path in sorted(before.keys() & after.keys())
                if before[path] != after[path])


def dictate():
    """A person's first sentence with the installed program; what is wrong with it."""
    from editors import GTKEditor
    from program import Program, wrong_words
    from virtual_desktop import VirtualDesktop

    with VirtualDesktop(artefacts=ROOT / "build" / "artefacts" / "package") as desktop:
        editor = GTKEditor(desktop)
        program = Program(desktop, "vorlin")
        if (desktop.config_folder / "autostart").exists():
            yield "it opens at login although nobody asked for it"
        program.dictate(SENTENCE)
        typed = editor.await_text()
        print(f'Spoken: "{SENTENCE}". Typed: "{typed}".', flush=True)
        if wrong_words(SENTENCE, typed) > MOST_WRONG_WORDS:
            yield f'it typed "{typed}"'
        desktop.screenshot("dictated")
        if program.quit() != 0:
            yield "it did not end well"
        written = {str(path.relative_to(desktop.home)) for path in desktop.home.rglob("*")
                   if path.is_file() and "orlin" in str(path.relative_to(desktop.home))}
        yield from (f"it wrote {path} into the home folder"
                    for path in sorted(written - OWN_FILES))


def main():
    package = pathlib.Path(sys.argv[1]).resolve()
    subprocess.run([ROOT / "scripts" / "install-packages", "desktop"], check=True)
    before = files_of_the_system()
    install(str(package))
    wrong = list(dictate())
    # What came with it goes with it, as apt itself proposes.
    apt("purge", "--auto-remove", "vorlin")
    wrong += differences(before, files_of_the_system())
    for line in wrong:
        print(f"install_and_purge: {line}", file=sys.stderr)
    if not wrong:
        print("Installed, dictated with, removed: the system is as it was.")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
