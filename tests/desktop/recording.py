"""A recording of a part of the screen: its frames as they are seen, and a looping picture of them.

A picture of a key says whether it is held, which nobody sees otherwise.
"""

import pathlib
import subprocess
import tempfile
import threading
import time
from typing import NamedTuple

from Xlib import X, display as xdisplay

SECONDS_BETWEEN_FRAMES = 0.1
# How long the last frame stays before the picture begins anew.
LAST_SECONDS = 2.5
KEY_UP = ("#e8ecf1", "#2b3a4d")
KEY_DOWN = ("#2b3a4d", "#ffffff")


class Frame(NamedTuple):
    """What was seen from a moment on: RGB, row by row, and the moment in seconds."""
    pixels: bytes
    begin: float
    held: bool


class KeyPicture:
    """A key cap of `size` = (width, height), drawn up and down, at a place in the frame."""

    def __init__(self, label, place, size, background):
        self.place = place
        self.size = size
        self.looks = {held: self._draw(label, *colours, background)
                      for held, colours in ((False, KEY_UP), (True, KEY_DOWN))}

    def _draw(self, label, fill, ink, background):
        width, height = self.size
        return subprocess.run(
            ["convert", "-size", f"{width}x{height}", f"xc:{background}",
             "-fill", fill, "-draw", f"roundrectangle 1,1 {width - 2},{height - 2} 8,8",
             "-fill", ink, "-font", "DejaVu-Sans", "-pointsize", "15", "-gravity", "center",
             "-annotate", "0", label, "-depth", "8", "rgb:-"],
            check=True, stdout=subprocess.PIPE).stdout

    def put_on(self, pixels, width, held):
        """Draws it into a frame of `width` pixels."""
        look, own = self.looks[held], 3 * self.size[0]
        for row in range(self.size[1]):
            start = 3 * ((self.place[1] + row) * width + self.place[0])
            pixels[start:start + own] = look[row * own:(row + 1) * own]


class Recording:
    """Records `area` = (x, y, width, height) of a virtual desktop on a thread of its own, for as
    long as the `with` block lasts. `held` says whether the key is, and may be set at any time."""

    def __init__(self, desktop, area, key):
        self.area = area
        self.key = key
        self.held = False
        self.frames = []
        self.end = 0.0
        self._x = xdisplay.Display(desktop.display)
        self._over = threading.Event()
        self._thread = threading.Thread(target=self._record)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *unused):
        self._over.set()
        self._thread.join()
        self._x.close()

    def _record(self):
        due = time.monotonic()
        while not self._over.wait(max(0.0, due - time.monotonic())):
            self._look()
            due = max(due + SECONDS_BETWEEN_FRAMES, time.monotonic())
        self._look()
        self.end = time.monotonic()

    def _look(self):
        begin, held = time.monotonic(), self.held
        raw = self._x.screen().root.get_image(*self.area, X.ZPixmap, 0xffffffff).data
        pixels = bytearray(3 * len(raw) // 4)
        for channel in range(3):
            pixels[channel::3] = raw[2 - channel::4]
        self.key.put_on(pixels, self.area[2], held)
        if not self.frames or self.frames[-1].pixels != pixels:
            self.frames.append(Frame(bytes(pixels), begin, held))

    def save(self, path):
        """Writes the looping picture, a GIF."""
        ends = [frame.begin for frame in self.frames[1:]] + [self.end + LAST_SECONDS]
        command = ["convert", "-loop", "0", "-dispose", "none"]
        with tempfile.TemporaryDirectory() as folder:
            for number, (frame, end) in enumerate(zip(self.frames, ends)):
                file = pathlib.Path(folder, f"{number}.ppm")
                file.write_bytes(self._portable(frame))
                command += ["-delay", str(max(2, round(100 * (end - frame.begin)))), file]
            # One table of colours for all: what stands still is then the same in each frame.
            subprocess.run(command + ["+dither", "-colors", "128", "+map",
                                      "-layers", "OptimizeTransparency", path], check=True)

    def save_frame(self, frame, path):
        """Writes one of the frames, in the form that the name ends with."""
        subprocess.run(["convert", "ppm:-", path], input=self._portable(frame), check=True)

    def _portable(self, frame):
        return b"P6 %d %d 255\n" % self.area[2:] + frame.pixels
