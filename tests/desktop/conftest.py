"""What every desktop test starts from: a desktop of its own and the unchanged program in it."""

import pathlib

import pytest

from program import Program
from virtual_desktop import VirtualDesktop

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def pytest_addoption(parser):
    parser.addoption("--program", default=ROOT / "build" / "release" / "src/App/Linux/vorlin",
                     type=pathlib.Path, help="the program under test")
    parser.addoption("--hanging-disk", type=pathlib.Path,
                     default=ROOT / "build" / "release" / "tests/desktop/libhanging_disk.so",
                     help="what makes a disk hang for the program it is preloaded into")
    parser.addoption("--forgetful-engine", type=pathlib.Path,
                     default=ROOT / "build" / "release" / "tests/desktop/libforgetful_engine.so",
                     help="what makes the engine answer nonsense that it is preloaded into")
    parser.addoption("--switching", type=pathlib.Path,
                     default=ROOT / "build" / "release" / "src/App/Linux/switching_program",
                     help="the program with a hand on its engine catalog")


@pytest.fixture(name="artefacts")
def _artefacts(request):
    return ROOT / "build" / "artefacts" / request.node.name


@pytest.fixture(name="desktop")
def _desktop(artefacts):
    """A desktop; when the test fails, a picture of how it ended is among its artefacts."""
    with VirtualDesktop(artefacts=artefacts) as desktop:
        yield desktop
        if desktop.x is not None:
            desktop.screenshot("end")


@pytest.fixture(name="launch")
def _launch(desktop, request):
    """Starts the program in the desktop, with settings if given."""
    binary = request.config.getoption("--program")
    return lambda **settings: Program(desktop, binary, **settings)
