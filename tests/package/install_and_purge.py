#!/usr/bin/python3
"""Installs the package as a person does, spends the first minute with it, removes it, and looks
what is left. For a machine of its own: see scripts/try-package.

    install_and_purge.py PACKAGE.deb PICTURES
"""

import hashlib
import os
import pathlib
import re
import stat
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tests" / "desktop"))

from dependencies import wrong_dependencies
from installed_files import files_of_the_package

# What is no file of a package: other file systems, this checkout, and the notes of apt and dpkg.
NOT_LOOKED_AT = ("/dev", "/proc", "/sys", "/run", "/tmp", str(ROOT), "/root/.cache",
                 "/var/cache", "/var/log", "/var/lib/apt", "/var/lib/dpkg")
# Lists that Debian makes anew of whatever is installed.
MADE_ANEW = ("/etc/ld.so.cache", "/etc/mailcap", "/usr/share/icons/hicolor/icon-theme.cache",
             "/var/lib/systemd/catalog/database")


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


def configuration_of_removed(listed):
    """The configuration files of packages that are removed and not purged, of what dpkg-query
    says: the state of each package, and behind it each file on a line, with a sum and what else is
    said of it."""
    found, removed = set(), False
    for line in listed.split("\n"):
        if line and not line.startswith(" "):
            removed = line.startswith("rc")
        file = re.fullmatch(r"(?:rc)? +(/.+) [0-9a-f]{32}( [a-z-]+)*", line)
        if file and removed:
            found.add(file[1])
    return found


def kept_by_apt():
    """The configuration of packages that were removed with the last one that wanted them, which
    "autoremove" leaves, as apt means it to."""
    return configuration_of_removed(subprocess.run(
        ["dpkg-query", "--show", "--showformat=${db:Status-Abbrev}${Conffiles}\n"], check=True,
        stdout=subprocess.PIPE, text=True).stdout)


def differences(before, after):
    yield from (f"left behind: {path}" for path in sorted(after.keys() - before.keys()))
    yield from (f"taken away: {path}" for path in sorted(before.keys() - after.keys()))
    yield from (f"changed: {path}" for path in sorted(before.keys() & after.keys())
                if before[path] != after[path])


def missing_or_too_much():
    """What the installed package lacks, or has and should not, one line each."""
    listed = subprocess.run(["dpkg", "-L", "vorlin"], check=True, stdout=subprocess.PIPE, text=True)
    files = {path for path in listed.stdout.split("\n") if os.path.isfile(path)}
    yield from (f"not in the package: {path}" for path in files_of_the_package() - files)
    yield from (f"in the package for no reason: {path}" for path in files - files_of_the_package())
    yield from wrong_dependencies()


def first_minute(pictures):
    """In a virtual desktop, for which what it imports was installed only now."""
    import first_minute as newcomer
    return newcomer.first_minute(newcomer.on_x11(), pictures)


def install_desktop():
    """As people have it, with what is recommended: or that would come and go with the package."""
    listed = subprocess.run([ROOT / "scripts" / "install-packages", "--list", "desktop"],
                            check=True, stdout=subprocess.PIPE, text=True).stdout
    apt("update")
    # Else what Debian has mended since the bare system was made would come with the package.
    apt("upgrade")
    apt("install", *listed.split())
    pathlib.Path("/etc/hosts").touch()  # or Debian makes one, which stays


def main():
    package, pictures = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    install_desktop()
    before = files_of_the_system()
    apt("install", str(package))
    wrong = list(missing_or_too_much()) + list(first_minute(pictures))
    apt("purge", "--auto-remove", "vorlin")
    wrong += differences(before, files_of_the_system())
    # In two steps, as apt itself proposes.
    apt("install", str(package))
    apt("purge", "vorlin")
    apt("autoremove")
    after = files_of_the_system()
    # What was there before is looked at, whoever kept it.
    left = kept_by_apt() - before.keys()
    wrong += differences(before, {path: after[path] for path in after.keys() - left})
    for line in wrong:
        print(f"install_and_purge: {line}", file=sys.stderr)
    if not wrong:
        print("Installed, dictated with, removed: the system is as it was.")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
