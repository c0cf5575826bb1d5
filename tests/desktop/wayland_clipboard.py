"""The clipboard of a Wayland session as programs of Wayland have it."""

import subprocess

from waiting import wait_until


def pasted(desktop, kind):
    """The bytes of one type on the clipboard, as a program of Wayland gets them."""
    done = subprocess.run(["wl-paste", "--no-newline", "--type", kind], env=desktop.environment,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, timeout=30, check=False)
    return done.stdout if done.returncode == 0 else None


def kinds(desktop):
    """What is on the clipboard, by type, without reading any of it."""
    done = subprocess.run(["wl-paste", "--list-types"], env=desktop.environment,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, timeout=30, check=False)
    return set(done.stdout.decode().split())


def copy(desktop, kind, data):
    """Copies something in a program of Wayland."""
    copied = desktop.folder / "copied"
    copied.write_bytes(data)
    desktop.output(["sh", "-c", f"exec wl-copy --type {kind} <'{copied}' >/dev/null 2>&1"])
    await_pasted(desktop, data, kind)


def await_pasted(desktop, expected, kind):
    wait_until(lambda: pasted(desktop, kind) == expected, f"{kind} on the clipboard", interval=0.5)
