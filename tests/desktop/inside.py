#!/usr/bin/python3
"""Runs a command inside a private virtual desktop and passes its exit status on.

    inside.py [--layout NAME] [--rate HZ] [--channels N] [--without-compositor]
              [--without-sound] [--artefacts FOLDER] -- COMMAND...
"""

import argparse
import signal
import sys

from virtual_desktop import VirtualDesktop


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--layout", default="us", help="keyboard layout")
    parser.add_argument("--rate", type=int, default=48000, help="the microphone's sample rate")
    parser.add_argument("--channels", type=int, default=2, help="the microphone's channels")
    parser.add_argument("--without-compositor", action="store_true")
    parser.add_argument("--without-sound", action="store_true", help="no sound server")
    parser.add_argument("--artefacts", help="folder for the servers' logs")
    parser.add_argument("command", nargs="+")
    options = parser.parse_args()

    for name in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
        signal.signal(name, lambda number, frame: sys.exit(128 + number))
    with VirtualDesktop(layout=options.layout, compositor=not options.without_compositor,
                        sound=not options.without_sound, rate=options.rate,
                        channels=options.channels, artefacts=options.artefacts) as desktop:
        process = desktop.spawn(options.command, stdin=None, stdout=None, stderr=None)
        status = process.wait()
    return 128 - status if status < 0 else status


if __name__ == "__main__":
    sys.exit(main())
