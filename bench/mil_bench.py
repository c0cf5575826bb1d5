"""The engine on a whole full-size model: speed against oneDNN, memory against its limit.

Fills model folders of 1.3, 0.5 and 0.7 GB, one after the other, in the folder for temporary files.
"""

import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAM = ROOT / "build" / "release" / "bench" / "mil" / "bench_mil"
ROUNDS = "7"


def main():
    if not PROGRAM.exists():
        sys.exit("mil_bench: bench_mil is not built")
    failed = False
    for form in ("fp16", "lut6", "int8"):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run(["/usr/bin/python3", ROOT / "bench" / "mil" / "full_size_model.py",
                            folder, form], check=True)
            print(f"== {form}", flush=True)
            for words in ([folder, ROUNDS], ["--memory", folder]):
                done = subprocess.run([PROGRAM, *words], check=False)
                failed = failed or done.returncode != 0
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
