"""Starting, ending, dying, and a desktop in which things break."""

import json
import pathlib
import re
import shutil
import signal
import subprocess
import time

import pytest
from gi.repository import GLib

from editors import GTKEditor
from overlay import connect
from program import Program, assert_arrived
from settings_window import SettingsWindow
from virtual_desktop import AT_SPI, VirtualDesktop
from waiting import stays, wait_until

SENTENCE = "the committee decided to postpone the meeting until next month"


def test_it_quits_cleanly_while_idle(desktop, launch):
    program = launch()
    assert program.quit() == 0
    assert not desktop.keyboard.down()


def test_the_worker_for_background_work_gives_way_and_no_other_thread_does(launch):
    program = launch()
    wait_until(lambda: program.threads_that_give_way() == 1, "one thread that gives way")


def test_interrupted_in_a_dictation_it_quits_cleanly_and_types_nothing(desktop, launch):
    program = launch()
    editor = GTKEditor(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        assert program.quit(signal.SIGINT) == 0
        assert not desktop.sound.source_outputs()
    assert stays(lambda: not editor.changed(), 1)
    desktop.keyboard.tap("Escape")
    desktop.keyboard.type("keys work")
    assert editor.await_text() == "keys work"


def test_killed_in_a_dictation_it_leaves_the_keyboard_usable(desktop, launch):
    program = launch()
    editor = GTKEditor(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.process.kill()
        program.process.wait()
    assert not desktop.keyboard.down()
    desktop.keyboard.type("keys work")
    assert editor.await_text() == "keys work"
    program.start()
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()


@pytest.mark.parametrize("present", [False, True], ids=["absent", "present"])
def test_a_start_does_not_start_accessibility(desktop, launch, present):
    bus = connect(desktop.environment["DBUS_SESSION_BUS_ADDRESS"])

    def is_there():
        return bus.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "NameHasOwner",
                             GLib.Variant("(s)", ("org.a11y.Bus",)), None, 0, 20000, None)[0]

    if present:
        desktop.spawn([AT_SPI])
        wait_until(is_there, "who would start it")
    settings = SettingsWindow(desktop, launch(very_first_start=True))
    wait_until(settings.is_painted, "the settings")
    assert is_there() == present
    assert not list((desktop.runtime_folder / "at-spi").glob("*")), "its bus runs"


def test_a_second_start_tells_the_first_and_ends(desktop, launch):
    program = launch()
    editor = GTKEditor(desktop)
    second = desktop.spawn([program.binary], log="second")
    assert second.wait(timeout=30) == 0
    settings = SettingsWindow(desktop, program)
    wait_until(settings.is_painted, "the settings, which a second start opens")
    settings.close()
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, editor.await_text())


def test_a_damaged_settings_file_is_set_aside_and_the_defaults_hold(desktop, launch):
    program = launch(damaged='{"recordMode": "toggle", ')
    editor = GTKEditor(desktop)
    program.dictate(SENTENCE)
    assert_arrived(SENTENCE, editor.await_text())
    kept = list(program.settings_file.parent.glob("settings.json.damaged*"))
    assert [path.read_text() for path in kept] == ['{"recordMode": "toggle", ']


def test_settings_changed_from_outside_count_at_once(desktop, launch):
    program = launch(settings={"recordMode": "hold", "of another program": [1, {"x": None}]})
    editor = GTKEditor(desktop)
    program.settings_file.write_text(json.dumps({"recordMode": "toggle"}))
    wait_until(lambda: _is_in_toggle_mode(desktop, program), "the setting to be seen")
    program.say(SENTENCE)
    desktop.keyboard.tap("Alt_R")
    assert_arrived(SENTENCE, editor.await_text())


def _dictates(desktop, program):
    """Presses the key; if that starts a dictation, speaks and returns true."""
    with desktop.keyboard.held("Alt_R"):
        if stays(lambda: not program.is_recording(), 1):
            return False
        program.say(SENTENCE)
    return True


def _is_in_toggle_mode(desktop, program):
    """Taps the key once; in toggle mode the dictation goes on."""
    desktop.keyboard.tap("Alt_R")
    return not stays(lambda: not program.is_recording(), 0.5) and stays(program.is_recording, 1)


