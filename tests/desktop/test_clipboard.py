"""The clipboard comes back as it was, whatever was on it and however slow the reader is."""

import os

import clipboard
from editors import GTKEditor, Terminal
from program import assert_arrived
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"


def test_html_and_an_image_come_back_byte_for_byte(desktop, launch):
    contents = {
        "UTF8_STRING": "Grüße, 日本 🎤".encode(),
        "text/html": b"<b>bold</b>\0tail",
        "image/png": b"\x89PNG\r\n\x1a\n" + os.urandom(3_000_000),
        "text/uri-list": b"file:///etc/hostname\r\n",
        "application/x-own": bytes(range(256)),
    }
    clipboard.ClipboardOwner(desktop, contents)
    program = launch()
    editor = GTKEditor(desktop)
    watcher = clipboard.SelectionWatcher(desktop)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, editor.await_text())
    watcher.await_changes(2)  # our text, then the old contents
    for target, data in contents.items():
        assert clipboard.read(desktop, target) == data, target
    assert not set(contents) - set(clipboard.targets(desktop))


def test_an_empty_clipboard_is_empty_again(desktop, launch):
    program = launch()
    editor = GTKEditor(desktop)
    watcher = clipboard.SelectionWatcher(desktop)
    program.dictate(SENTENCE)
    editor.await_text()
    watcher.await_changes(2)
    assert clipboard.read(desktop) is None


def test_an_editor_stopped_for_a_second_still_gets_the_text(desktop, launch):
    clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"old contents"})
    program = launch()
    editor = GTKEditor(desktop)
    watcher = clipboard.SelectionWatcher(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        editor.hang()
    watcher.await_changes(1)
    assert stays(lambda: len(watcher.changes) == 1, 1), "the text stays for its reader"
    editor.recover()
    assert_arrived(SENTENCE, editor.await_text())
    watcher.await_changes(2)
    assert clipboard.read(desktop) == b"old contents"


def test_a_copy_made_right_after_the_paste_stays(desktop, launch):
    clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"old contents"})
    program = launch()
    editor = GTKEditor(desktop)
    watcher = clipboard.SelectionWatcher(desktop)
    program.dictate(SENTENCE)
    wait_until(editor.changed, "the text")
    clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"copied meanwhile"})
    watcher.await_changes(2)
    stays(lambda: True, 3.5)  # past the latest restore
    assert clipboard.read(desktop) == b"copied meanwhile"
    assert_arrived(SENTENCE, editor.text())


def test_what_is_copied_while_speaking_comes_back(desktop, launch):
    clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"old contents"})
    program = launch()
    editor = GTKEditor(desktop)
    watcher = clipboard.SelectionWatcher(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"copied while speaking"})
        program.say(SENTENCE)
    assert_arrived(SENTENCE, editor.await_text())
    watcher.await_changes(3)
    assert clipboard.read(desktop) == b"copied while speaking"


def test_the_terminal_gets_the_text_and_the_clipboard_is_left_alone(desktop, launch):
    clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"old contents"})
    program = launch()
    terminal = Terminal(desktop)
    watcher = clipboard.SelectionWatcher(desktop)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())
    assert not watcher.changes
    assert clipboard.read(desktop) == b"old contents"


def test_quitting_right_after_a_dictation_leaves_no_dictated_text(desktop, launch):
    clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"old contents"})
    program = launch()
    editor = GTKEditor(desktop)
    program.dictate(SENTENCE)
    wait_until(editor.changed, "the text")
    assert program.quit() == 0
    assert clipboard.read(desktop) in (None, b"old contents")


def test_quitting_after_another_program_copied_leaves_its_copy(desktop, launch):
    clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"old contents"})
    program = launch()
    editor = GTKEditor(desktop)
    watcher = clipboard.SelectionWatcher(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        editor.hang()  # it reads nothing, so that the old contents still wait
    watcher.await_changes(1)
    copier = clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"copied meanwhile"})
    watcher.await_changes(2)
    assert program.quit() == 0
    assert clipboard.read(desktop) == b"copied meanwhile"
    assert not copier.lost.is_set()
    assert len(watcher.changes) == 2
    editor.recover()
