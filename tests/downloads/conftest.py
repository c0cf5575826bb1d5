"""What every download test starts from: a hub, and the catalog in a home of its own."""

import os
import pathlib

import pytest

from catalog import Catalog
from hub import Hub, model

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def pytest_addoption(parser):
    parser.addoption("--program", type=pathlib.Path,
                     default=ROOT / "build/release/tests/downloads/download_program",
                     help="the catalog under test")
    parser.addoption("--vorlin", type=pathlib.Path,
                     default=ROOT / "build/release/src/App/Linux/vorlin", help="the whole program")
    parser.addoption("--rounds", type=int, default=3, help="how often it is killed")


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
