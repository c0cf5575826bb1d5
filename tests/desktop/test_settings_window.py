"""The settings window of the unchanged program."""

import pytest
from gi.repository import GLib

import clipboard
from editors import GTKEditor
from overlay import Portal, ScreenReader
from program import Program, wrong_words
from settings_window import SIZE, Reader, SettingsWindow
from virtual_desktop import VirtualDesktop
from waiting import wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
TABS = ("General", "Models", "Popup", "Permissions", "About")


@pytest.fixture(name="start")
def _start(artefacts, request):
    """Starts the program in a desktop with these options; returns both and the window."""
    desktops = []

    def start(very_first_start=False, **options):
        desktop = VirtualDesktop(artefacts=artefacts, **options).__enter__()
        desktops.append(desktop)
        program = Program(desktop, request.config.getoption("--program"),
                          very_first_start=very_first_start)
        return desktop, program, SettingsWindow(desktop, program)

    yield start
    for desktop in desktops:
        desktop.screenshot("end")
        desktop.close()


def test_a_second_start_opens_the_settings_of_the_first_in_front(start, request):
    desktop, program, window = start()
    assert window.window() is None
    second = desktop.spawn([request.config.getoption("--program")], log="second")
    assert second.wait(30) == 0
    wait_until(window.is_painted, "the settings window")
    assert window.size() == SIZE
    wait_until(window.is_active, "the window to be active")
    assert program.process.poll() is None


def test_only_the_very_first_start_opens_the_settings_by_itself(start):
    desktop, program, window = start(very_first_start=True)
    wait_until(window.is_painted, "the settings window of the first start")
    assert program.settings_file.exists()
    program.process.terminate()
    assert program.process.wait(30) == 0
    program.start()
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()  # by then the microphone has answered, which the opening awaits
    program.await_silence()
    assert window.window() is None


def test_words_spoken_before_the_settings_stay_on_the_clipboard_and_the_overlay_says_so(start):
    """What a newcomer does first: the settings have opened by themselves, and they try the key."""
    desktop, program, window = start(very_first_start=True, accessible=True)
    wait_until(window.is_active, "the settings at the very first start")
    clipboard_owner = clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"copied before"})
    reader = ScreenReader(desktop)
    program.dictate(SENTENCE)
    reader.await_heard("Copied. Paste it where you want it.")
    assert wrong_words(SENTENCE, clipboard.read(desktop).decode()) == 0
    clipboard_owner.close()
    editor = GTKEditor(desktop)
    desktop.keyboard.chord("Control_L", "v")
    assert wrong_words(SENTENCE, editor.await_text()) == 0


def test_a_desktop_whose_language_is_not_installed_is_told_which_engine_knows_it(start):
    """In German: right Alt types @ there, and Debian has no German model for the recogniser."""
    german = {name: "de_DE.UTF-8" for name in ("LANG", "LC_ALL", "LANGUAGE")}
    desktop, _, window = start(very_first_start=True, accessible=True, variables=german,
                               layout="de")
    wait_until(window.is_active, "the settings at the very first start")
    Reader(desktop).find("NVIDIA Parakeet Redux (≈ 220 MB) knows Deutsch: see Models.")
    reader = ScreenReader(desktop)
    with desktop.keyboard.held("Control_R"):
        reader.await_heard("Deutsch: NVIDIA Parakeet Redux (≈ 220 MB) knows it.")


def test_it_opens_and_closes_again_and_again(start):
    _, program, window = start()
    for _ in range(3):
        window.open()
        window.close()
    assert program.answers()


def test_control_q_in_it_ends_the_program(start):
    desktop, program, window = start()
    window.open()
    with desktop.keyboard.held("Control_L"):
        desktop.keyboard.tap("q")
    assert program.process.wait(30) == 0


def test_a_screen_reader_finds_a_name_and_a_role_for_every_control(start):
    desktop, _, window = start(accessible=True,
                               variables={"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"})
    window.open()
    reader = Reader(desktop)
    wait_until(reader.window, "the window among the accessibles")
    for tab in TABS:
        reader.press(wait_until(lambda tab=tab: reader.find(tab), f"the tab {tab}"))
        wait_until(lambda tab=tab: reader.find(_EACH[tab]), f"the page {tab}")
        operable = 0
        for item, role, name in reader.walk(reader.window()):
            assert role not in ("", "unknown", "invalid"), (tab, role, name)
            if role not in ("filler", "frame", "panel"):
                assert name, (tab, role)
            # Qt says of texts, too, that they can have the focus.
            if reader.is_operable(item) and role != "label":
                operable += 1
                assert name and role not in ("filler", "panel"), (tab, role, name)
        assert operable >= len(TABS)
        desktop.screenshot(tab)


# What only the tab of this name shows.
_EACH = {"General": "Play sounds", "Models": "Add model…", "Popup": "Distance from edge",
         "Permissions": "Microphone", "About": "Vorlin"}


@pytest.mark.parametrize("percent", (100, 150, 200))
def test_it_is_as_large_as_the_desktop_scales_it(start, percent):
    desktop, _, window = start(variables={"QT_SCALE_FACTOR": str(percent / 100)})
    window.open()
    assert window.size() == (SIZE[0] * percent // 100, SIZE[1] * percent // 100)
    desktop.screenshot(f"scale-{percent}")


def test_it_follows_the_desktop_from_light_to_dark(start):
    desktop, _, window = start()
    portal = Portal(desktop, dark=False)
    window.open()
    wait_until(lambda: portal.serve() and _brightness(window) > 200, "a light window")
    portal.change(Portal.APPEARANCE, GLib.Variant("u", 1))
    wait_until(lambda: portal.serve() and _brightness(window) < 80, "a dark window")


def _brightness(window):
    image = window.window().get_image(4, SIZE[1] - 8, 1, 1, 2, 0xffffffff)
    return sum(image.data[:3]) / 3
