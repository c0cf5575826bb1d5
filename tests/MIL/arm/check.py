"""Runs every fixture of operations through a milrun of another processor.

python3 check.py MILRUN CASES.JSON [EMULATOR]     needs numpy
"""
import json
import os
import subprocess
import sys
import tempfile

import numpy as np


def differs(got, wanted, tolerance):
    """Whether an output is outside its tolerance."""
    if got.dtype != wanted.dtype or got.shape != wanted.shape:
        return True
    a, b = got.astype(np.float64), wanted.astype(np.float64)
    with np.errstate(invalid="ignore", over="ignore"):
        same = (a == b) | (np.isnan(a) & np.isnan(b))
        near = np.abs(a - b) <= tolerance.get("abs", 0) + tolerance.get("rel", 0) * np.abs(b)
    return not np.all(same | (near & (not tolerance.get("exact", False))))


def check(command, folder, case, scratch):
    """The names of the outputs that are wrong."""
    words = command + ["predict", os.path.join(folder, case["bundle"]), "--out", scratch]
    for name, file in case["inputs"].items():
        words += ["--in", f"{name}={os.path.join(folder, file)}"]
    run = subprocess.run(words, capture_output=True, text=True)
    if run.returncode != 0:
        return [run.stderr.strip()]
    wrong = []
    for name, file in case["outputs"].items():
        tolerance = case["tolerance"].get(name, case["tolerance"])
        got = np.load(os.path.join(scratch, name + ".npy"))
        if differs(got, np.load(os.path.join(folder, file)), tolerance):
            wrong.append(name)
    return wrong


def main(milrun, cases, emulator=None):
    folder = os.path.dirname(os.path.abspath(cases))
    command = ([emulator] if emulator else []) + [milrun]
    failures = 0
    entries = json.load(open(cases))
    for case in entries:
        with tempfile.TemporaryDirectory() as scratch:
            wrong = check(command, folder, case, scratch)
        if wrong:
            failures += 1
            print(case["case"], *wrong)
    print(f"{len(entries) - failures} of {len(entries)} cases agree")
    return failures != 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
