"""The overlay: where it stands, what it shows, and that it takes no focus, no key and no click."""

import itertools
import json
import os
import subprocess

import pytest
from gi.repository import GLib
from Xlib import X, Xatom, display as xdisplay

from editors import GTKEditor
from overlay import (POSITIONS, FocusWatch, OtherWindow, Overlay, Portal, ScreenReader, Watch,
                     dock, expected_frame)
from program import Program
from sound_server import speech
from virtual_desktop import VirtualDesktop
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
WHOLE = (0, 0, 1280, 800)
# How red the wallpaper is.
DESKTOP_RED = 0x5a


@pytest.fixture(name="start")
def _start(artefacts, request):
    """Starts a desktop with the program in it: start(settings, **options of the desktop)."""
    desktops = []
    wallpapers = []

    def start(settings=None, wallpaper=True, **options):
        desktop = VirtualDesktop(artefacts=artefacts, **options)
        desktops.append(desktop.__enter__())
        if wallpaper:  # which compositors leave alone
            wallpapers.append(OtherWindow(desktop, WHOLE, managed=False).lower().show())
        overlay = Overlay(desktop)
        if desktop.accessible:  # people who need a screen reader have it running
            overlay.reader = ScreenReader(desktop)
        program = Program(desktop, request.config.getoption("--program"),
                          settings={"recordMode": "toggle", "sounds": False} | (settings or {}))
        return desktop, program, overlay

    yield start
    for desktop in desktops:
        if desktop.x is not None:
            desktop.screenshot("end")
        desktop.close()


def change(program, **settings):
    """Changes settings as an editor does; `__` stands for a dot in their names."""
    program.change({name.replace("__", "."): value for name, value in settings.items()})


def hear(program, desktop, text=SENTENCE):
    """Speaks without waiting for the end."""
    wav = desktop.folder / "spoken.wav"
    if not wav.exists():
        speech(text, wav)
    return desktop.sound.begin_playing(wav)


def test_the_frame_equals_the_arithmetic_to_the_pixel(start):
    desktop, program, overlay = start()
    panel = dock(desktop, bottom=37)
    area = (0, 0, 1280, 763)
    desktop.keyboard.tap("Alt_R")
    overlay.await_shown()
    for mode, size, margin, position in itertools.product(
            ("clip", "full"), (0.85, 1.0, 1.3), (0.0, 56.0, 200.0), POSITIONS):
        change(program, hud__position=position, hud__textMode=mode, hud__scale=size,
               hud__margin=margin)
        overlay.await_frame(expected_frame(area, position, mode, size, margin),
                            f"{position} {mode} {size} {margin}")
    # A desktop that is scaled while the overlay is there, by a fraction, and back.
    root = desktop.x.screen().root
    for dpi in (144, 120, 96):
        root.change_property(Xatom.RESOURCE_MANAGER, Xatom.STRING, 8, f"Xft.dpi:\t{dpi}\n".encode())
        desktop.x.sync()
        for position in ("bottomRight", "middleCenter", "topLeft"):
            change(program, hud__position=position, hud__textMode="clip", hud__scale=0.85,
                   hud__margin=56.0)
            overlay.await_frame(expected_frame(area, position, "clip", 0.85, 56.0, dpi / 96),
                                f"{position} at {dpi} dpi")
        desktop.screenshot(f"dpi-{dpi}")
    panel.close()
    overlay.await_frame(expected_frame(WHOLE, "topLeft", "clip", 0.85), "without the panel")


def test_a_scale_factor_for_qt_programs_counts_too(start):
    desktop, program, overlay = start({"hud.position": "middleRight"},
                                      variables={"QT_SCALE_FACTOR": "1.75"}, compositor=False)
    desktop.keyboard.tap("Alt_R")
    overlay.await_shown()
    overlay.await_frame(expected_frame(WHOLE, "middleRight", scale=1.75), "the scaled frame")
    desktop.screenshot("scaled")
    assert program.quit() == 0


