"""The unchanged program where the hub is at home."""

from program import Program
from models_tab import ARTEFACTS, ModelsTab
from virtual_desktop import VirtualDesktop
from waiting import stays, wait_until

# What only the tab of this name shows.
TABS = {"General": "Play sounds", "Popup": "Distance from edge", "Permissions": "Microphone",
        "About": "Vorlin", "Models": "Add model…"}


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


def test_it_asks_the_network_for_nothing_while_its_settings_are_looked_at(request, hub, files):
    hub.publish(files)
    tab = ModelsTab.begin(request, request.node.name)
    try:
        tab.put_model()
        for name, shown in TABS.items():
            tab.show(name)
            wait_until(lambda shown=shown: tab.find(shown), f"the tab {name}")
        assert stays(lambda: hub.connections == 0, 1.0)
        tab.download()
        wait_until(lambda: hub.connections > 0, "what a press asks for")
    finally:
        tab.close()
