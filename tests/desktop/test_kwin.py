"""What is KWin's alone: it tells a program which modifiers are down whose desktop entry asks for
that."""

import pathlib

import pytest

from kwin_desktop import KWinDesktop
from portal_session import APP_IDS
from program import Program
from waiting import wait_until

PACKAGING = pathlib.Path(__file__).resolve().parents[2] / "packaging" / "linux"
TELLS_MODIFIERS = "org_kde_kwin_keystate"
# Without one it knows no entries.
MENU = """<!DOCTYPE Menu PUBLIC "-//freedesktop//DTD Menu 1.0//EN"
 "http://www.freedesktop.org/standards/menu-spec/1.0/menu.dtd">
<Menu><Name>Applications</Name><DefaultAppDirs/><Include><All/></Include></Menu>
"""


class StrictKWin(KWinDesktop):
    """As people have it: no program has what its entry does not ask for. Nobody is at the keyboard,
    for which the other one is lenient. `entries` are the program's, by their names."""

    session_variables = {name: value for name, value in KWinDesktop.session_variables.items()
                         if name != "KWIN_WAYLAND_NO_PERMISSION_CHECKS"}
    entries = {}

    def start_person(self):
        pass

    def _install_entries(self):
        for folder, files in (("menus", {"plasma-applications.menu": MENU}),
                              ("applications", self.entries)):
            parent = self.config_folder if folder == "menus" else self.data_folder
            (parent / folder).mkdir(parents=True)
            for name, text in files.items():
                (parent / folder / name).write_text(text)


def entries_of(program, without):
    """As an installation makes them, but for the lines that have `without` in them."""
    texts = {}
    for app_id in APP_IDS:
        template = (PACKAGING / f"{app_id}.desktop.in").read_text()
        lines = template.replace("@program@", str(program)).splitlines(keepends=True)
        texts[f"{app_id}.desktop"] = "".join(
            line for line in lines if not without or without not in line)
    return texts


@pytest.mark.parametrize("asks", [True, False])
def test_which_modifiers_are_down_is_told_to_the_program_by_its_entry(artefacts, request, asks):
    program = request.config.getoption("--program").resolve()
    log = artefacts / "vorlin.log"
    log.unlink(missing_ok=True)
    desktop = StrictKWin(artefacts=artefacts)
    desktop.entries = entries_of(program, without=None if asks else TELLS_MODIFIERS)
    with desktop:
        desktop.environment["WAYLAND_DEBUG"] = "client"
        Program(desktop, program)
        wait_until(lambda: "wl_seat" in log.read_text(), "KWin to say what it has")
        assert (TELLS_MODIFIERS in log.read_text()) == asks
