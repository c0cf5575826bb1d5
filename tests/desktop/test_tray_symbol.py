"""The symbol in a panel of the X11 kind, light and dark: as it was when somebody looked at it."""

import pathlib
import subprocess

from overlay import Overlay
from waiting import wait_until

# Four pictures of a panel with the symbol in it, side by side.
REFERENCE = pathlib.Path(__file__).resolve().parent / "reference" / "tray.png"
WIDTH, HEIGHT = 26, 32
PANELS = {"light": "0xf0f0f0", "dark": "0x202020"}


def reference(number):
    """One picture: rows of (r, g, b)."""
    raw = subprocess.run(["convert", REFERENCE, "-depth", "8", "rgb:-"], check=True,
                         stdout=subprocess.PIPE).stdout
    line = 4 * WIDTH
    return [[tuple(raw[3 * (row * line + number * WIDTH + column):][:3])
             for column in range(WIDTH)] for row in range(HEIGHT)]


def differs(one, other):
    """How far two pictures differ where a person looks: averages of 2 x 2 pixels, 0 to 255."""
    def mean(picture, row, column, channel):
        return sum(picture[row + down][column + aside][channel]
                   for down in range(2) for aside in range(2)) / 4
    return max(abs(mean(one, row, column, channel) - mean(other, row, column, channel))
               for row in range(0, HEIGHT, 2) for column in range(0, WIDTH, 2)
               for channel in range(3))


def test_both_symbols_look_on_light_and_dark_panels_as_they_should(desktop, launch):
    launch(settings={"sounds": False})
    screen = Overlay(desktop)

    def await_look(number, name):
        seen = reference(number)
        try:
            wait_until(lambda: differs(screen.pixels((0, 0, WIDTH, HEIGHT)), seen) < 24, name)
        finally:
            desktop.screenshot(name)

    for count, (name, tint) in enumerate(PANELS.items()):
        tray = desktop.spawn(["trayer", "--edge", "top", "--align", "left", "--widthtype",
                              "request", "--height", str(HEIGHT), "--expand", "false",
                              "--transparent", "true", "--alpha", "0", "--tint", tint])
        await_look(2 * count, f"{name}-idle")
        with desktop.keyboard.held("Alt_R"):
            await_look(2 * count + 1, f"{name}-active")
        tray.kill()
        tray.wait()
