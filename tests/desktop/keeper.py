"""Cleans up one virtual desktop when the process that made it is gone, however it went.

    keeper.py FOLDER

Reads its standard input until that ends, which happens when the owner closes it or dies (kill -9
included). Then ends every process that lives in the desktop, known by its XDG_RUNTIME_DIR, and
removes FOLDER. Processes that were started by the session bus, or that detached themselves,
carry that variable too.
"""

import os
import shutil
import signal
import sys
import time


def inhabitants(runtime_folder):
    """Process ids whose environment names this runtime folder; zombies have no environment."""
    mark = b"XDG_RUNTIME_DIR=" + os.fsencode(runtime_folder)
    found = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/environ", "rb") as environment:
                if mark in environment.read().split(b"\0"):
                    found.append(int(entry))
        except OSError:
            continue
    return found


def send(process_ids, signal_number):
    for process_id in process_ids:
        try:
            os.kill(process_id, signal_number)
        except ProcessLookupError:
            pass


def end_all(runtime_folder, patience=2.0):
    """Asks every inhabitant to leave, wakes the stopped ones, and kills who stays."""
    leaving = inhabitants(runtime_folder)
    send(leaving, signal.SIGTERM)
    send(leaving, signal.SIGCONT)
    deadline = time.monotonic() + patience
    while time.monotonic() < deadline:
        if not inhabitants(runtime_folder):
            return
        time.sleep(0.01)
    while remaining := inhabitants(runtime_folder):
        send(remaining, signal.SIGKILL)
        time.sleep(0.01)


def main():
    folder = sys.argv[1]
    # What ends the owner must not end its keeper.
    for name in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
        signal.signal(name, signal.SIG_IGN)
    while os.read(0, 4096):
        pass
    end_all(os.path.join(folder, "run"))
    shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
