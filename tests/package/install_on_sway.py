#!/usr/bin/python3
"""Installs the package as a person does who has sway and nothing of X11, and spends the first
minute with it. For a machine of its own: see scripts/try-package.

    install_on_sway.py PACKAGE.deb PERSON PICTURES
"""

import pathlib
import subprocess
import sys

from install_and_purge import ROOT, apt


def main():
    package, person, pictures = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    subprocess.run([ROOT / "scripts" / "install-packages", "sway"], check=True)
    apt("install", str(package))
    from first_minute import on_sway  # what it imports was installed only now
    wrong = list(on_sway(pictures, person))
    for line in wrong:
        print(f"install_on_sway: {line}", file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
