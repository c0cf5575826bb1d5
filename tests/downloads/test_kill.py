"""The unchanged program dies in the middle of a download, again and again."""

import random
import signal
import time

from hub import model
from models_tab import ULTRA_NAME, ModelsTab
from traces import ULTRA
from waiting import wait_until

SEED = 20


def slowly(content, pieces=8):
    """A file that takes a moment."""
    def answer(handler):
        handler.begin(200, {"Content-Length": len(content)})
        step = len(content) // pieces + 1
        for begin in range(0, len(content), step):
            handler.wfile.write(content[begin:begin + step])
            handler.wfile.flush()
            time.sleep(0.002)
    return answer


def await_requests(hub, count):
    wait_until(lambda: len(hub.requests) >= count, f"{count} requests", timeout=60, interval=0.001)


def at_some_moment(chance, hub, tab, files, number, longest):
    """Returns at any moment of the download, a little behind an event on purpose; every other time
    near its end, where the model takes its place: within `longest` seconds. Of those, some wait
    until it has, where none was before."""
    if number % 8 == 7:
        wait_until((tab.models / ULTRA).exists, "the model in its place", timeout=60,
                   interval=0.001)
        return
    late = number % 2 == 1
    await_requests(hub, 1 + len(files) if late else chance.randrange(2 + len(files)))
    time.sleep(chance.uniform(0, longest if late else 0.02))


def download_whole(hub, tab, files):
    """Returns for how many seconds the last file was under way, and its model into its place."""
    hub.requests.clear()
    tab.download()
    await_requests(hub, 1 + len(files))
    begun = time.monotonic()
    wait_until((tab.models / ULTRA).exists, "the model in its place", timeout=60, interval=0.001)
    seconds = time.monotonic() - begun
    tab.await_state(ULTRA_NAME, "installed")
    return seconds


def test_a_killed_program_leaves_the_old_model_or_the_new_one(request, hub):
    chance = random.Random(SEED)
    outcomes = {"nothing": 0, "the old model": 0, "the new model": 0, "a working folder": 0}
    longest = 0.1
    tab = ModelsTab.begin(request, "killed")
    try:
        for number in range(request.config.getoption("--rounds")):
            wanted = model(20 + number)
            hub.publish(wanted)
            for path, content in wanted.items():
                hub.serve(path, slowly(content))
            hub.requests.clear()
            previous = tab.put_model() if number % 4 < 2 else None
            tab.download()
            at_some_moment(chance, hub, tab, wanted, number, longest)
            tab.program.quit(signal.SIGKILL)
            there = tab.folder()
            assert there in (previous, wanted), f"round {number}: neither the old nor the new"
            outcomes["the new model" if there == wanted
                     else "nothing" if there is None else "the old model"] += 1
            outcomes["a working folder"] += len(tab.partial())
            # The next start knows what is there; and the next download succeeds.
            tab.restart()
            if there is not None:
                tab.await_state(ULTRA_NAME, "installed")
                tab.delete()
            tab.await_state(ULTRA_NAME, "not installed")
            longest = 3 * download_whole(hub, tab, wanted)
            assert tab.folder() == wanted
            assert tab.partial() == []
            tab.delete()
            tab.await_state(ULTRA_NAME, "not installed")
            wait_until(lambda: tab.folder() is None and tab.partial() == [], "the model to go")
    finally:
        tab.close()
    print(outcomes)
    assert outcomes["a working folder"] > 0, "nothing was ever killed in the middle"
    assert outcomes["the new model"] > 0, "nothing was ever killed behind the exchange"
