#!/usr/bin/python3
"""Installs the package as a person does whose machine has one kind of session, and spends the first
minute with it. For a machine of its own: see scripts/try-package.

    install_and_dictate.py sway PACKAGE.deb PICTURES PERSON
    install_and_dictate.py kwin|gnome PACKAGE.deb PICTURES

PERSON is the program that presses keys there.
"""

import pathlib
import subprocess
import sys

from install_and_purge import ROOT, apt


def main():
    kind = sys.argv[1]
    package, pictures, *person = (pathlib.Path(argument).resolve() for argument in sys.argv[2:])
    subprocess.run([ROOT / "scripts" / "install-packages", kind], check=True)
    apt("install", str(package))
    import first_minute  # what it imports was installed only now
    session = getattr(first_minute, f"on_{kind}")(*person)
    wrong = list(first_minute.first_minute(session, pictures))
    for line in wrong:
        print(f"install_and_dictate: {line}", file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
