"""What an installation brings: nothing is missing, nothing is too much, and the program that starts
from there finds what belongs to it."""

import os
import pathlib
import subprocess

from editors import Terminal
from installed_files import FILES, PROGRAM
from local_model import LocalModel, engine_processes
from program import Program


def test_it_is_complete_and_dictates_by_the_engine_that_came_with_it(desktop, request, tmp_path):
    build = request.config.getoption("--program").resolve().parents[3]
    subprocess.run(["cmake", "--install", build, "--prefix", tmp_path], check=True,
                   stdout=subprocess.DEVNULL)
    assert {str(path.relative_to(tmp_path)) for path in tmp_path.rglob("*")
            if path.is_file()} == FILES
    for entry in tmp_path.rglob("*.desktop"):
        subprocess.run(["desktop-file-validate", entry], check=True)
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
