"""The built-in recogniser on recordings: words wrong, cost, wait after the release."""

import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAM = ROOT / "build" / "release" / "bench" / "recogniser" / "bench_recogniser"


def main():
    if not PROGRAM.exists():
        sys.exit("recogniser_bench: bench_recogniser is not built")
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([ROOT / "bench" / "recogniser" / "recordings.sh", folder], check=True)
        sys.exit(subprocess.run([PROGRAM, folder, *sys.argv[1:]], check=False).returncode)


if __name__ == "__main__":
    main()
