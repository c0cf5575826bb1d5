"""A speech model in a folder of this machine: selected, dictated with, broken."""

import os
import shutil
import signal

from editors import GTKEditor, Terminal
from local_model import TOKEN_THE, LocalModel, engine_processes
from overlay import Overlay
from program import Program, assert_arrived, wrong_words
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"


def dictate(desktop, program, wav):
    """Holds the key while a recording plays."""
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        desktop.sound.play(wav)


def text_of(utterances):
    return " ".join(each["text"] for each in utterances)


def test_its_sentences_arrive_word_for_word(desktop, launch):
    model = LocalModel(desktop)
    program = launch(settings=model.settings())
    terminal = Terminal(desktop)
    expected = ""
    for utterance in model.utterances[:4] + model.utterances[-2:]:
        dictate(desktop, program, model.recording([utterance], "one"))
        expected += utterance["text"]
        wait_until(lambda: len(terminal.text()) >= len(expected), "the dictated text", 60)
        assert terminal.text() == expected
    assert len(engine_processes(program)) == 1


def test_several_lines_come_into_a_terminal_as_one_that_nothing_runs(desktop, launch):
    model = LocalModel(desktop)
    model.write_for(TOKEN_THE, "\r\ntouch ran\n\x03")
    program = launch(settings=model.settings())
    terminal = Terminal(desktop)
    dictate(desktop, program, model.recording(model.utterances[:1], "one"))
    assert terminal.await_text(60) == "I will be in touch ran office at seven."


def test_a_model_made_of_links_into_a_store_is_dictated_with(desktop, launch):
    model = LocalModel(desktop)
    model.become_links()
    assert not [path for path in model.folder.rglob("*")
                if path.is_file() and not path.is_symlink()]
    program = launch(settings=model.settings())
    terminal = Terminal(desktop)
    utterance = model.utterances[0]
    dictate(desktop, program, model.recording([utterance], "one"))
    assert terminal.await_text(60) == utterance["text"]
    assert len(engine_processes(program)) == 1


def test_a_model_whose_links_lead_to_a_device_is_not_taken_for_one(desktop, launch):
    model = LocalModel(desktop)
    model.become_links()
    program_text = model.folder / "Decoder.mlmodelc" / "model.mil"
    program_text.unlink()
    program_text.symlink_to("/dev/zero")
    program = launch(settings=model.settings())
    # The built-in recogniser takes over, and stays chosen.
    wait_until(lambda: '"apple"' in program.settings_file.read_text(), "the selection to fall back")
    terminal = Terminal(desktop)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())
    assert not engine_processes(program)


