"""Press, speak, release: the words stand in the program that has the keyboard."""

import pytest

from editors import GTKEditor, QtEditor, Terminal
from program import assert_arrived, assert_heard, words
from sound_server import speech
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"
OTHER = "the weather will be warm and sunny for the rest of the week"


@pytest.mark.parametrize("editor_type", [QtEditor, GTKEditor, Terminal])
def test_the_words_arrive_in(editor_type, desktop, launch):
    program = launch()
    editor = editor_type(desktop)
    program.dictate(SENTENCE)
    assert_heard(SENTENCE, editor.await_text())
    desktop.screenshot("typed")
    assert not desktop.keyboard.down()


def test_the_first_dictation_soon_after_the_start_loses_no_word(desktop, launch):
    editor = GTKEditor(desktop)
    program = launch()
    program.dictate(SENTENCE)
    heard = editor.await_text()
    assert_heard(SENTENCE, heard)
    assert words(heard)[:2] == words(SENTENCE)[:2]
    assert words(heard)[-2:] == words(SENTENCE)[-2:]


def test_ten_dictations_in_a_row_all_arrive(desktop, launch):
    program = launch(settings={"sounds": False})
    terminal = Terminal(desktop)
    length = 0
    for count in range(10):
        said = SENTENCE if count % 2 == 0 else OTHER
        program.dictate(said)
        wait_until(lambda: terminal.path.stat().st_size > length, f"dictation {count + 1}")
        text = terminal.await_text()
        assert_arrived(said, text[length:])
        length = len(text)


def test_several_sentences_with_pauses_keep_their_words(desktop, launch):
    program = launch()
    editor = GTKEditor(desktop)
    said = [SENTENCE, OTHER, "he has been working for the same company for twenty years"]
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        for sentence in said:
            program.say(sentence, pause=0.8)
    assert_heard(" ".join(said), editor.await_text())


def test_in_toggle_mode_the_second_press_ends_the_dictation(desktop, launch):
    program = launch(settings={"recordMode": "toggle"})
    editor = GTKEditor(desktop)
    desktop.keyboard.tap("Alt_R")
    program.await_recording()
    program.say(SENTENCE)
    assert program.is_recording()
    desktop.keyboard.tap("Alt_R")
    assert_arrived(SENTENCE, editor.await_text())


def test_in_toggle_mode_a_key_still_held_when_the_text_arrives_starts_nothing(desktop, launch):
    program = launch(settings={"recordMode": "toggle"})
    editor = GTKEditor(desktop)
    desktop.keyboard.tap("Alt_R")
    program.await_recording()
    program.say(SENTENCE)
    with desktop.keyboard.held("Alt_R"):
        wait_until(editor.changed, "the text")
        assert stays(lambda: not program.is_recording(), 1.5)
        assert 108 in desktop.keyboard.down(), "the key that is held was put back"
    assert stays(lambda: not program.is_recording(), 1)
    assert not desktop.keyboard.down()
    assert_arrived(SENTENCE, editor.text())


def test_a_tap_shorter_than_the_preparation_inserts_nothing(desktop, launch):
    program = launch()
    editor = GTKEditor(desktop)
    talking = desktop.sound.begin_playing(speech(SENTENCE, desktop.folder / "spoken.wav"))
    desktop.keyboard.tap("Alt_R")
    program.await_silence()
    assert talking.wait(30) == 0
    assert stays(lambda: not editor.changed(), 1)
    program.dictate(OTHER)
    assert_arrived(OTHER, editor.await_text())


def test_nothing_is_recorded_outside_a_dictation(desktop, launch):
    program = launch()
    GTKEditor(desktop)
    assert stays(lambda: not program.is_recording(), 1)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
    program.await_silence()
    assert stays(lambda: not program.is_recording(), 1)


def test_silence_types_nothing(desktop, launch):
    program = launch()
    editor = GTKEditor(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        assert stays(program.is_recording, 2)
    program.await_silence()
    assert stays(lambda: not editor.changed(), 1.5)


def test_no_word_and_no_sound_stays_on_the_disk(desktop, launch):
    program = launch()
    editor = GTKEditor(desktop)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, editor.await_text())
    assert program.quit() == 0
    files = [path for path in desktop.home.rglob("*") if path.is_file()]
    ours = {path.name for path in files if "vorlin" in str(path.relative_to(desktop.home)).lower()}
    views = {name for name in ours if name.endswith(".qmlc")}  # which Qt 6.8 keeps compiled
    assert ours - views <= {"settings.json", "state.json"}, ours
    assert [path for path in files if b"committee" in path.read_bytes()] == []