@pytest.mark.parametrize("manager", ["openbox", "xfwm4", "metacity", "i3"])
def test_it_takes_no_focus_and_no_click_and_stays_above_full_screen_windows(start, manager):
    # Some managers do not keep their windows above one that they do not manage.
    desktop, program, overlay = start({"hud.position": "middleCenter"}, manager=manager,
                                      wallpaper=False)
    below = OtherWindow(desktop, (300, 200, 700, 400)).show()
    editor = GTKEditor(desktop)
    x, y = 640, 400

    def active():
        return desktop.output(["xdotool", "getactivewindow"]), desktop.output(
            ["xdotool", "getwindowfocus"])

    def seen():
        """Whether the overlay is what can be seen at its place."""
        return overlay.pixels((x, y - 18, 1, 1))[0][0] != (0xd0, 0x20, 0x20)

    before = active()
    with FocusWatch(desktop) as watch:
        desktop.keyboard.tap("Alt_R")
        overlay.await_shown()
        program.await_recording()
        assert active() == before
        desktop.keyboard.tap("Escape")
        overlay.await_hidden()
        assert active() == before
    assert len(watch.seen) == 1, "the focus moved"
    clients = desktop.x.screen().root.get_full_property(
        desktop.x.intern_atom("_NET_CLIENT_LIST"), X.AnyPropertyType).value
    assert overlay.window().id not in clients

    # A click where the overlay is reaches the window below it.
    desktop.keyboard.tap("Alt_R")
    overlay.await_shown()
    program.await_recording()
    editor.process.terminate()
    editor.process.wait(20)
    wait_until(lambda: desktop.output(["xdotool", "getactivewindow"]), "another active window")
    below.clicks()
    desktop.output(["xdotool", "mousemove", str(x), str(y), "click", "1"])
    wait_until(lambda: below.clicks() > 0, "the click to reach the window below")
    assert overlay.is_shown()

    # Windows that come to the front later, and take the whole screen, stay below it.
    full = OtherWindow(desktop, (0, 0, 1280, 800), 0xd02020)
    full.set_atoms("_NET_WM_STATE", "_NET_WM_STATE_FULLSCREEN")
    full.show()
    wait_until(lambda: overlay.pixels((5, 5, 1, 1))[0][0] == (0xd0, 0x20, 0x20),
               "the window to fill the screen")
    wait_until(seen, "the overlay above it")
    desktop.output(["xdotool", "windowactivate", str(full.window.id)])
    assert stays(seen, 0.5)
    desktop.screenshot(f"above-full-screen-{manager}")

    # It is on every workspace.
    if manager != "i3":  # which makes a workspace only where something is put on it
        desktop.output(["xdotool", "set_num_desktops", "2"])
        desktop.output(["xdotool", "set_desktop", "1"])
        wait_until(lambda: desktop.output(["xdotool", "get_desktop"]).strip() == "1",
                   "the other workspace")
        wait_until(lambda: overlay.pixels((5, 5, 1, 1))[0][0] != (0xd0, 0x20, 0x20),
                   "the full-screen window to stay behind")
        def is_light():
            return min(overlay.pixels((x, y - 18, 1, 1))[0][0]) > 0xd0

        wait_until(is_light, "the overlay on it")
        assert stays(is_light, 0.3)
    full.close()
    below.close()
    desktop.keyboard.tap("Escape")
    assert program.quit() == 0


def test_a_hide_to_come_is_taken_back_by_a_new_press(start):
    desktop, program, overlay = start()
    desktop.keyboard.tap("Alt_R")
    overlay.await_shown()
    program.await_recording()
    window = overlay.window()
    window.change_attributes(event_mask=X.StructureNotifyMask)
    desktop.keyboard.tap("Escape")
    program.await_silence()
    desktop.keyboard.tap("Alt_R")
    program.await_recording()
    assert stays(overlay.is_shown, 1.2)
    unmapped = [event for event in (desktop.x.next_event()
                                    for _ in range(desktop.x.pending_events()))
                if event.type == X.UnmapNotify]
    assert not unmapped
    # During the fade-out it comes back from where it is.
    desktop.keyboard.tap("Escape")
    wait_until(lambda: _is_fading(overlay), "the fade-out", interval=0)
    desktop.keyboard.tap("Alt_R")
    assert stays(overlay.is_shown, 0.6)
    wait_until(lambda: not _is_fading(overlay), "the overlay to be there again")


