#!/usr/bin/python3
"""A person at a keyboard and a pointer of their own in a session of KWin:

    kwin_person.py PROTOCOL

PROTOCOL describes KWin's protocol for it. Reads one command a line and answers each with "done"
once KWin has it: "press CODE", "release CODE" (the kernel's number of a key), "move X Y",
"click BUTTON".
"""

import importlib
import pathlib
import sys
import tempfile

from pywayland.client import Display
from pywayland.scanner.protocol import Protocol

CORE = "/usr/share/wayland/wayland.xml"


def interface_of(protocol):
    """The class that speaks org_kde_kwin_fake_input."""
    descriptions = [Protocol.parse_file(CORE), Protocol.parse_file(protocol)]
    imports = {interface.name: each.name for each in descriptions for interface in each.interface}
    with tempfile.TemporaryDirectory(prefix="vorlin-protocols-") as folder:
        package = pathlib.Path(folder) / "spoken"
        package.mkdir()
        for each in descriptions:
            each.output(str(package), imports)
        (package / "__init__.py").touch()
        sys.path.insert(0, folder)
        return importlib.import_module("spoken.fake_input").OrgKdeKwinFakeInput


def main():
    kind = interface_of(sys.argv[1])
    display = Display()
    display.connect()
    found = []

    def on_global(registry, number, name, version):
        if name == kind.name:
            found.append(registry.bind(number, kind, min(version, 4)))

    registry = display.get_registry()
    registry.dispatcher["global"] = on_global
    display.roundtrip()
    hands = found[0]
    hands.authenticate("a person", "a test")
    display.roundtrip()
    print("ready", flush=True)
    for line in sys.stdin:
        command, *numbers = line.split()
        numbers = [int(number) for number in numbers]
        if command in ("press", "release"):
            hands.keyboard_key(numbers[0], 1 if command == "press" else 0)
        elif command == "move":
            hands.pointer_motion_absolute(*numbers)
        elif command == "click":
            hands.button(numbers[0], 1)
            hands.button(numbers[0], 0)
        display.roundtrip()
        print("done", flush=True)


if __name__ == "__main__":
    main()
