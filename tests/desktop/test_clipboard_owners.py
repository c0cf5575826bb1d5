"""Owners of the clipboard that hang, quit, or offer much: no words are lost, and it comes back."""

import os
import subprocess

import clipboard
from editors import GTKEditor, Terminal
from program import assert_arrived
from waiting import wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"


def test_an_owner_that_never_answers_costs_no_words_and_its_clipboard_nothing(desktop, launch):
    owner = clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"old contents"}, silent=True)
    program = launch()
    editor = GTKEditor(desktop)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, editor.await_text())
    assert owner.lost.wait(30)
    wait_until(lambda: clipboard.read(desktop) is None, "the dictated text to go")


def test_an_owner_that_quits_during_the_dictation_costs_no_words(desktop, launch):
    owner = desktop.spawn(["xclip", "-quiet", "-selection", "clipboard"], stdin=subprocess.PIPE,
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    owner.stdin.write(b"old contents")
    owner.stdin.close()
    wait_until(lambda: clipboard.read(desktop) == b"old contents", "the copy")
    program = launch()
    editor = GTKEditor(desktop)
    watcher = clipboard.SelectionWatcher(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        owner.kill()
        owner.wait()
        watcher.await_changes(1)
    assert_arrived(SENTENCE, editor.await_text())
    watcher.await_changes(3)  # its end, our text, and what was there before it
    assert clipboard.read(desktop) in (None, b"old contents")


def test_eight_megabytes_among_twenty_types_come_back(desktop, launch):
    contents = {f"application/x-own-{number}": f"contents {number}".encode() * number
                for number in range(1, 20)}
    contents["image/png"] = b"\x89PNG\r\n\x1a\n" + os.urandom(8_000_000)
    clipboard.ClipboardOwner(desktop, contents)
    program = launch()
    editor = GTKEditor(desktop)
    watcher = clipboard.SelectionWatcher(desktop)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, editor.await_text())
    watcher.await_changes(2)
    for target, data in contents.items():
        assert clipboard.read(desktop, target) == data, target


def test_a_terminal_that_pastes_the_selection_leaves_both_as_they_were(desktop, launch):
    clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"copied"})
    clipboard.ClipboardOwner(desktop, {"UTF8_STRING": b"selected"}, "PRIMARY")
    program = launch()
    terminal = Terminal(desktop)
    watcher = clipboard.SelectionWatcher(desktop, "PRIMARY")
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, terminal.await_text())
    watcher.await_changes(2)
    assert clipboard.read(desktop, selection="primary") == b"selected"
    assert clipboard.read(desktop) == b"copied"
