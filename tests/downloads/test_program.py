"""The unchanged program where the hub is at home."""

import pathlib

from program import Program
from virtual_desktop import VirtualDesktop
from waiting import stays

ARTEFACTS = pathlib.Path(__file__).resolve().parent.parent.parent / "build" / "artefacts"


def test_it_asks_the_network_for_nothing_by_itself(request, hub, files):
    hub.publish(files)
    binary = request.config.getoption("--vorlin").resolve()
    with VirtualDesktop(artefacts=ARTEFACTS / request.node.name) as desktop:
        program = Program(desktop, binary, settings={"recordMode": "toggle", "sounds": False})
        desktop.keyboard.tap("Alt_R")
        program.await_recording()
        desktop.keyboard.tap("Escape")
        assert stays(lambda: hub.connections == 0, 3.0)
        assert program.process.poll() is None
