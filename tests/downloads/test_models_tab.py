"""Downloads in the unchanged program, asked for in its settings: what a person sees, and what lies
on the disk."""

import json
import signal
import threading

import pytest

from hub import (CDN, OTHER_REPOSITORY, REPOSITORY, Hub, broken, held, in_turn, listing, model,
                 redirect, resumable, send)
from models_tab import BUILT_IN_NAME, REDUX_NAME, ULTRA_NAME
from traces import REDUX, ULTRA
from waiting import stays, wait_until

WEIGHTS = "Encoder.mlmodelc/weights/weight.bin"
LOST = "The connection to the model hub was lost. It was tried three times."


def large(files):
    """Gives the model one file that makes nearly all of it; returns that."""
    files[WEIGHTS] = b"w" * 1_000_000
    return files[WEIGHTS]


def in_steps(content, gates):
    """A body in as many pieces as there are gates, each behind its gate."""
    def answer(handler):
        handler.begin(200, {"Content-Length": len(content)})
        size = len(content) // len(gates)
        for number, gate in enumerate(gates):
            gate.wait()
            handler.wfile.write(content[number * size:(number + 1) * size])
            handler.wfile.flush()
    return answer


def test_a_press_brings_a_model_from_where_the_hub_leads_and_shows_how_far_it_is(hub, tab, files):
    content = large(files)
    gates = [threading.Event() for _ in range(4)]
    hub.publish(files, redirected=True)
    hub.routes[CDN, f"/{REPOSITORY}/{WEIGHTS}?signed=yes"] = in_steps(content, gates)
    tab.download()
    for number, gate in enumerate(gates):
        tab.await_state(ULTRA_NAME, str(int(100 * (sum(map(len, files.values()))
                                                   - (4 - number) * 250_000)
                                            / sum(map(len, files.values())))) + "%")
        assert not tab.is_selected(ULTRA_NAME)
        gate.set()
    tab.await_state(ULTRA_NAME, "installed")
    assert tab.folder() == files
    assert tab.error() is None
    wait_until(lambda: tab.is_selected(ULTRA_NAME), "the new engine to be selected")
    assert hub.most_in_flight[REPOSITORY] <= 3
    tab.press_in(BUILT_IN_NAME, f"Use {BUILT_IN_NAME}")
    wait_until(lambda: tab.is_selected(BUILT_IN_NAME), "the other engine")
    tab.press_in(ULTRA_NAME, f"Use {ULTRA_NAME}")
    wait_until(lambda: tab.is_selected(ULTRA_NAME), "the new engine again")
    wait_until(lambda: json.loads(tab.program.settings_file.read_text()).get("engine") == ULTRA,
               "the selection among the settings")


def test_a_download_is_deleted_by_the_menu_of_its_row(hub, tab, files):
    hub.publish(files)
    tab.download()
    tab.await_state(ULTRA_NAME, "installed")
    tab.delete()
    tab.await_state(ULTRA_NAME, "not installed")
    wait_until(lambda: tab.folder() is None, "the model to go")
    wait_until(lambda: tab.is_selected(BUILT_IN_NAME), "the built-in recogniser to be selected")


def test_without_sizes_the_percentage_jumps_to_the_end(hub, tab, files):
    gate = threading.Event()
    hub.publish(files, sizes=False)
    hub.serve(WEIGHTS, held(files[WEIGHTS], gate))
    tab.download()
    tab.await_state(ULTRA_NAME, "100%")
    gate.set()
    tab.await_state(ULTRA_NAME, "installed")
    assert tab.folder() == files


@pytest.mark.parametrize("moment", ["the list", "a file", "its next attempt"])
def test_cancelling_leaves_nothing_and_says_nothing(hub, tab, files, moment):
    gate, reached = threading.Event(), threading.Event()
    hold_at(hub, files, moment, gate, reached)
    tab.download()
    assert reached.wait(60)
    tab.cancel()
    tab.await_state(ULTRA_NAME, "not installed")
    wait_until(lambda: tab.partial() == [], "the working folder to go")
    gate.set()
    assert tab.error() is None
    assert tab.folder() is None


def hold_at(hub, files, moment, gate, reached):
    """Has a download stop at a moment, which is told as reached."""
    def stop(answer):
        def announced(handler):
            reached.set()
            answer(handler)
        return announced
    hub.publish(files)
    if moment == "the list":
        hub.list_as(stop(held(listing(files), gate)))
    elif moment == "a file":
        hub.serve(WEIGHTS, stop(held(files[WEIGHTS], gate, at=100)))
    else:
        hub.serve(WEIGHTS, stop(broken(files[WEIGHTS], 100)))


