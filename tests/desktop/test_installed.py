"""What an installation brings: nothing is missing, nothing is too much, and the program that starts
from there finds what belongs to it."""

import configparser
import os
import pathlib
import subprocess

from editors import Terminal
from installed_files import FILES, PROGRAM
from local_model import LocalModel, engine_processes
from program import Program


def install(request, prefix, **environment):
    build = request.config.getoption("--program").resolve().parents[3]
    subprocess.run(["cmake", "--install", build, "--prefix", prefix], check=True,
                   stdout=subprocess.DEVNULL, env={**os.environ, **environment})


def assert_entries(below, program):
    """They start `program`, and ask KWin for which modifiers are down: both files, for it goes by
    either."""
    entries = sorted(below.rglob("*.desktop"))
    assert [path.name for path in entries] == ["org.vorlin.Vorlin.Escape.desktop",
                                               "org.vorlin.Vorlin.desktop"]
    for path in entries:
        subprocess.run(["desktop-file-validate", path], check=True)
        parser = configparser.ConfigParser(interpolation=None)
        parser.optionxform = str
        parser.read(path)
        entry = parser["Desktop Entry"]
        assert entry["Exec"] == str(program)
        assert entry["X-KDE-Wayland-Interfaces"] == "org_kde_kwin_keystate"


def test_its_entries_name_the_program_wherever_it_is_installed(request, tmp_path):
    for prefix in (tmp_path / "one", tmp_path / "another"):
        install(request, prefix)
        assert_entries(prefix, prefix / PROGRAM)
        assert (prefix / PROGRAM).exists()


def test_its_entries_name_the_program_as_it_will_be_once_it_is_unpacked(request, tmp_path):
    install(request, "/usr", DESTDIR=str(tmp_path))
    assert_entries(tmp_path, pathlib.Path("/usr") / PROGRAM)


def test_it_is_complete_and_dictates_by_the_engine_that_came_with_it(desktop, request, tmp_path):
    install(request, tmp_path)
    assert {str(path.relative_to(tmp_path)) for path in tmp_path.rglob("*")
            if path.is_file()} == FILES
    model = LocalModel(desktop)
    program = Program(desktop, tmp_path / PROGRAM, settings=model.settings())
    terminal = Terminal(desktop)
    utterance = model.utterances[0]
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        desktop.sound.play(model.recording([utterance], "one"))
    assert terminal.await_text(60) == utterance["text"]
    engine, = engine_processes(program)
    assert pathlib.Path(os.readlink(f"/proc/{engine}/exe")) == (
        tmp_path / "libexec/vorlin/vorlin-engine")
