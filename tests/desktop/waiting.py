"""Bounded waits: every wait in the desktop tests names what it waits for and ends by itself."""

import time


class WaitedTooLong(AssertionError):
    """The awaited thing did not happen; the message names it."""


def wait_until(condition, what, timeout=180.0, interval=0.01):
    """Returns the first true value of condition(). Raises WaitedTooLong after `timeout` seconds.

    The limit is generous on purpose: it decides how long a failing test takes, never whether a
    slow machine passes.
    """
    deadline = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise WaitedTooLong(f"waited {timeout:g} s in vain for {what}")
        time.sleep(interval)


def stays(condition, seconds, interval=0.02):
    """True when condition() holds at every look for `seconds`: for claims that something does
    not happen, where no event can be awaited."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if not condition():
            return False
        time.sleep(interval)
    return bool(condition())


def stays_equal(read, seconds):
    """True when read() gives the same value throughout `seconds`."""
    first = read()
    return stays(lambda: read() == first, seconds)
