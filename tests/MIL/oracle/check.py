"""Runs random programs through milrun and holds the results against NumPy.

check.py MILRUN... [--cases N] [--seed N] [--only OPERATION]

Every case is one operation on operands of random shape, type and form; NumPy computes what the
operation means from the same numbers in double precision. Some twenty cases share a program.
"""
import argparse
import pathlib
import random
import subprocess
import sys
import tempfile

import numpy as np

import operations
import stored
from program import NAMES, Program, Tensor

TOGETHER = 20


def add_case(program, case, rng):
    """Writes a case into a program; returns the names of its outputs."""
    arguments = {}
    attributes = {}
    dynamic = rng.random() < 0.25 and not case.fixed
    for key, value in case.arguments.items():
        form = "constant" if key in case.constants else "input" if key in case.inputs else "any"
        if isinstance(value, tuple):  # several values
            parts = [operand(program, part, dynamic, rng, form) for part in value]
            alone = len(parts) == 1 and rng.random() < 0.5
            arguments[key] = parts[0] if alone else f"({', '.join(parts)})"
        else:
            arguments[key] = operand(program, value, dynamic, rng, form)
    for key, value in case.attributes.items():
        attributes[key] = (program.text(value) if isinstance(value, str) else
                           program.blob(value) if value.element in ("uint8", "int8", "fp16") and
                           value.values.size > 3 else program.literal(value))
    results = []
    for expected in case.expected:
        name = program.fresh("out")
        axes = [i for i in range(expected.values.ndim) if dynamic or case.open_result]
        results.append((name, program.type_of(expected.element, expected.shape, axes)))
    program.statement(case.operation, arguments, results, attributes)
    program.outputs += [name for name, _ in results]
    return [name for name, _ in results]


def operand(program, value, dynamic, rng, form):
    if isinstance(value, stored.Form):
        return value.write(program)
    if isinstance(value, str) or form == "constant":
        return program.constant(value)
    tensor = value if isinstance(value, Tensor) else Tensor(value)
    if tensor.element not in NAMES.values() or (form == "any" and rng.random() < 0.25):
        return program.constant(tensor)
    axes = [i for i in range(tensor.values.ndim) if dynamic and rng.random() < 0.7]
    return program.parameter(tensor, axes)


def differs(case, expected, got):
    """Why a result is wrong; nothing if it is right."""
    if NAMES.get(got.dtype) != expected.element or got.shape != expected.shape:
        return f"is {got.dtype} {got.shape}, not {expected.element} {expected.shape}"
    wanted = expected.values
    if got.dtype.kind != "f":
        bad = got != wanted
    else:
        unit = 2.0 ** -10 if expected.element == "fp16" else 2.0 ** -22
        least = 2.0 ** -24 if expected.element == "fp16" else 2.0 ** -140
        x, y = got.astype(np.float64), np.asarray(wanted, np.float64)
        with np.errstate(all="ignore"):
            near = np.abs(x - y) <= case.slack * unit * np.maximum(np.abs(y), case.scale) + least
        bad = ~(near | (x == y) | (np.isnan(x) & np.isnan(y)))
    if not bad.any():
        return ""
    place = tuple(int(i[0]) for i in np.nonzero(bad)) if got.ndim else ()
    return f"at {place}: {got[place]!r}, not {wanted[place]!r} ({int(bad.sum())} of {bad.size})"


def run(milrun, cases, folder, rng):
    """Runs cases as one program; returns (case, why) for the failing ones."""
    opset, verbose = cases[0].opset, rng.random() < 0.5
    program = Program(rng, opset, verbose)
    names = [add_case(program, case, rng) for case in cases]
    bundle, out = folder / "model.mlmodelc", folder / "out"
    (bundle / "weights").mkdir(parents=True, exist_ok=True)
    (bundle / "model.mil").write_text(program.source())
    (bundle / "weights" / "weight.bin").write_bytes(program.weights)
    words = [*milrun, "predict", bundle, "--out", out, "--threads", str(rng.choice([1, 2, 3]))]
    for name, values in program.inputs.items():
        order = rng.choice("CF")
        np.save(folder / f"{name}.npy", np.asarray(values, order=order))
        words += ["--in", f"{name}={folder / (name + '.npy')}"]
    done = subprocess.run(words, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        if len(cases) > 1:
            return [failure for case in cases for failure in run(milrun, [case], folder, rng)]
        return [(cases[0], done.stderr.strip() + "\n" + program.source())]
    failures = []
    for case, outputs in zip(cases, names):
        for name, expected in zip(outputs, case.expected):
            why = differs(case, expected, np.load(out / f"{name}.npy"))
            if why:
                failures.append((case, why))
                break
    return failures


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("milrun", nargs="+", help="the program, an emulator in front of it")
    parser.add_argument("--cases", type=int, default=12, help="of each operation")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", help="one operation")
    given = parser.parse_args()
    rng = random.Random(given.seed)
    operations.seed(given.seed)
    cases = []
    for name, make in {**operations.MAKERS, **stored.MAKERS}.items():
        if given.only in (None, name):
            with np.errstate(all="ignore"):
                more = 3 if name in stored.MAKERS else 1  # there are many ways to read a form
                cases += [make(rng) for _ in range(more * given.cases)]
    failures = []
    for opset in (15, 16, 17, 18):
        same = [case for case in cases if case.opset == opset]
        rng.shuffle(same)
        for first in range(0, len(same), TOGETHER):
            with tempfile.TemporaryDirectory() as folder:
                failures += run(given.milrun, same[first:first + TOGETHER],
                                pathlib.Path(folder), rng)
    for case, why in failures:
        print(f"FAILED {case.operation} (ios{case.opset}) {case.remark}: {why}")
        print("   ", {k: getattr(v, "shape", v) for k, v in case.arguments.items()})
    print(f"{len(cases)} cases, {len(failures)} failed")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
