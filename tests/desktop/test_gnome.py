"""What is GNOME Shell's alone: it asks the person for keys, and the person may refuse."""

import pytest

from gnome_desktop import ASKS_FOR_KEYS, ASKS_TO_TYPE, GnomeDesktop
from program import Program, hotkey_setting
from waiting import stays

F9 = 101


@pytest.fixture(name="desktop")
def _desktop(artefacts):
    with GnomeDesktop(artefacts=artefacts, accessible=True,
                      variables={"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}) as desktop:
        yield desktop
        desktop.screenshot("end")


def test_a_refusal_is_not_asked_again(desktop, request):
    program = Program(desktop, request.config.getoption("--program"),
                      settings={"hotkey.v2": hotkey_setting(F9)})
    controls = desktop.wish(program)
    desktop.refuse()
    controls.find("Accessibility: Not granted")
    program.quit()
    program.start()
    assert stays(lambda: not any(each in desktop.windows()[0]
                                 for each in (ASKS_FOR_KEYS, ASKS_TO_TYPE)), 4)
