#!/usr/bin/python3
"""Compiles Objective-C++ for macOS on a machine that has none, against the declared surface.

    compile.py CLANG [--libcxx CLANG] [--rejected-for TEXT] [--include FOLDER]... FILE [-DNAME]...

Compiles each file twice. First for this machine, as it would be for macOS: with reference counting,
blocks and the runtime of macOS 14, up to an object file. Clang takes no notice of availability
there, because this machine's system is not the one that the availability speaks of. So once more,
up to the syntax only, for macOS 14 itself; the C and C++ libraries are this machine's then, which
are told that they are on Linux. With --libcxx it is the other compiler that does this, with its own
C++ library, which is a Mac's, too.

With --rejected-for the second compilation must fail, and say TEXT.
"""

import argparse
import pathlib
import platform
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
LANGUAGE = """
    -x objective-c++ -std=c++20 -fobjc-arc -fblocks -fexceptions -fobjc-exceptions
    -Wall -Wextra -Wnullability -Wnullability-completeness -Wnullable-to-nonnull-conversion
    -Wunguarded-availability -Wdeprecated-declarations -Wundeclared-selector
    -Wobjc-missing-super-calls -Wno-auto-var-id -Werror
""".split()
# What Clang defines for macOS and must not for this machine's libraries, and the reverse. The C
# library has a macro of the name that Clang gives to an annotation; and from 2.41 on it believes
# that every Clang has floats of 128 bits, unless it is one that compiles SYCL.
DISGUISE = """
    -D__INTEL_LLVM_COMPILER -DSYCL_LANGUAGE_VERSION
    -nostdinc -nostdinc++ -U__APPLE__ -U__MACH__ -U__APPLE_CC__ -U__nonnull -U__nullable
    -D__linux__ -D__gnu_linux__ -D__unix__ -D__ELF__ -D_GNU_SOURCE
""".split()


def system_folders(compiler):
    """Where this compiler finds the C and C++ libraries of this machine."""
    said = subprocess.run([*compiler, "-E", "-x", "c++", "-v", "/dev/null"], text=True, check=True,
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE).stderr
    listed = re.search(r"<\.\.\.> search starts here:\n(.*?)End of search", said, re.DOTALL)
    return [line.strip() for line in listed[1].splitlines()]


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("clang")
    parser.add_argument("--libcxx")
    parser.add_argument("--rejected-for")
    parser.add_argument("--include", action="append", default=[])
    parser.add_argument("file")
    return parser.parse_known_args()


def main():
    given, rest = arguments()
    # Not as system headers: nothing that they say wrongly is to be overlooked.
    folders = [f"-I{HERE / 'surface'}", *(f"-I{folder}" for folder in given.include)]
    machine = "x86_64" if platform.machine() == "x86_64" else "arm64"
    compiler = [given.libcxx, "-stdlib=libc++"] if given.libcxx else [given.clang]
    for_macos = [*compiler, "-target", f"{machine}-apple-macos14", *LANGUAGE, *DISGUISE,
                 *(f"-isystem{folder}" for folder in system_folders(compiler)), *folders,
                 "-fsyntax-only", given.file, *rest]
    if given.rejected_for:
        said = subprocess.run(for_macos, stderr=subprocess.PIPE, text=True, check=False)
        print(said.stderr)
        sys.exit(0 if said.returncode != 0 and given.rejected_for in said.stderr else 1)
    with tempfile.TemporaryDirectory() as folder:
        for_here = [given.clang, *LANGUAGE, "-fobjc-runtime=macosx-14", *folders, "-c", given.file,
                    "-o", f"{folder}/object.o", *rest]
        subprocess.run(for_here, check=True)
    subprocess.run(for_macos, check=True)


if __name__ == "__main__":
    try:
        main()
    except subprocess.CalledProcessError as failure:
        sys.exit(failure.returncode)
