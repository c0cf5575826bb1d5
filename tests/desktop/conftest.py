"""What every desktop test starts from: a desktop of its own and the unchanged program in it."""

import pathlib

import pytest

from controls import Controls
from matrix import Matrix
from program import Program
from settings_window import SettingsWindow
from virtual_desktop import VirtualDesktop
from waiting import wait_until

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
    parser.addoption("--person", type=pathlib.Path,
                     default=ROOT / "build" / "release" / "tests/desktop/wayland_person",
                     help="what presses keys in a Wayland session")
    parser.addoption("--owner", type=pathlib.Path,
                     default=ROOT / "build" / "release" / "tests/desktop/wayland_owner",
                     help="what has copied something in a Wayland session")
    parser.addoption("--switching", type=pathlib.Path,
                     default=ROOT / "build" / "release" / "src/App/Linux/switching_program",
                     help="the program with a hand on its engine catalog")
    parser.addoption("--matrix", type=pathlib.Path,
                     help="file that what works where is added to")


def pytest_configure(config):
    config.addinivalue_line("markers", "matrix(table, row, column): a cell; see matrix.py")
    path = config.getoption("--matrix")
    config.matrix = Matrix(path) if path else None


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item):
    report = (yield).get_result()
    if item.config.matrix:
        item.config.matrix.note(item, report)


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


class Stage:
    """The program in a desktop with a screen reader's means.

    `settings` become its settings file; the others are options of the desktop.
    """

    def __init__(self, binary, artefacts, settings=None, **options):
        self.desktop = VirtualDesktop(artefacts=artefacts, accessible=True, variables={
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}, **options).__enter__()
        try:
            self.program = Program(self.desktop, binary, settings=settings)
            self.window = SettingsWindow(self.desktop, self.program)
        except BaseException:
            self.close()
            raise

    def open_settings(self, tab="General"):
        """Opens the window on a tab; returns its controls."""
        self.window.open()
        controls = Controls(self.desktop)
        controls.press(tab)
        wait_until(lambda: controls.is_checked(tab), f"the tab {tab}")
        return controls

    def close(self):
        if self.desktop.x is not None:
            self.desktop.screenshot("end")
        self.desktop.close()


@pytest.fixture(name="stage")
def _stage(artefacts, request):
    """Starts the program on a stage of its own."""
    stages = []

    def begin(**options):
        stages.append(Stage(request.config.getoption("--program"), artefacts, **options))
        return stages[-1]

    yield begin
    for stage in stages:
        stage.close()