def test_a_language_without_a_model_types_nothing_and_stays_usable(desktop, launch):
    program = launch(settings={"language": "fr-FR"})
    editor = GTKEditor(desktop)
    with desktop.keyboard.held("Alt_R"):
        assert stays(lambda: not program.is_recording(), 1)
    program.settings_file.write_text(json.dumps({"language": "en-GB"}))
    wait_until(lambda: _dictates(desktop, program), "the other language to be used")
    assert_arrived(SENTENCE, editor.await_text())


def test_a_microphone_unplugged_while_speaking_costs_no_words_heard(desktop, launch):
    program = launch()
    editor = GTKEditor(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        program.say(SENTENCE)
        desktop.sound.unplug_microphone()
        wait_until(editor.changed, "the words heard until then")
    assert_arrived(SENTENCE, editor.text())
    assert not desktop.keyboard.down()
    desktop.sound.plug_in_microphone()
    program.await_silence()
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()


def test_a_sound_server_that_dies_and_comes_back(desktop, launch):
    program = launch()
    editor = GTKEditor(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        desktop.sound.die()
    desktop.sound.restart()
    wait_until(lambda: _dictates(desktop, program), "the program to record again", 60)
    assert_arrived(SENTENCE, editor.await_text())


def test_without_a_sound_server_it_lives_and_the_keyboard_works(artefacts, request):
    from program import Program
    with VirtualDesktop(sound=False, artefacts=artefacts) as desktop:
        program = Program(desktop, request.config.getoption("--program"))
        editor = GTKEditor(desktop)
        desktop.keyboard.tap("Alt_R")
        desktop.keyboard.type("keys work")
        assert editor.await_text() == "keys work"
        assert program.answers()
        assert program.quit() == 0


def test_without_a_display_it_says_so_and_ends(request, tmp_path):
    done = subprocess.run([request.config.getoption("--program")],
                          env={"HOME": str(tmp_path), "XDG_RUNTIME_DIR": str(tmp_path)},
                          stderr=subprocess.PIPE, text=True, timeout=60, check=False)
    assert done.returncode == 1
    assert done.stderr.count("\n") == 1 and "display" in done.stderr


def test_idle_only_the_look_at_the_permissions_wakes_it(desktop, launch):
    program = launch()
    program.dictate(SENTENCE)
    program.await_silence()

    def wakes():
        """How often each thread has gone to sleep so far."""
        return {task.name: int(re.search(r"\nvoluntary_ctxt_switches:\s+(\d+)",
                                         (task / "status").read_text())[1])
                for task in pathlib.Path(f"/proc/{program.process.pid}/task").iterdir()}

    def rests():
        """Whether only the main thread wakes, twice for each look at most, for six seconds."""
        before = wakes()
        time.sleep(6)
        woken = {name: count - before.get(name, 0) for name, count in wakes().items()
                 if count != before.get(name)}
        print(woken)
        return woken.keys() <= {str(program.process.pid)} and sum(woken.values()) <= 8

    wait_until(rests, "the program to rest", 90)


def test_the_recogniser_is_loaded_by_the_first_dictation(desktop, launch):
    program = launch()
    assert program.has_loaded("libpulse.so")
    assert not program.has_loaded("libpocketsphinx.so")
    with desktop.keyboard.held("Alt_R"):
        wait_until(lambda: program.has_loaded("libpocketsphinx.so"), "the recogniser")


def test_removed_while_it_is_dictated_with_it_types_and_ends(desktop, request, tmp_path):
    binary = request.config.getoption("--program")
    place = tmp_path / "vorlin"
    shutil.copy(binary, place)
    program = Program(desktop, place)
    editor = GTKEditor(desktop)
    with desktop.keyboard.held("Alt_R"):
        program.await_recording()
        place.unlink()
        program.say(SENTENCE)
    assert_arrived(SENTENCE, editor.await_text())
    assert program.process.wait(timeout=60) == 0
    desktop.keyboard.tap("Alt_R")
    assert not desktop.keyboard.down()