def test_removing_by_the_menu_of_the_row_while_it_downloads(hub, tab, files):
    gate = threading.Event()
    hub.publish(files)
    hub.serve(WEIGHTS, held(files[WEIGHTS], gate, at=100))
    tab.put_model()
    tab.download()
    wait_until(lambda: WEIGHTS in " ".join(hub.paths()), "the file to be asked for")
    tab.remove()
    tab.await_state(ULTRA_NAME, "not installed")
    wait_until(lambda: tab.partial() == [] and tab.folder() is None, "everything to go")
    gate.set()
    assert tab.error() is None


def test_two_presses_bring_it_once(hub, tab, files):
    gate = threading.Event()
    hub.publish(files)
    hub.serve(WEIGHTS, held(files[WEIGHTS], gate))
    tab.download_by_double_click()
    wait_until(lambda: len(hub.requests) == 1 + len(files), "all files but one")
    gate.set()
    tab.await_state(ULTRA_NAME, "installed")
    assert len(hub.requests) == 1 + len(files)
    assert tab.error() is None


def test_two_engines_come_side_by_side_over_three_connections_each(hub, tab, files):
    gate, other = threading.Event(), model(2)
    hub.publish(files)
    hub.publish(other, OTHER_REPOSITORY)
    hub.hold_everything(files, gate)
    hub.hold_everything(other, gate, OTHER_REPOSITORY)

    def seen():
        return hub.open, len(hub.requests)

    tab.download()
    wait_until(lambda: hub.in_flight.get(REPOSITORY) == 3 and seen() == (3, 4), "three files")
    assert stays(lambda: seen() == (3, 4), 0.5)
    tab.download(REDUX_NAME)
    wait_until(lambda: hub.in_flight.get(OTHER_REPOSITORY) == 3 and seen() == (6, 8),
               "three files of the other")
    assert stays(lambda: seen() == (6, 8), 0.5)
    gate.set()
    tab.await_state(ULTRA_NAME, "installed")
    tab.await_state(REDUX_NAME, "installed")
    assert (tab.folder(ULTRA), tab.folder(REDUX)) == (files, other)
    assert hub.most_in_flight[REPOSITORY] == hub.most_in_flight[OTHER_REPOSITORY] == 3
    assert hub.most_open == 6
    wait_until(lambda: hub.open == 0, "the connections to end")


# --- Failures -------------------------------------------------------------------------------------


def no_repository(hub, _):
    hub.list_as(send(b"no", 404))


def no_file(hub, _):
    hub.serve(WEIGHTS, send(b"no", 404))


def no_required_name(hub, files):
    hub.list_as(send(listing({path: text for path, text in files.items()
                              if not path.startswith("Decoder")})))


def no_hub(hub, _):
    hub.list_as(send(b"<html>Log in</html>"))


def hostile_path(hub, files):
    hub.list_as(send(listing({**files, "Encoder.mlmodelc/../../../escaped": b"x"})))


def unsafe_redirect(hub, _):
    hub.serve(WEIGHTS, redirect(f"http://{CDN}/file"))


def too_many_requests(hub, _):
    hub.serve(WEIGHTS, send(b"no", 429, {"Retry-After": "300"}))


def broken_transfer(hub, files):
    cut_short = send(files[WEIGHTS][:1000], length=len(files[WEIGHTS]))
    hub.serve(WEIGHTS, in_turn(broken(files[WEIGHTS], 1000), cut_short, broken(files[WEIGHTS], 10)))


FAILURES = {
    no_repository: f"Couldn't find “{REPOSITORY}” on Hugging Face (or it needs a login).",
    no_file: f"The model hub refused a file of the model (404): {WEIGHTS}.",
    no_required_name: "That repository isn't a compatible Parakeet CoreML export. Missing: "
                      "Decoder.mlmodelc.",
    no_hub: "The answer was not the model hub's. A network that wants a login first can be the "
            "cause.",
    hostile_path: "The model hub's list of files cannot be used: the name "
                  "Encoder.mlmodelc/../../../escaped is not allowed.",
    unsafe_redirect: "The model hub led to an address that is not safe, and the download was "
                     "stopped.",
    too_many_requests: "The model hub takes no more requests for now (429). Try again in 5 "
                       "minutes.",
    broken_transfer: LOST,
}


