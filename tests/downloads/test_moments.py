"""Removing and quitting at any moment of a download."""

import random
import threading

import pytest

from hub import OTHER_REPOSITORY, held, model, redirect
from traces import REDUX, ULTRA
from waiting import wait_until

ROUNDS = 15


def at_a_random_moment(chance, hub, engine_files, gate):
    """Has the hub stop in the middle of some file, and says how many requests come until then."""
    path, content = chance.choice(sorted(engine_files.items()))
    reached = threading.Event()

    def answer(handler):
        reached.set()
        held(content, gate, chance.randrange(len(content)))(handler)
    hub.serve(path, answer)
    return reached


def test_removing_at_any_moment_leaves_nothing_and_says_nothing(hub, catalog, files):
    chance = random.Random(1)
    for _ in range(ROUNDS):
        gate = threading.Event()
        hub.publish(files)
        reached = at_a_random_moment(chance, hub, files, gate)
        seen = catalog.install()
        assert reached.wait(60)
        catalog.remove()
        catalog.await_line(f"state {ULTRA} notInstalled", seen)
        wait_until(lambda: catalog.partial() == [], "the working folder to go")
        gate.set()
        assert not [line for line in catalog.lines[seen:]
                    if line.startswith("error ") and line != "error (none)"]
        assert catalog.folder() is None
    hub.publish(files)
    assert catalog.await_end(seen=catalog.install()) == "installed"
    assert catalog.folder() == files


def test_removing_at_once_and_pressing_again_downloads_once_more(hub, catalog, files):
    hub.publish(files)
    for _ in range(10):
        seen = catalog.install()
        catalog.remove()
        catalog.await_line("did remove", seen)
    assert catalog.await_end(seen=catalog.install()) == "installed"
    assert catalog.folder() == files


def test_removing_one_of_two_lets_the_other_come(hub, catalog, files):
    gate = threading.Event()
    other = model(2)
    hub.publish(files)
    hub.publish(other, OTHER_REPOSITORY)
    hub.hold_everything(files, gate)
    hub.hold_everything(other, gate, OTHER_REPOSITORY, at=10)
    seen = catalog.install(ULTRA)
    catalog.install(REDUX)
    wait_until(lambda: len(hub.requests) >= 8, "three files of each")
    catalog.remove(ULTRA)
    catalog.await_line(f"state {ULTRA} notInstalled", seen)
    gate.set()
    assert catalog.await_end(REDUX) == "installed"
    assert catalog.folder(REDUX) == other
    assert catalog.folder(ULTRA) is None


def test_a_removed_model_stays_removed(hub, catalog, files):
    hub.publish(files)
    assert catalog.await_end(seen=catalog.install()) == "installed"
    catalog.remove()
    wait_until(lambda: not list(catalog.models.iterdir()), "the model to go")


def test_removing_and_quitting_do_not_wait_for_a_name(hub, start, files, silent_names):
    catalog = start()
    hub.publish(files)
    hub.serve("Decoder.mlmodelc/model.mil", redirect("https://nowhere.hub.test/file"))
    seen = catalog.install()
    assert b"nowhere" in silent_names()
    catalog.remove()
    catalog.await_line(f"state {ULTRA} notInstalled", seen)
    wait_until(lambda: catalog.partial() == [], "the working folder to go")
    hub.requests.clear()
    catalog.install()
    wait_until(lambda: len(hub.requests) == 1 + len(files), "everything but the name")
    assert b"nowhere" in silent_names()
    assert catalog.quit()[1] == 0
    assert catalog.process.stderr.read() == ""
    assert catalog.partial() == []


@pytest.mark.parametrize("number", range(8))
def test_quitting_leaves_no_working_folder_and_the_previous_model(hub, start, files, number):
    chance = random.Random(number)
    catalog = start()
    hub.publish(files)
    assert catalog.await_end(seen=catalog.install()) == "installed"
    newer, gate = model(200), threading.Event()
    hub.publish(newer)
    reached = at_a_random_moment(chance, hub, newer, gate)
    catalog.install()
    assert reached.wait(60)
    seconds, status = catalog.quit()
    gate.set()
    print(f"quit after {seconds:.2f} s")
    assert status == 0 and catalog.process.stderr.read() == ""
    assert catalog.partial() == []
    assert catalog.folder() == files
