"""The harness itself: it cleans up after itself, and desktops do not disturb each other."""

import os
import pathlib
import signal
import subprocess
import sys
import time

import pytest

import clipboard
from editors import GTKEditor
from keeper import inhabitants
from virtual_desktop import VirtualDesktop
from waiting import WaitedTooLong, wait_until

HERE = pathlib.Path(__file__).resolve().parent


def test_a_failing_test_leaves_no_process_and_no_folder_behind():
    with pytest.raises(RuntimeError), VirtualDesktop() as desktop:
        GTKEditor(desktop)
        folder, runtime_folder = desktop.folder, desktop.runtime_folder
        assert len(inhabitants(runtime_folder)) >= 5
        raise RuntimeError("a test that fails")
    assert not inhabitants(runtime_folder)
    assert not folder.exists()


def test_a_killed_harness_leaves_nothing_behind(tmp_path):
    told = tmp_path / "told"
    owner = subprocess.Popen(
        [sys.executable, HERE / "inside.py", "--", "sh", "-c",
         f'echo "$XDG_RUNTIME_DIR" > {told}.new; mv {told}.new {told}; sleep 600'])
    runtime_folder = wait_until(lambda: told.exists() and told.read_text().strip(), "the folder")
    os.kill(owner.pid, signal.SIGKILL)
    owner.wait()
    wait_until(lambda: not inhabitants(runtime_folder), "every process to end")
    wait_until(lambda: not os.path.exists(runtime_folder), "the folder to go")


def test_two_desktops_side_by_side_share_nothing():
    with VirtualDesktop() as one, VirtualDesktop(layout="de") as other:
        assert one.display != other.display
        editors = [GTKEditor(one), GTKEditor(other)]
        one.keyboard.type("one")
        other.keyboard.type("other")
        assert [editor.await_text() for editor in editors] == ["one", "other"]
        clipboard.ClipboardOwner(one, {"UTF8_STRING": b"only here"})
        assert clipboard.read(one) == b"only here"
        assert clipboard.read(other) is None
        assert one.sound.control("info") != other.sound.control("info")


def test_inside_passes_the_exit_status_on():
    done = subprocess.run([sys.executable, HERE / "inside.py", "--", "sh", "-c", "exit 7"],
                          check=False)
    assert done.returncode == 7


def test_a_wait_in_vain_ends_and_names_what_it_waited_for():
    started = time.monotonic()
    with pytest.raises(WaitedTooLong, match="the sun to rise"):
        wait_until(lambda: False, "the sun to rise", timeout=0.2)
    assert time.monotonic() - started >= 0.2
