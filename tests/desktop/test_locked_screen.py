"""A locked screen: what runs is cancelled, and the key does nothing until it is unlocked."""

import pytest

from editors import Terminal
from login_manager import LoginManager
from overlay import Overlay
from program import assert_arrived
from screen_saver import ScreenSaver
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"


def test_a_lock_cancels_and_the_key_does_nothing_until_it_is_unlocked(desktop, launch):
    saver = ScreenSaver(desktop)
    program = launch()
    terminal = Terminal(desktop)
    overlay = Overlay(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        overlay.await_shown()
        saver.set_active(True)
        program.await_silence()
    overlay.await_hidden()
    with desktop.keyboard.held("Alt_R"):
        assert stays(lambda: not program.is_recording() and not overlay.is_shown(), 2)
    assert not terminal.changed(), "nothing was inserted"
    with desktop.keyboard.held("Alt_R"):
        saver.set_active(False)
        assert stays(lambda: not program.is_recording(), 2), "held since it was locked"
    wait_until(lambda: not desktop.keyboard.down(), "all keys to be up")
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())


def test_a_screen_saver_that_ends_while_it_is_locked_leaves_the_key_working(desktop, launch):
    saver = ScreenSaver(desktop)
    program = launch()
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        saver.set_active(True)
        program.await_silence()
    saver.bus.close_sync(None)

    def records_while_held():
        with desktop.keyboard.held("Alt_R"):
            return not stays(lambda: not program.is_recording(), 1)

    wait_until(records_while_held, "the key to be listened to again", 60)


class Away:
    """The two ways in which a login manager says that the person is away."""

    def __init__(self, manager, how):
        self.leave, self.come_back = {
            "locked": (lambda: manager.set_locked(True), lambda: manager.set_locked(False)),
            "asleep": (manager.sleep, manager.wake)}[how]


@pytest.mark.parametrize("how", ["locked", "asleep"])
def test_a_login_manager_that_says_so_cancels_and_the_key_rests_until_the_return(desktop, launch,
                                                                               how):
    manager = LoginManager(desktop)
    away = Away(manager, how)
    program = launch()
    manager.await_follower()
    terminal = Terminal(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        away.leave()
        program.await_silence()
    with desktop.keyboard.held("Alt_R"):
        assert stays(lambda: not program.is_recording(), 2)
    assert not terminal.changed(), "nothing was inserted"
    away.come_back()

    def dictates():
        with desktop.keyboard.held("Alt_R"):
            if stays(lambda: not program.is_recording(), 2):
                return False
            program.say(SENTENCE)
        return True

    wait_until(dictates, "the key to be listened to again")
    assert_arrived(SENTENCE, terminal.await_text())
