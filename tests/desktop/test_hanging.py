"""Things that stop answering: dictation with others goes on, and the program still ends by itself,
without the deadline that would cut its end short, wherever nothing but a thread of its own waits.

How long each end took is printed, and kept as `quit.txt` among the test's artefacts."""

import json
import os
import pathlib
import shutil
import signal
import time

import pytest

from editors import GTKEditor
from local_model import LocalModel, engine_processes
from program import Program, assert_arrived
from tray import Panel
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
CUT_SHORT = "something hangs"
NO_ANSWER = "the disk does not answer"
RECOGNISER_MODEL = pathlib.Path("/usr/share/pocketsphinx/model/en-us")


@pytest.fixture(name="start")
def _start(desktop, request):
    """Starts the program with things of its own replaced or preloaded."""
    binary = pathlib.Path(request.config.getoption("--program"))

    def script(name, text):
        path = desktop.folder / "bin" / name
        path.parent.mkdir(exist_ok=True)
        path.write_text(f"#!/bin/sh\n{text}\n")
        path.chmod(0o755)
        return path

    def start(settings, hanging_folder=None, hanging_looks=False, engine=None):
        if engine is not None:
            script("vorlin-engine", engine)
            binary_here = desktop.folder / "bin" / "vorlin"
            binary_here.write_bytes(binary.read_bytes())
            binary_here.chmod(0o755)
            return Program(desktop, binary_here, settings)
        variables = [f"LD_PRELOAD={request.config.getoption('--hanging-disk')}",
                     f"HANGING_FOLDER={hanging_folder}"]
        if hanging_looks:
            variables.append("HANGING_LOOKS=yes")
        return Program(desktop, script("started", f"exec env {' '.join(variables)} {binary}"),
                       settings)

    return start


def end(program, artefacts, ask=Program.quit):
    """Ends it; returns its status and what it said. Notes how long that took."""
    log = artefacts / "vorlin.log"
    earlier = len(log.read_text())
    before = time.monotonic()
    status = ask(program)
    seconds = time.monotonic() - before
    (artefacts / "quit.txt").write_text(f"{seconds:.3f} s\n")
    print(f"ended after {seconds:.3f} s")
    return status, log.read_text()[earlier:]


def assert_ends_by_itself(program, artefacts):
    status, said = end(program, artefacts)
    assert status == 0, said
    assert CUT_SHORT not in said


def records_after_a_tap(desktop, program):
    desktop.keyboard.tap("Alt_R")
    return not stays(lambda: not program.is_recording(), 1) and stays(program.is_recording, 1)


class RecogniserModelOnAPipe:
    """The recogniser's model in the person's own folder, where one of its files is a pipe: whoever
    loads it waits."""

    def __init__(self, desktop):
        folder = desktop.data_folder / "Vorlin" / "Speech" / RECOGNISER_MODEL.name
        shutil.copytree(RECOGNISER_MODEL, folder, copy_function=os.symlink)
        self.file = folder / "en-us" / "feat.params"
        self.whole = self.file.read_bytes()
        self.file.unlink()
        os.mkfifo(self.file)
        self.writer = None

    def _open(self):
        try:
            self.writer = os.open(self.file, os.O_WRONLY | os.O_NONBLOCK)
        except OSError:  # nobody reads it
            return False
        return True

    def await_load(self):
        wait_until(self._open, "the recogniser's model to be loaded")

    def answer(self):
        """Gives what was waited for, and an ordinary file to whoever comes next."""
        ordinary = self.file.with_suffix(".whole")
        ordinary.write_bytes(self.whole)
        ordinary.rename(self.file)
        try:
            os.write(self.writer, self.whole)
        except BrokenPipeError:
            pass  # between two looks at it
        os.close(self.writer)


def state_of(process):
    with open(f"/proc/{process}/stat", encoding="ascii") as stat:
        return stat.read().rpartition(")")[2].split()[0]


def test_a_disk_that_never_answers_costs_the_engine_on_it_and_nothing_else(desktop, start,
                                                                         artefacts):
    model = LocalModel(desktop)
    program = start(model.settings(), hanging_folder=model.folder, hanging_looks=True)
    editor = GTKEditor(desktop)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, editor.await_text())
    program.settings_file.write_text(json.dumps({"recordMode": "toggle"}))
    wait_until(lambda: records_after_a_tap(desktop, program), "the setting to be seen")
    assert_ends_by_itself(program, artefacts)


def test_a_disk_that_stops_answering_before_the_load_does_not_hold_up_the_end(desktop, start,
                                                                            artefacts):
    model = LocalModel(desktop)
    program = start(model.settings(), hanging_folder=model.folder)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
    program.await_silence()  # the words wait for the model now
    assert not engine_processes(program)
    assert program.answers()
    assert_ends_by_itself(program, artefacts)


