"""Whether somebody notices that a picture of the README lacks something. Parts of those in docs are
painted over and held against the untouched ones."""

import pathlib
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.append(str(ROOT / "tests" / "desktop"))

from likeness import (Scene, differences,  # pylint: disable=wrong-import-position
                      film_differences, moments)

WIDTH, HEIGHT = 720, 480
SCENE = Scene(WIDTH, key=(40, 400, 104, 36), overlay=(145, 378, 430, 76), held=(0x2b, 0x3a, 0x4d))
WALLPAPER, LETTER, OVERLAY = bytes.fromhex("5a7fa8"), b"\xff" * 3, bytes.fromhex("efeef5")
# What can be seen while the second sentence is spoken: where, and the colour below it.
PARTS = {
    "the overlay's words": ((236, 404, 238, 28), OVERLAY),
    "the overlay": (SCENE.overlay, WALLPAPER),
    "the key": (SCENE.key, WALLPAPER),
    "what the key is": ((58, 408, 68, 20), bytes(SCENE.held)),
    "what was typed": ((42, 90, 520, 20), LETTER),
    "a word of it": ((44, 90, 64, 20), LETTER),
    "the menu": ((44, 64, 312, 18), bytes.fromhex("f6f5f4")),
    "the title": ((296, 42, 130, 14), bytes.fromhex("84a9d6")),
    "the editor": ((40, 40, 642, 325), WALLPAPER),
}
CURSOR = ((44, 112, 1, 22), LETTER)


def pictures(name):
    rgb = subprocess.run(["convert", ROOT / "docs" / name, "-coalesce", "-depth", "8", "rgb:-"],
                         check=True, stdout=subprocess.PIPE).stdout
    size = 3 * WIDTH * HEIGHT
    return [rgb[start:start + size] for start in range(0, len(rgb), size)]


def without(picture, frame, colour):
    """The picture with a part of it painted over."""
    left, top, width, height = frame
    painted = bytearray(picture)
    for row in range(top, top + height):
        start = 3 * (row * WIDTH + left)
        painted[start:start + 3 * width] = colour * width
    return bytes(painted)


@pytest.fixture(name="still", scope="module")
def _still():
    return pictures("dictation.png")[0]


@pytest.fixture(name="film", scope="module")
def _film():
    return pictures("dictation.gif")


def found(shown, taken):
    return list(differences(SCENE, shown, taken, spoken=True))


@pytest.mark.parametrize("part", PARTS)
def test_a_picture_that_lacks_a_part_is_told(still, part):
    assert found(without(still, *PARTS[part]), still), part


def test_other_words_and_another_level_are_none_of_it_nor_is_the_cursor(still, film):
    assert not found(still, still)
    assert not found(without(still, *CURSOR), still)
    later = moments(SCENE, film)[2]
    assert later != still and not found(later, still)
    assert found(b"", still)


def test_a_film_is_held_against_another_at_the_moments_that_both_have(film):
    assert not list(film_differences(SCENE, film, film))
    beside = [number for number in range(1, len(film) - 1)
              if film[number - 1] not in moments(SCENE, film)]
    assert list(film_differences(SCENE, [film[number] for number in beside], film))


@pytest.mark.parametrize("part, changed", [
    ("the overlay's words", "at the end of the first sentence"),
    ("the overlay's words", "at the end of the second sentence"),
    ("what was typed", "at the end of the second sentence"),
    ("what was typed", "at last"), ("the menu", "at first"), ("what the key is", "at last")])
def test_a_film_that_lacks_a_part_at_a_moment_is_told(film, part, changed):
    names = ("at first", "at the end of the first sentence", "at the end of the second sentence",
             "at last")
    moment = moments(SCENE, film)[names.index(changed)]
    lacking = [without(frame, *PARTS[part]) if frame == moment else frame for frame in film]
    lines = list(film_differences(SCENE, lacking, film))
    assert lines and all(line.startswith(changed) for line in lines)


def test_a_film_in_which_nobody_lets_go_of_a_key_is_told(film):
    lacking = [without(frame, *PARTS["the key"]) for frame in film]
    assert list(film_differences(SCENE, lacking, film)) == ["the key is let go 0 times"]


def test_an_overlay_that_stays_is_told(film):
    spoken = moments(SCENE, film)[2]
    staying = film[:-1] + [without(spoken, *PARTS["the key"])]
    assert list(film_differences(SCENE, staying, film))
