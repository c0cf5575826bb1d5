"""What every download test starts from: a hub, and the catalog in a home of its own."""

import os
import pathlib
import socket

import pytest

from catalog import Catalog
from hub import Hub, model
from models_tab import REDUX_NAME, ULTRA_NAME, ModelsTab
from waiting import wait_until

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def pytest_addoption(parser):
    parser.addoption("--program", type=pathlib.Path,
                     default=ROOT / "build/release/tests/downloads/download_program",
                     help="the catalog under test")
    parser.addoption("--vorlin", type=pathlib.Path,
                     default=ROOT / "build/release/src/App/Linux/vorlin", help="the whole program")
    parser.addoption("--rounds", type=int, default=20, help="how often it is killed")


@pytest.fixture(name="hub")
def _hub():
    assert "HUB_FOLDER" in os.environ, "run this by confined.py"
    with Hub() as hub:
        yield hub


@pytest.fixture(name="files")
def _files():
    return model()


@pytest.fixture(name="start")
def _start(request, tmp_path):
    """Starts the catalog; again, in the same home."""
    started = []

    def start(home=tmp_path, **options):
        started.append(Catalog(request.config.getoption("--program").resolve(), home, **options))
        return started[-1]
    yield start
    for each in started:
        each.close()


@pytest.fixture(name="catalog")
def _catalog(start):
    """The catalog; afterwards nothing half-done may be left, on the disk or in the program."""
    catalog = start()
    before = catalog.descriptors()
    yield catalog
    assert catalog.process.poll() is None, catalog.process.stderr.read()
    catalog.await_rest(before)
    assert catalog.partial() == []


@pytest.fixture(name="silent_names")
def _silent_names():
    """Where names are asked for and never answered; says that one was."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as names:
        names.bind(("127.0.0.1", 53))
        yield lambda: names.recv(512)


@pytest.fixture(name="tabs", scope="module")
def _tabs(request):
    """The whole program with its settings open, for one test after the other: what one leaves
    behind another would find. Started anew where a test has failed."""
    begun = []

    def tab():
        if not begun or not begun[-1].is_at_rest():
            begun.append(ModelsTab.begin(request, f"{request.node.path.stem}-{len(begun)}"))
        return begun[-1]
    yield tab
    for each in begun:
        each.close()


@pytest.fixture(name="tab")
def _tab(tabs):
    """The settings' list of engines, none of them installed; afterwards nothing half-done may be
    left, on the disk or in the program."""
    tab = tabs()
    process, before = tab.process, tab.descriptors()
    yield tab
    assert tab.process.poll() is None
    for name in (ULTRA_NAME, REDUX_NAME):
        if tab.state(name) == "installed":
            tab.delete(name)
            tab.await_state(name, "not installed")
    wait_until(lambda: tab.partial() == [], "the working folders to go")
    if tab.process is process:
        tab.await_rest(before)
