"""The overlay placed, sized and previewed from the settings window."""

from overlay import POSITIONS, Overlay, expected_frame
from waiting import wait_until

WHOLE = (0, 0, 1280, 800)
CELLS = ("Top left", "Top center", "Top right", "Middle left", "Center", "Middle right",
         "Bottom left", "Bottom center", "Bottom right")
SIZES = {"Small": 0.85, "Large": 1.3, "Medium": 1.0}


def test_the_grid_moves_the_overlay_and_shows_it_there(stage):
    begun = stage()
    overlay = Overlay(begun.desktop)
    controls = begun.open_settings("Popup")
    assert not overlay.is_shown()
    for cell, position in zip(CELLS, POSITIONS):
        controls.click(cell)
        overlay.await_shown()
        overlay.await_frame(expected_frame(WHOLE, position), cell)
        assert controls.is_checked(cell)
    begun.program.await_stored("hud.position", "bottomRight")
    begun.desktop.screenshot("bottom-right")
    overlay.await_hidden()
    assert begun.window.is_active()


def test_the_grid_is_worked_by_its_arrow_keys(stage):
    begun = stage()
    overlay = Overlay(begun.desktop)
    controls = begun.open_settings("Popup")
    controls.focus("Bottom center")
    begun.desktop.keyboard.tap("Up")
    begun.desktop.keyboard.tap("Left")
    overlay.await_shown()
    overlay.await_frame(expected_frame(WHOLE, "middleLeft"), "one up and one to the left")


def test_the_distance_is_set_by_keys_and_through_a_screen_reader(stage):
    begun = stage(settings={"hud.position": "topLeft"})
    overlay = Overlay(begun.desktop)
    controls = begun.open_settings("Popup")
    controls.focus("Distance from edge")
    begun.desktop.keyboard.tap("Right")
    overlay.await_shown()
    overlay.await_frame(expected_frame(WHOLE, "topLeft", margin=60), "a step more")
    controls.set_value("Distance from edge", 100)
    overlay.await_frame(expected_frame(WHOLE, "topLeft", margin=100), "what was set")
    begun.program.await_stored("hud.margin", 100)


def test_a_size_shows_at_once_while_the_overlay_stands(stage):
    begun = stage(settings={"recordMode": "toggle"})
    overlay = Overlay(begun.desktop)
    controls = begun.open_settings("Popup")
    begun.desktop.keyboard.tap("Alt_R")
    begun.program.await_recording()
    overlay.await_shown()
    for name, scale in SIZES.items():
        controls.press(name)
        overlay.await_frame(expected_frame(WHOLE, "bottomCenter", size=scale), name)
        begun.program.await_stored("hud.scale", scale)
        overlay.picture(name)
    assert begun.program.is_recording()


def test_preview_shows_the_overlay_for_a_moment(stage):
    begun = stage(settings={"hud.position": "topRight", "hud.scale": 1.3})
    overlay = Overlay(begun.desktop)
    controls = begun.open_settings("Popup")
    controls.press("Preview")
    overlay.await_shown()
    overlay.await_frame(expected_frame(WHOLE, "topRight", size=1.3), "the frame")
    overlay.await_hidden()
    assert not begun.program.is_recording()


def test_what_is_changed_in_the_file_shows_in_the_window(stage):
    begun = stage()
    controls = begun.open_settings("Popup")
    for values, shown in (({"hud.position": "topLeft"}, "Top left"),
                          ({"hud.scale": 1.3}, "Large"),
                          ({"hud.showEsc": True}, "Show the “esc” cancel hint")):
        begun.program.change(values)
        wait_until(lambda shown=shown: controls.is_checked(shown), shown)
    begun.program.change({"hud.showEsc": False})
    wait_until(lambda: not controls.is_checked("Show the “esc” cancel hint"), "the switch")
    begun.program.change({"hud.scale": 1.11})
    wait_until(lambda: not any(controls.is_checked(name) for name in SIZES), "no size")
