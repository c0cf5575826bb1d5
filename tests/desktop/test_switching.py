"""Engines switched inside the running program, and what its catalog says of them."""

import os

import pytest

from editors import Terminal
from local_model import ENGINE_ID, LocalModel, engine_processes
from program import Program, assert_arrived
from waiting import wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"


@pytest.fixture(name="orders")
def _orders(desktop):
    """The pipe that says which engine to select."""
    pipe = desktop.folder / "orders"
    os.mkfifo(pipe)
    return pipe


@pytest.fixture(name="start")
def _start(desktop, request, orders):
    """Starts the program with a hand on its catalog."""
    script = desktop.folder / "switching"
    script.write_text(f"#!/bin/sh\nexec {request.config.getoption('--switching')} 0<>{orders}\n")
    script.chmod(0o755)
    return lambda settings: Program(desktop, script, settings=settings)


def test_a_selected_folder_that_is_refused_gives_way_and_says_which_file_and_why(desktop, start,
                                                                                artefacts):
    model = LocalModel(desktop)
    program_text = model.folder / "Decoder.mlmodelc" / "model.mil"
    program_text.unlink()
    program_text.symlink_to("/dev/zero")
    program = start(model.settings())
    wait_until(lambda: '"apple"' in program.settings_file.read_text(), "the selection to fall back")
    said = "catalog: Small cannot be used. Missing: Decoder.mlmodelc (model.mil leads to a device)."
    wait_until(lambda: said in (artefacts / "vorlin.log").read_text(), "the line")


def test_each_dictation_uses_the_engine_that_is_selected_when_it_begins(desktop, start, orders):
    model = LocalModel(desktop)
    program = start(model.settings())
    terminal = Terminal(desktop)

    def arrived(before):
        wait_until(lambda: len(terminal.text()) > len(before), "the dictated text", 60)
        assert terminal.text().startswith(before)
        return terminal.text()[len(before):]

    def select(engine):
        with open(orders, "w", encoding="utf-8") as pipe:
            pipe.write(f"{engine}\n")
        wait_until(lambda: f'"engine": "{engine}"' in program.settings_file.read_text(),
                   f"{engine} to be selected")

    def dictate_locally(utterance):
        before = terminal.text()
        with desktop.keyboard.held("Alt_R"):
            program.await_recording()
            desktop.sound.play(model.recording([utterance], "one"))
        # The local engine hears every word of its own recordings; the built-in one does not.
        wait_until(lambda: len(terminal.text()) >= len(before + utterance["text"]),
                   "the dictated text", 60)
        assert terminal.text() == before + utterance["text"]

    def dictate_with_the_builtin():
        before = terminal.text()
        program.dictate(SENTENCE)
        assert_arrived(SENTENCE, arrived(before))

    wait_until(lambda: engine_processes(program), "the local engine to be warmed")
    dictate_locally(model.utterances[0])
    select("apple")
    dictate_with_the_builtin()
    select(ENGINE_ID)
    dictate_locally(model.utterances[4])
    assert program.quit() == 0
