"""What a person's hands do at a keyboard, whichever way its keys are pressed."""

import contextlib
import time

# From one key of several to the next: a quick person's.
PACE = 0.05


class Hands:
    """A subclass gives `press(key)` and `release(key)`."""

    def press(self, key):
        raise NotImplementedError

    def release(self, key):
        raise NotImplementedError

    def tap(self, key):
        """Presses and releases one key."""
        self.press(key)
        self.release(key)

    @contextlib.contextmanager
    def held(self, *keys):
        """Holds keys down for the length of the block."""
        for number, key in enumerate(keys):
            if number > 0:
                time.sleep(PACE)
            self.press(key)
        try:
            yield
        finally:
            for key in reversed(keys):
                self.release(key)

    def chord(self, *keys):
        """Holds all keys but the last, which is tapped: chord("Control_L", "s")."""
        with self.held(*keys[:-1]):
            self.tap(keys[-1])

    def type(self, text):
        """Types small letters, digits and spaces."""
        for character in text:
            self.tap("space" if character == " " else character)
