"""A hub that falls silent: half a minute, three times. At night."""

import threading
import time

from hub import held

WEIGHTS = "Encoder.mlmodelc/weights/weight.bin"


def test_silence_is_a_time_out_after_three_attempts(hub, catalog, files):
    gate = threading.Event()
    hub.publish(files)
    hub.serve(WEIGHTS, held(files[WEIGHTS], gate, at=1000))
    begun = time.monotonic()
    assert catalog.await_end(seen=catalog.install()) == (
        "The model hub did not answer in time. Try again later. It was tried three times.")
    assert time.monotonic() - begun >= 90
    gate.set()
