"""A hub that falls silent: half a minute, three times. At night."""

import threading
import time

from hub import held
from models_tab import ULTRA_NAME, ModelsTab

WEIGHTS = "Encoder.mlmodelc/weights/weight.bin"


def test_silence_is_a_time_out_after_three_attempts(request, hub, files):
    gate = threading.Event()
    hub.publish(files)
    hub.serve(WEIGHTS, held(files[WEIGHTS], gate, at=1000))
    tab = ModelsTab.begin(request, "silence")
    try:
        previous, before = tab.put_model(), tab.descriptors()
        begun = time.monotonic()
        tab.download()
        tab.await_error("The model hub did not answer in time. Try again later. It was tried three "
                        "times.", timeout=300)
        assert time.monotonic() - begun >= 90
        tab.await_state(ULTRA_NAME, "installed")
        assert tab.folder() == previous
        assert tab.partial() == []
        tab.await_rest(before)
    finally:
        gate.set()
        tab.close()
