"""Engines switched inside the running program."""

import os

from editors import Terminal
from local_model import ENGINE_ID, LocalModel, engine_processes
from program import Program, assert_arrived
from waiting import wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"


def test_each_dictation_uses_the_engine_that_is_selected_when_it_begins(desktop, request):
    model = LocalModel(desktop)
    orders = desktop.folder / "orders"
    os.mkfifo(orders)
    script = desktop.folder / "switching"
    script.write_text(f"#!/bin/sh\nexec {request.config.getoption('--switching')} 0<>{orders}\n")
    script.chmod(0o755)
    program = Program(desktop, script, settings=model.settings())
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
