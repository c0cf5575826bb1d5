"""The program dies in the middle of a download, again and again."""

import random
import time

from catalog import ULTRA
from hub import model

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


def test_a_killed_program_leaves_the_old_model_or_the_new_one(request, hub, start):
    chance = random.Random(SEED)
    versions = [model(20), model(30)]
    del versions[1]["Decoder.mlmodelc/coremldata.bin"]
    present, longest = None, 0.5
    outcomes = {"old": 0, "new": 0, "left a working folder": 0}
    for number in range(request.config.getoption("--rounds")):
        wanted = versions[number % 2]
        hub.publish(wanted)
        for path, content in wanted.items():
            hub.serve(path, slowly(content))
        catalog = start()
        catalog.install()
        # Not at an event, on purpose: any moment may be the one.
        time.sleep(chance.uniform(0, longest))
        catalog.kill()
        there = catalog.folder()
        assert there in (present, wanted), f"round {number}: neither the old nor the new"
        outcomes["new" if there == wanted and there != present else "old"] += 1
        outcomes["left a working folder"] += len(catalog.partial())
        # The next start knows what is there, and its download succeeds.
        catalog = start()
        state = "notInstalled" if there is None else "installed"
        catalog.await_line(f"state {ULTRA} {state}")
        hub.publish(wanted)
        begun = time.monotonic()
        assert catalog.await_end(seen=catalog.install()) == "installed"
        longest = max(0.1, 3 * (time.monotonic() - begun))
        assert catalog.folder() == wanted
        assert catalog.partial() == []
        assert catalog.quit()[1] == 0
        present = wanted
    print(outcomes)