def _middle(overlay):
    """A pixel of the capsule next to its lower edge, where nothing is written."""
    x, y, width, height = overlay.frame()
    return overlay.pixels((x + width // 2, y + height - 12 - 5, 1, 1))[0][0]


class Brightnesses(Watch):
    """Notes how bright the capsule is, until the end of the block and a little longer."""

    def __init__(self, overlay):
        super().__init__(overlay.desktop)
        self.frame = overlay.frame()

    def _watch(self):
        display = xdisplay.Display(self.display)
        x, y, width, height = self.frame
        last = False
        while not last:
            last = self.ending.is_set()
            data = display.screen().root.get_image(x + width // 2, y + height - 17, 1, 1,
                                                   X.ZPixmap, 0xffffffff).data
            self.seen.add(data[2])
        display.close()


def _is_fading(overlay):
    """Neither the light capsule nor the desktop below it."""
    red, _, _ = _middle(overlay)
    return DESKTOP_RED + 10 < red < 0xe0


def test_compositors_come_and_go_while_it_is_shown(start):
    desktop, _, overlay = start(compositor=False)
    desktop.keyboard.tap("Alt_R")
    overlay.await_shown()
    wait_until(lambda: _middle(overlay)[0] > 0xe0, "the overlay's first picture")

    def colours():
        return {pixel for row in overlay.pixels() for pixel in row}

    # Without one: the desktop or the capsule, and no dark fringe between them.
    desktop.screenshot("without-compositor")
    assert not any(_is_shadow(pixel) for pixel in colours())
    desktop.start_compositor()
    wait_until(lambda: any(_is_shadow(pixel) for pixel in colours()), "a shadow")
    desktop.screenshot("with-compositor")
    desktop.picom.terminate()
    desktop.picom.wait(20)
    wait_until(lambda: not any(_is_shadow(pixel) for pixel in colours()), "no shadow")
    desktop.screenshot("without-compositor-again")
    assert any(min(pixel) > 0xe0 for pixel in colours())


def _is_shadow(pixel):
    """The desktop's colour, but darker."""
    red, green, blue = pixel
    return 0x28 < red < 0x58 and abs(green - red * 0x7f / 0x5a) < 6 and abs(
        blue - red * 0xa8 / 0x5a) < 8


def test_it_stands_on_the_screen_of_the_pointer_wherever_that_goes(start):
    desktop, program, overlay = start()
    desktop.output(["xrandr", "--setmonitor", "LEFT", "640/170x800/212+0+0", "screen"])
    desktop.output(["xrandr", "--setmonitor", "*RIGHT", "640/170x800/212+640+0", "none"])
    areas = {"left": (0, 0, 640, 800), "right": (640, 0, 1280, 800)}
    for side, area in areas.items():
        desktop.output(["xdotool", "mousemove", str(area[0] + 300), "400"])
        for position in POSITIONS:
            change(program, hud__position=position)
            desktop.keyboard.tap("Alt_R")
            overlay.await_shown()
            overlay.await_frame(expected_frame(area, position), f"{side} {position}")
            wait_until(lambda: min(_middle(overlay)) > 0xe0, "the overlay to be seen there")
            desktop.screenshot(f"{side}-{position}")
            desktop.keyboard.tap("Escape")
            program.await_silence()
    change(program, hud__display="main", hud__position="topLeft")
    desktop.output(["xdotool", "mousemove", "100", "400"])
    overlay.await_hidden()
    desktop.keyboard.tap("Alt_R")
    overlay.await_shown()
    overlay.await_frame(expected_frame(areas["right"], "topLeft"), "the main screen")
    # The screen that it is on goes away.
    desktop.output(["xrandr", "--delmonitor", "RIGHT"])
    overlay.await_frame(expected_frame(areas["left"], "topLeft"), "the screen that is left")
    desktop.output(["xrandr", "--delmonitor", "LEFT"])
    overlay.await_frame(expected_frame(WHOLE, "topLeft"), "the whole screen")


def test_it_follows_a_desktop_that_turns_dark_and_back_or_wants_no_motion(start):
    desktop, program, overlay = start({"hud.textMode": "full"})
    portal = Portal(desktop, dark=True)
    desktop.keyboard.tap("Alt_R")
    overlay.await_shown()
    program.await_recording()
    wait_until(lambda: portal.serve() and _middle(overlay)[0] < 0x30, "the dark look", interval=0.1)
    overlay.picture("dark")
    portal.change(Portal.APPEARANCE, GLib.Variant("u", 2))
    wait_until(lambda: _middle(overlay)[0] > 0xe0, "the light look")
    overlay.picture("light")
    portal.change(Portal.MOTION, GLib.Variant("b", False))
    portal.change(Portal.APPEARANCE, GLib.Variant("u", 1))
    wait_until(lambda: _middle(overlay)[0] < 0x30, "the dark look again")
    with Brightnesses(overlay) as watch:
        desktop.keyboard.tap("Escape")
        # The compositor paints some time after the window has gone.
        wait_until(lambda: DESKTOP_RED in watch.seen, "the desktop in the overlay's place")
    assert len(watch.seen) == 2, "it faded, though no motion was wanted"


@pytest.mark.parametrize("theme", ["light", "dark"])
def test_a_dictation_is_shown_and_announced_from_press_to_text(start, theme):
    desktop, program, overlay = start(
        accessible=True, variables={"GTK_THEME": "Adwaita:dark" if theme == "dark" else "Adwaita"})
    reader = overlay.reader
    editor = GTKEditor(desktop)
    for mode in ("clip", "full"):
        change(program, hud__textMode=mode)
        desktop.keyboard.tap("Alt_R")
        overlay.await_shown()
        program.await_recording()
        talking = hear(program, desktop)
        desktop.screenshot(f"{mode}-waveform")
        assert talking.wait(30) == 0
        desktop.screenshot(f"{mode}-text")
        if mode == "clip":
            desktop.keyboard.tap("Escape")
            reader.await_heard("Cancelled")
            stays(overlay.is_shown, 0.25)  # at rest by then, and there for 0.7 s
            desktop.screenshot("cancelled")
            overlay.await_hidden()
    desktop.keyboard.tap("Alt_R")
    reader.await_heard("Transcribing…")
    assert editor.await_text()
    overlay.await_hidden()
    assert reader.heard("Getting ready…")


def test_a_silent_microphone_and_a_dead_sound_server_are_shown_and_announced(start):
    desktop, program, overlay = start({"hud.textMode": "full"}, accessible=True)
    reader = overlay.reader
    desktop.keyboard.tap("Alt_R")
    overlay.await_shown()
    warning = "No sound from the microphone. Check Microphone access."
    reader.await_heard(warning)
    overlay.picture("silent-microphone")
    desktop.sound.die()
    said = len(reader.said)
    wait_until(lambda: reader.heard(None) or len(reader.said) > said, "a notice of the dead server")
    desktop.screenshot("dead-sound-server")  # at once: it is there for 1.6 s
    overlay.await_hidden()
    assert program.answers()


def test_a_display_without_the_platforms_library_says_one_line(start, request):
    desktop, _, _ = start()
    done = subprocess.run([request.config.getoption("--program")], timeout=60, check=False,
                          env=desktop.environment | {"QT_QPA_PLATFORM": "nowhere"},
                          stderr=subprocess.PIPE, text=True)
    assert done.returncode == 1
    assert done.stderr.count("\n") == 1 and "display" in done.stderr