def assert_failed(tab, previous, line):
    """A failed download shows its line and leaves the model that was there, which the list shows
    as what it is; the line goes with the next press."""
    tab.await_error(line)
    tab.await_state(ULTRA_NAME, "installed")
    assert tab.partial() == []
    assert tab.folder() == previous


@pytest.mark.parametrize("failure", FAILURES, ids=lambda failure: failure.__name__)
def test_a_failure_is_one_line_and_leaves_the_previous_model(hub, tab, files, failure):
    hub.publish(files)
    failure(hub, files)
    previous = tab.put_model()
    tab.download()
    assert_failed(tab, previous, FAILURES[failure])


def test_a_certificate_of_somebody_else_is_one_line(tab, files):
    previous = tab.put_model()
    with Hub("stranger") as hub:
        hub.publish(files)
        tab.download()
        assert_failed(tab, previous, "The server that answered could not prove that it is the "
                                     "model hub: its certificate is not trusted.")
        assert hub.requests == []


def test_a_transfer_that_breaks_is_taken_up_again(hub, tab, files):
    content = files[WEIGHTS]
    hub.publish(files)
    hub.serve(WEIGHTS, in_turn(resumable(content, breaks_at=1000), resumable(content)))
    tab.download()
    tab.await_state(ULTRA_NAME, "installed")
    assert tab.folder() == files
    assert [headers.get("Range") for _, path, headers in hub.requests if path.endswith(WEIGHTS)
            ] == [None, "bytes=1000-"]


def test_the_press_after_a_failure_starts_cleanly_and_takes_its_line_away(hub, tab, files):
    hub.publish(files)
    no_file(hub, files)
    tab.download()
    tab.await_error(FAILURES[no_file])
    tab.await_state(ULTRA_NAME, "not installed")
    hub.publish(files)
    tab.download()
    tab.await_state(ULTRA_NAME, "installed")
    assert tab.error() is None
    assert tab.folder() == files


# --- A repository of the person's own -------------------------------------------------------------


def test_a_repository_is_added_downloaded_and_deleted(hub, tab, files):
    hub.publish(files, "some-one/my.model")
    tab.add_from_hub("some-one/my.model")
    tab.await_state("my.model", "installed")
    engine = json.loads(tab.program.settings_file.read_text())["engine"]
    assert engine.startswith("custom-")
    assert tab.folder(engine) == files
    tab.delete("my.model", "Delete model")
    wait_until(lambda: tab.row("my.model") == {}, "the engine to go")
    wait_until(lambda: tab.folder(engine) is None, "the model to go")


def test_what_is_no_repository_is_said_and_not_asked_for(hub, tab):
    tab.add_from_hub("some-one/..")
    tab.await_error("Enter a repository as owner/name, for example "
                    "FluidInference/parakeet-ultra-coreml.")
    tab.add_from_hub(REPOSITORY)
    tab.await_error("NVIDIA Parakeet Ultra already uses that repository.")
    assert hub.connections == 0


# --- The end of the program -----------------------------------------------------------------------


@pytest.mark.parametrize("moment", ["the list", "a file", "its next attempt"])
def test_quitting_leaves_no_working_folder_and_the_previous_model(hub, tab, files, moment):
    gate, reached = threading.Event(), threading.Event()
    hold_at(hub, files, moment, gate, reached)
    previous = tab.put_model()
    tab.download()
    assert reached.wait(60)
    # Cut short by its deadline, which is below two seconds, it would end with another status.
    assert tab.program.quit(signal.SIGTERM) == 0
    gate.set()
    assert tab.partial() == []
    assert tab.folder() == previous
    tab.restart()
    tab.await_state(ULTRA_NAME, "installed")


def test_neither_cancelling_nor_quitting_waits_for_a_name(hub, tab, files, silent_names):
    hub.publish(files)
    hub.serve(WEIGHTS, redirect("https://nowhere.hub.test/file"))
    tab.download()
    assert b"nowhere" in silent_names()
    tab.cancel()
    wait_until(lambda: tab.partial() == [], "the working folder to go")
    hub.requests.clear()
    tab.download()
    wait_until(lambda: len(hub.requests) == 1 + len(files), "everything but the name")
    assert tab.program.quit(signal.SIGTERM) == 0
    assert tab.partial() == []
    tab.restart()