def test_the_words_arrive_once_the_disk_of_the_recogniser_answers(desktop, launch):
    model = RecogniserModelOnAPipe(desktop)
    program = launch()
    editor = GTKEditor(desktop)
    program.dictate(SENTENCE)
    program.await_silence()
    model.await_load()
    assert program.answers()
    model.answer()
    assert_arrived(SENTENCE, editor.await_text())


@pytest.mark.parametrize("dictating", [False, True])
def test_a_recogniser_model_that_never_loads_does_not_hold_up_the_end(desktop, launch, artefacts,
                                                                      dictating):
    model = RecogniserModelOnAPipe(desktop)
    program = launch()
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        model.await_load()
        if dictating:
            assert_ends_by_itself(program, artefacts)
            return
    program.await_silence()  # the words wait for the model now
    assert program.answers()
    assert_ends_by_itself(program, artefacts)


def test_a_folder_of_the_recogniser_that_never_answers_holds_up_nothing(desktop, start, artefacts):
    folder = desktop.data_folder / "Vorlin" / "Speech"
    folder.mkdir(parents=True)
    program = start({"recordMode": "toggle"}, hanging_folder=folder, hanging_looks=True)
    log = artefacts / "vorlin.log"
    earlier = len(log.read_text())

    def looks():
        return log.read_text()[earlier:].count(NO_ANSWER)

    for _ in range(2):
        desktop.keyboard.tap("Alt_R")
        wait_until(looks, "the recogniser to be looked for")
        assert program.answers()
        desktop.keyboard.tap("Escape")
    assert looks() == 1  # whoever comes later waits with the first
    assert_ends_by_itself(program, artefacts)


def test_an_engine_that_never_answers_does_not_hold_up_the_end(desktop, start, artefacts):
    model = LocalModel(desktop)
    program = start(model.settings(), engine="kill -STOP $$")
    engine = wait_until(lambda: engine_processes(program), "the engine to be started")[0]
    wait_until(lambda: state_of(engine) == "T", "the engine to halt")
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
    program.await_silence()
    assert_ends_by_itself(program, artefacts)
    wait_until(lambda: not os.path.exists(f"/proc/{engine}"), "the engine to end")


def test_an_engine_halted_in_a_dictation_does_not_hold_up_the_end(desktop, launch, artefacts):
    model = LocalModel(desktop)
    program = launch(settings=model.settings())
    engine = wait_until(lambda: engine_processes(program), "the engine to be warmed")[0]
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        desktop.sound.play(model.recording(model.utterances[:1], "one"))
        os.kill(engine, signal.SIGSTOP)
    program.await_silence()
    assert_ends_by_itself(program, artefacts)
    wait_until(lambda: not os.path.exists(f"/proc/{engine}"), "the engine to end")


@pytest.mark.parametrize("dictating", [False, True])
def test_a_halted_sound_server_does_not_hold_up_the_end(desktop, launch, artefacts, dictating):
    program = launch()
    server = desktop.sound.process.pid
    if dictating:
        with desktop.keyboard.held("Alt_R"):
            program.await_recording()
            os.kill(server, signal.SIGSTOP)
    else:
        os.kill(server, signal.SIGSTOP)
    try:
        assert_ends_by_itself(program, artefacts)
    finally:
        os.kill(server, signal.SIGCONT)


@pytest.mark.parametrize("dictating", [False, True])
def test_a_halted_message_bus_holds_up_neither_the_words_nor_the_end(desktop, launch, artefacts,
                                                                   dictating):
    program = launch()
    editor = GTKEditor(desktop)
    bus = next(each for each in desktop.processes if each.args[0] == "dbus-daemon")
    os.kill(bus.pid, signal.SIGSTOP)
    try:
        if dictating:
            program.dictate(SENTENCE)
            assert_arrived(SENTENCE, editor.await_text())
        assert_ends_by_itself(program, artefacts)
    finally:
        os.kill(bus.pid, signal.SIGCONT)


@pytest.mark.parametrize("how", ["signal", "menu"])
def test_where_the_display_server_is_halted_the_end_is_cut_short(desktop, launch, artefacts, how):
    panel = Panel(desktop)
    program = launch()
    panel.await_item()
    panel.entries()  # as a panel reads them, ahead of the click

    def quit_in_the_menu(program):
        panel.click("Quit Vorlin")
        return program.process.wait(30)

    display = next(each for each in desktop.processes if each.args[0] == "Xvfb")
    display.send_signal(signal.SIGSTOP)
    try:
        status, said = end(program, artefacts, quit_in_the_menu if how == "menu" else Program.quit)
    finally:
        display.send_signal(signal.SIGCONT)
    assert status == 1
    assert said.count("\n") == 1 and CUT_SHORT in said
