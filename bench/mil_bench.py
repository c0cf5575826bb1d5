"""The engine on a whole full-size model: speed against oneDNN, memory against its limit.

Fills model folders of 1.3, 0.5 and 0.7 GB in the folder for temporary files.
"""

import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAM = ROOT / "build" / "release" / "bench" / "mil" / "bench_mil"
ROUNDS = "7"
STEP_ROUNDS = "40"
FORMS = ("fp16", "lut6", "int8")


def main():
    if not PROGRAM.exists():
        sys.exit("mil_bench: bench_mil is not built")
    with tempfile.TemporaryDirectory() as scratch:
        folders = [pathlib.Path(scratch) / form for form in FORMS]
        failed = False
        for folder in folders:
            folder.mkdir()
            subprocess.run(["/usr/bin/python3", ROOT / "bench" / "mil" / "full_size_model.py",
                            folder, folder.name], check=True)
            print(f"== {folder.name}", flush=True)
            for words in ([folder, ROUNDS], ["--steps", folder, STEP_ROUNDS],
                          ["--memory", folder]):
                failed |= subprocess.run([PROGRAM, *words], check=False).returncode != 0
        print("== what is promised", flush=True)
        failed |= subprocess.run([PROGRAM, "--table", *folders, ROUNDS],
                                 check=False).returncode != 0
        print("== forms of weights", flush=True)
        failed |= subprocess.run([PROGRAM, "--encoders", ROUNDS, *folders],
                                 check=False).returncode != 0
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
