#!/usr/bin/python3
"""Prints how fast downloads are from this machine's own hub, beside curl fetching the same files
over three connections, and the memory of the program while it brings a file of 2 GiB."""

import argparse
import pathlib
import statistics
import subprocess
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
CONFINED = ROOT / "tests" / "downloads" / "confined.py"
sys.path.insert(0, str(CONFINED.parent))

# pylint: disable=wrong-import-position
from catalog import Catalog  # noqa: E402
from hub import HUB, REPOSITORY, Hub, model, send  # noqa: E402

MIB = 1 << 20
PIECE = bytes(4 * MIB)
FILE_MIB = 256
LARGE_MIB = 2048
ROUNDS = 5


def generated(size):
    """A file of zeros that takes no memory here."""
    def answer(handler):
        handler.begin(200, {"Content-Length": size})
        left = size
        while left > 0:
            left -= handler.wfile.write(PIECE[:min(left, len(PIECE))])
    return answer


class Sized:
    """A file's content as far as a list needs it: its size."""

    def __init__(self, size):
        self.size = size

    def __len__(self):
        return self.size


def publish(hub, sizes):
    """A model with some files of these sizes, and the rest of it small."""
    files = {**model(), **{path: Sized(size) for path, size in sizes.items()}}
    hub.publish(files)
    for path, size in sizes.items():
        hub.serve(path, generated(size))
    for path in set(files) - set(sizes):
        hub.serve(path, send(files[path]))
    return files


def by_curl(files, folder):
    """Seconds that curl takes for the same files."""
    command = ["curl", "--no-progress-meter", "--fail", "--parallel", "--parallel-max", "3",
               "--http1.1", "--create-dirs"]
    for path in files:
        command += ["--output", folder / path,
                    f"https://{HUB}/{REPOSITORY}/resolve/main/{path}"]
    begun = time.monotonic()
    subprocess.run(command, check=True)
    subprocess.run(["sync", *(folder / path for path in files)], check=True)
    return time.monotonic() - begun


def by_program(catalog):
    begun = time.monotonic()
    if catalog.await_end(seen=catalog.install()) != "installed":
        sys.exit("the download failed")
    return time.monotonic() - begun


def compare(hub, binary, folder):
    sizes = {f"{name}.mlmodelc/weights/weight.bin": FILE_MIB * MIB
             for name in ("Preprocessor", "Encoder", "Decoder")}
    files = publish(hub, sizes)
    total = sum(map(len, files.values())) / MIB
    ours, curls = [], []
    def measure_ours():
        home = folder / "ours"
        home.mkdir()
        catalog = Catalog(binary, home)
        ours.append(by_program(catalog))
        catalog.close()
        subprocess.run(["rm", "-r", home], check=True)

    def measure_curl():
        curls.append(by_curl(files, folder / "curl"))
        subprocess.run(["rm", "-r", folder / "curl"], check=True)
    for number in range(ROUNDS):
        both = (measure_ours, measure_curl)
        for measure in both if number % 2 == 0 else reversed(both):
            measure()
    mine, theirs = statistics.median(ours), statistics.median(curls)
    print(f"{total:.0f} MiB in {len(files)} files, medians of {ROUNDS}, onto the disk: "
          f"{total / mine:.0f} MiB/s, curl {total / theirs:.0f} MiB/s, ratio {theirs / mine:.2f}",
          flush=True)


def resident_mib(catalog):
    status = pathlib.Path(f"/proc/{catalog.process.pid}/status").read_text()
    return int(status.split("VmRSS:")[1].split()[0]) / 1024


def large_file(hub, binary, folder):
    publish(hub, {"Encoder.mlmodelc/weights/weight.bin": LARGE_MIB * MIB})
    catalog = Catalog(binary, folder / "large")
    before = resident_mib(catalog)
    over = threading.Event()
    seen = []

    def watch():
        while not over.wait(0.05):
            seen.append(resident_mib(catalog))
    watcher = threading.Thread(target=watch)
    watcher.start()
    seconds = by_program(catalog)
    over.set()
    watcher.join()
    quarter = len(seen) // 4
    print(f"a file of {LARGE_MIB} MiB in {seconds:.1f} s: resident {before:.1f} MiB before, "
          f"at most {max(seen[:quarter]):.1f} MiB in the first quarter, {max(seen):.1f} MiB in all",
          flush=True)
    catalog.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", type=pathlib.Path,
                        default=ROOT / "build/release/tests/downloads/download_program")
    parser.add_argument("--confined", action="store_true", help=argparse.SUPPRESS)
    options = parser.parse_args()
    if not options.confined:
        sys.exit(subprocess.run([sys.executable, CONFINED, "--", sys.executable, __file__,
                                 "--confined", "--program", options.program.resolve()],
                                check=False).returncode)
    with tempfile.TemporaryDirectory(prefix="vorlin-bench-") as name, Hub() as hub:
        folder = pathlib.Path(name)
        (folder / "large").mkdir()
        compare(hub, options.program, folder)
        large_file(hub, options.program, folder)


if __name__ == "__main__":
    main()