def capsule_width(overlay):
    """How much of the overlay's middle row is not what lies behind it."""
    if not overlay.is_shown():
        return 0
    rows = overlay.pixels()
    row = rows[len(rows) // 2]
    return sum(pixel != row[0] for pixel in row)


def test_drafts_are_shown_while_the_key_is_still_held(desktop, launch):
    model = LocalModel(desktop)
    program = launch(settings=model.settings())
    terminal = Terminal(desktop)
    overlay = Overlay(desktop)
    utterance = model.utterances[5]  # a long sentence
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        overlay.await_shown()
        desktop.sound.play(model.recording([utterance], "one"))
        # A sentence is wider than the waveform, and nothing has been typed.
        wait_until(lambda: capsule_width(overlay) > 320, "a draft in the overlay")
        overlay.picture("draft")
        assert terminal.text() == ""
    assert terminal.await_text(60) == utterance["text"]


def test_a_long_dictation_is_cut_at_its_pauses_and_keeps_every_word(desktop, launch):
    model = LocalModel(desktop)
    program = launch(settings=model.settings())
    editor = GTKEditor(desktop)
    spoken = model.several_by("slt")  # each longer than 8 s
    dictate(desktop, program, model.recording(spoken, "long", pause=0.55))
    assert editor.await_text(90) == text_of(spoken)


def test_speech_without_pauses_is_cut_and_loses_words_only_at_the_seam(desktop, launch):
    model = LocalModel(desktop)
    program = launch(settings=model.settings())
    editor = GTKEditor(desktop)
    spoken = model.several_by("slt")
    recording = model.recording(spoken, "breathless", pause=0, murmur=True)
    dictate(desktop, program, recording)
    text = editor.await_text(90)
    expected = text_of(spoken)
    assert text[:60] == expected[:60]
    assert text[-20:] == expected[-20:]
    seams = int(sum(each["seconds"] for each in spoken) // 14)
    assert wrong_words(expected, text) <= 4 * seams, text


def test_escape_drops_everything(desktop, launch):
    model = LocalModel(desktop)
    program = launch(settings=model.settings())
    terminal = Terminal(desktop)
    spoken = model.recording(model.several_by("slt")[:1], "long")
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        desktop.sound.play(spoken)
        desktop.keyboard.tap("Escape")
        program.await_silence()
    assert stays(lambda: not terminal.changed(), 2)
    dictate(desktop, program, model.recording(model.utterances[:1], "next"))
    assert terminal.await_text(60) == model.utterances[0]["text"]


def with_one_text_dictated(desktop, launch):
    """The model, the program, a terminal and the utterance that already stands in it."""
    model = LocalModel(desktop)
    program = launch(settings=model.settings())
    terminal = Terminal(desktop)
    first = model.utterances[0]
    dictate(desktop, program, model.recording([first], "first"))
    assert terminal.await_text(60) == first["text"]
    return model, program, terminal, first


def next_text(terminal, first):
    """What arrives behind the first utterance, which must still stand there."""
    wait_until(lambda: len(terminal.text()) > len(first["text"]), "the next text", 60)
    assert terminal.text().startswith(first["text"])
    return terminal.text()[len(first["text"]):]


def test_a_killed_engine_costs_its_utterance_only(desktop, launch):
    model, program, terminal, first = with_one_text_dictated(desktop, launch)
    second, third = model.utterances[4], model.utterances[8]

    # Held up, so that the final transcription cannot be over before the kill.
    engine = engine_processes(program)[0]
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        desktop.sound.play(model.recording([second], "second"))
        os.kill(engine, signal.SIGSTOP)
    program.await_silence()
    # By then it has the final transcription to do: an engine lost before that is started anew, and
    # the words are not lost.
    assert stays(lambda: terminal.text() == first["text"], 2)
    os.kill(engine, signal.SIGKILL)
    assert stays(lambda: terminal.text() == first["text"], 2)

    dictate(desktop, program, model.recording([third], "third"))
    assert next_text(terminal, first) == third["text"]
    assert engine not in engine_processes(program)


def test_an_engine_that_answers_nonsense_costs_its_utterance_only(desktop, request, artefacts):
    binary = request.config.getoption("--program")
    folder = desktop.folder / "bin"
    folder.mkdir()
    honest = folder / "honest"
    engine = folder / "vorlin-engine"
    engine.write_text(
        f"#!/bin/sh\nreal={binary.parent}/vorlin-engine\n[ -e {honest} ] && exec $real\n"
        f"exec env LD_PRELOAD={request.config.getoption('--forgetful-engine')} $real\n")
    engine.chmod(0o755)
    shutil.copy(binary, folder)
    model = LocalModel(desktop)
    program = Program(desktop, folder / "vorlin", settings=model.settings())
    terminal = Terminal(desktop)
    overlay = Overlay(desktop)
    first, second = model.utterances[0], model.utterances[4]

    dictate(desktop, program, model.recording([first], "first"))
    program.await_silence()
    overlay.await_shown()
    assert stays(lambda: terminal.text() == "", 2)
    overlay.picture("nonsense")

    honest.touch()
    dictate(desktop, program, model.recording([second], "second"))
    assert terminal.await_text(60) == second["text"]
    assert program.quit() == 0
    assert "nonsense" not in (artefacts / "vorlin.log").read_text()


def test_an_engine_killed_while_somebody_speaks_costs_nothing(desktop, launch):
    model, program, terminal, first = with_one_text_dictated(desktop, launch)
    second = model.utterances[4]
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        playing = desktop.sound.begin_playing(model.recording([second], "second"))
        # Long before its end: who kills the final transcription takes the words with it.
        os.kill(engine_processes(program)[0], signal.SIGKILL)
        playing.wait(60)
    assert next_text(terminal, first) == second["text"]


def test_an_engine_killed_between_dictations_costs_nothing(desktop, launch):
    model, program, terminal, first = with_one_text_dictated(desktop, launch)
    second = model.utterances[4]
    os.kill(engine_processes(program)[0], signal.SIGKILL)
    dictate(desktop, program, model.recording([second], "second"))
    assert next_text(terminal, first) == second["text"]


def test_a_folder_that_vanishes_is_dictated_with_until_the_end_and_then_given_up(desktop, launch):
    model = LocalModel(desktop)
    program = launch(settings=model.settings())
    terminal = Terminal(desktop)
    utterance = model.utterances[0]
    dictate(desktop, program, model.recording([utterance], "first"))
    assert terminal.await_text(60) == utterance["text"]
    shutil.rmtree(model.folder)
    dictate(desktop, program, model.recording([utterance], "first"))
    wait_until(lambda: terminal.text() == utterance["text"] * 2, "the text once more", 60)

    assert program.quit() == 0
    assert not engine_processes(program)
    program.start()
    # The built-in recogniser takes over, and stays chosen.
    wait_until(lambda: '"apple"' in program.settings_file.read_text(), "the selection to fall back")
    program.dictate(SENTENCE)
    before = len(terminal.text())
    wait_until(lambda: len(terminal.text()) > before, "the dictated text", 60)
    assert_arrived(SENTENCE, terminal.text()[before:])


def test_the_builtin_recogniser_can_be_chosen_again(desktop, launch):
    model = LocalModel(desktop)
    program = launch(settings=model.settings(engine="apple"))
    terminal = Terminal(desktop)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())
    assert not engine_processes(program)


def test_the_engine_ends_with_the_program_however_it_ends(desktop, launch):
    model = LocalModel(desktop)
    program = launch(settings=model.settings())
    engine = wait_until(lambda: engine_processes(program), "the engine to be warmed")[0]
    program.process.kill()
    program.process.wait()
    wait_until(lambda: not os.path.exists(f"/proc/{engine}"), "the engine to end")
