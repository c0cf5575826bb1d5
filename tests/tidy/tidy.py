#!/usr/bin/python3
"""Checks our own rules: floors, files, layout, documents. Prints FILE:LINE: MESSAGE for a breach.

    tidy.py [ROOT]
"""

import pathlib
import platform
import re
import shutil
import subprocess
import sys

import commands
import declarations
import documents
import facilities
import layers
import macos
from tree import CODE, COLUMNS, CPP, TEXT, Finding, Tree, width

FUNCTION_LINES = 70


# --- Floors: who may include what -----------------------------------------------------------------

STANDARD_HEADERS = set("""
    algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono
    cinttypes climits clocale cmath codecvt compare complex concepts condition_variable coroutine
    csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque
    exception execution filesystem forward_list fstream functional future initializer_list iomanip
    ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource mutex
    new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore
    set shared_mutex source_location span sstream stack stdexcept stop_token streambuf string
    string_view syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map
    unordered_set utility valarray variant vector version""".split())

CORE_LIBRARIES = ("nlohmann/", "fmt/", "utf8proc.h", "hwy/")
# What a processor has is no system's: instructions that Highway does not know.
PROCESSOR_HEADERS = ("arm_neon.h", "cpuid.h", "immintrin.h")
MIL_LIBRARIES = ("hwy/", *PROCESSOR_HEADERS)
# Weights stay where they lie on disk: mapping them is the one thing the engine asks of a system.
SYSTEM_FILES = {pathlib.PurePath("src/MIL/Weights/MappedFile.cpp")}
TEST_LIBRARIES = ("gtest/", "gmock/", "rapidcheck")

INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*([<"])([^>"]+)[>"]')


def floor_of(path):
    """The floor a file stands on; nothing where anything may be included."""
    parts = path.parts
    if parts[0] == "tests":
        return "core test" if parts[1] in ("core", "simulation", "fakes") else None
    if parts[0] != "src":
        return None
    if len(parts) == 2 or parts[1] in layers.FOLDERS:
        return "core"
    if parts[1] == "Platform":
        return "/".join(parts[1:3])  # Platform/Linux, Platform/macOS, Platform/Shared
    return parts[1]


FORBIDDEN_FOLDERS = {
    "core test": ("Platform/", "App/", "UI/", "MIL/"),
    "Platform/Linux": ("App/", "UI/", "Platform/macOS/", "MIL/"),
    "Platform/macOS": ("App/", "UI/", "Platform/Linux/", "MIL/"),
    "Platform/Shared": ("App/", "UI/", "Platform/Linux/", "Platform/macOS/", "MIL/"),
    "UI": ("App/", "Platform/", "MIL/"),
}
LIBRARIES = {
    "core": CORE_LIBRARIES,
    "core test": CORE_LIBRARIES + TEST_LIBRARIES,
    "MIL": MIL_LIBRARIES,
}


def own_header_allowed(floor, path, header):
    """Whether a file may include one of our own headers, named as it is included."""
    beside = "/" not in header and path.parts[:2] != ("src", header)
    if floor == "core":
        return header.startswith(tuple(folder + "/" for folder in layers.FOLDERS)) or beside
    if floor == "MIL":
        return header.startswith("MIL/") or beside
    return not header.startswith(FORBIDDEN_FOLDERS.get(floor, ()))


OWN_FOLDERS = tuple(folder + "/" for folder in
                    layers.FOLDERS + ("App", "MIL", "Platform", "UI"))


def includes_on_the_wrong_floor(tree):
    """Arrows point down only: each floor includes what stands below it, and its own."""
    own_files = {path.name for path in tree.files({".h"}, "src") if len(path.parts) == 2}
    for path in tree.files(CPP, "src", "tests", "bench"):
        floor = floor_of(path)
        for number, line in tree.lines(path):
            found = INCLUDE.match(line)
            if not found:
                continue
            bracket, header = found.groups()
            if ".." in header.split("/"):
                yield Finding(path, number, f"include {header} by its path from src")
            elif bracket == "<" and (header.startswith(OWN_FOLDERS) or header in own_files):
                # The rules of floors, layers and facilities look at quotes.
                yield Finding(path, number, f"include our own {header} in quotes")
            elif bracket == '"':
                if not own_header_allowed(floor, path, header):
                    yield Finding(path, number, f"{floor} may not include {header}")
            elif floor in LIBRARIES and path not in SYSTEM_FILES:
                if header not in STANDARD_HEADERS and not header.startswith(LIBRARIES[floor]):
                    yield Finding(path, number, f"{floor} may not include <{header}>")


OS_CONDITION = re.compile(
    r"^\s*#\s*(?:if|ifdef|ifndef|elif)\b.*"
    r"(?:__linux|__gnu_linux|__unix|__APPLE__|__MACH__|_WIN32|_WIN64|TARGET_OS_|Q_OS_|__FreeBSD__)")


def platform_conditions(tree):
    """Only src/Platform and its tests ask which system they are built for."""
    for path in tree.files(CPP, "src", "tests", "bench"):
        if path.parts[1] != "Platform":
            for number, line in tree.lines(path):
                if OS_CONDITION.match(line):
                    yield Finding(path, number, "only src/Platform may ask for the system")


# What only Linux's C library has. Code that a Mac compiles, too, stands outside the folders below.
LINUX_FOLDERS = {"Linux", "bench", "desktop", "downloads", "scripts"}
# Built on Linux only, and what asks which system it is built for.
LINUX_FILES = {pathlib.PurePath("src/Platform/Shared/LinkedFiles.cpp"),
               pathlib.PurePath("src/Platform/Shared/Rename.cpp")}
LINUX_CALL = re.compile(
    r"\b(?:gettid|sched_\w+|eventfd|epoll_\w+|inotify_\w+|fanotify_\w+|timerfd_\w+|signalfd|"
    r"memfd_create|pidfd_\w+|timer_create|prctl|syscall|pipe2|accept4|dup3|ppoll|renameat2|"
    r"statx|getrandom|secure_getenv|O_PATH|O_TMPFILE|SOCK_CLOEXEC|SOCK_NONBLOCK|MSG_NOSIGNAL|"
    r"linux/\w+\.h)\b")


def calls_of_linux_alone(tree):
    """What a Mac compiles, too, calls nothing that only Linux has."""
    for path in tree.files(CPP, "src", "tests"):
        if not LINUX_FOLDERS & set(path.parts) and path not in LINUX_FILES:
            for number, line in tree.lines(path):
                found = LINUX_CALL.search(line)
                if found:
                    yield Finding(path, number, f"only Linux has {found[0]}")


ENVIRONMENT = pathlib.Path("src/Platform/Linux/Environment.cpp")
ENVIRONMENT_CALL = re.compile(r"\b(?:secure_)?getenv\b|\bqgetenv\b|\bqEnvironmentVariable")
# What the C library writes or reads of a fraction depends on the locale: "0,4" in German.
LOCALE_NUMBER = re.compile(r"%[-+#0]*[\d*]*(?:\.[\d*]*)?L?[aAeEfFgG]\b"
                           r"|\b(?:strto(?:d|f|ld)|sto(?:d|f|ld)|atof)\s*\(")
CLOCK_CALL = re.compile(r"_clock::now\b|\bclock_gettime\b")


def outside_world(tree):
    """The environment is read in one place; the core reads no clock and depends on no locale."""
    for path in tree.files(CPP, "src"):
        core = floor_of(path) == "core"
        for number, line in tree.lines(path):
            if path != ENVIRONMENT and ENVIRONMENT_CALL.search(line):
                yield Finding(path, number, "only Environment reads the environment")
            if core and CLOCK_CALL.search(line):
                yield Finding(path, number, "the core asks MainLoop for the time")
            if core and LOCALE_NUMBER.search(line):
                yield Finding(path, number, "the core depends on no locale: format whole numbers")


# --- Files ----------------------------------------------------------------------------------------

SOURCE_NAME = re.compile(r'[^\s()"]+\.(?:cpp|mm|qml)\b')


def unlisted_files(tree):
    """Every source file belongs to some target."""
    listed = set()
    for path in tree.files({".cmake"}):
        folder = tree.root / path.parent
        text = re.sub(r"#.*", "", tree.text(path))
        text = text.replace("${CMAKE_CURRENT_SOURCE_DIR}/", "")
        text = re.sub(r"\$\{(?:PROJECT|CMAKE)_SOURCE_DIR\}", str(tree.root.resolve()), text)
        listed.update((folder / name).resolve() for name in SOURCE_NAME.findall(text))
    for path in tree.files({".cpp", ".mm", ".qml"}, "src", "tests", "bench"):
        if (tree.root / path).resolve() not in listed:
            yield Finding(path, 1, "no CMakeLists.txt lists this file")


# --- Text -----------------------------------------------------------------------------------------

MARKER = re.compile(r"\b(?:TO" r"DO|FIX" r"ME|XX" r"X)\b(?P<rest>.*)")


def markers_without_reason(tree):
    """What is left to do says why it is left: the marker, a colon, three words at least."""
    for path in tree.files(TEXT):
        for number, line in tree.lines(path):
            found = MARKER.search(line)
            if found and not re.match(r":(?:\s+\S+){3,}", found["rest"]):
                yield Finding(path, number, "a reminder without a reason")


def long_lines(tree):
    """Code fits a hundred columns."""
    for path in tree.files(CODE):
        for number, line in tree.lines(path):
            if width(line) > COLUMNS:
                yield Finding(path, number, f"{width(line)} columns, at most {COLUMNS}")


MACHINE_PATH = re.compile(r"(?<![\w.}~-])/(?:(?:home|Users)/\w+|(?:root|work|workspace|mnt)/\w+)")


def machine_paths(tree):
    """No text names a path that exists on one machine only."""
    for path in tree.files(TEXT):
        for number, line in tree.lines(path):
            found = MACHINE_PATH.search(line)
            if found:
                yield Finding(path, number, f"{found[0]} is a path of one machine")


NO_FUNCTION = re.compile(r"\b(?:namespace|class|struct|union|enum|extern)\b")


def long_functions(tree):
    """Functions fit a screen. The layout tells them: their brace has a line of its own."""
    for path in tree.files(CPP, "src", "tests", "bench"):
        lines = tree.text(path).split("\n")
        for start, line in enumerate(lines):
            if line.strip() != "{":
                continue
            head = start
            while head > 0 and not re.search(r"^\s*(?:#.*|//.*|.*[;{}]|\w+:)?$", lines[head - 1]):
                head -= 1
            heading = " ".join(lines[head:start])
            if "(" not in heading or (NO_FUNCTION.search(heading) and ")" not in heading):
                continue
            closing = line.replace("{", "}")
            end = next((index for index in range(start, len(lines))
                        if lines[index].startswith(closing)), start)
            if end - start + 1 > FUNCTION_LINES:
                yield Finding(path, start + 1, f"a function of {end - start + 1} lines, "
                                               f"at most {FUNCTION_LINES}")


# Versions differ in what they make of the same style, so one is named and no other is asked. It
# is that of Debian 12; elsewhere a run says that it did not look at the layout.
FORMATTER = "clang-format-16"
FORMATTER_SUITE = "bookworm"


def formatter_is_elsewhere():
    """Whether this Debian does not have the one formatter whose layout counts."""
    try:
        suite = platform.freedesktop_os_release().get("VERSION_CODENAME")
    except (AttributeError, OSError):  # an older Python, or no such system
        suite = None
    return suite != FORMATTER_SUITE and shutil.which(FORMATTER) is None


def unformatted(tree):
    """C++ is laid out as .clang-format says."""
    if formatter_is_elsewhere():
        return
    program = shutil.which(FORMATTER)
    if program is None:
        yield Finding(".clang-format", 1, f"{FORMATTER} is not installed")
        return
    files = [str(path) for path in tree.files(CPP, "src", "tests", "bench")]
    if not files:
        return
    output = subprocess.run([program, "--dry-run", "--style=file", *files], cwd=tree.root,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            check=False).stdout
    seen = set()
    for found in re.finditer(r"^(.+?):(\d+):\d+: (?:warning|error): ", output, re.MULTILINE):
        if found[1] not in seen:  # one a file is enough to act on
            seen.add(found[1])
            yield Finding(found[1], int(found[2]), "not laid out as .clang-format says")


RULES = (
    includes_on_the_wrong_floor,
    platform_conditions,
    calls_of_linux_alone,
    outside_world,
    unlisted_files,
    *documents.RULES,
    *commands.RULES,
    declarations.unused_declarations,
    *facilities.RULES,
    *layers.RULES,
    *macos.RULES,
    markers_without_reason,
    long_lines,
    machine_paths,
    long_functions,
    unformatted,
)


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else
                        pathlib.Path(__file__).resolve().parents[2])
    tree = Tree(root)
    findings = [finding for rule in RULES for finding in rule(tree)]
    for finding in findings:
        print(finding)
    if formatter_is_elsewhere():
        print(f"Not looked at here: the layout, which {FORMATTER} of {FORMATTER_SUITE} decides")
    print(f"{len(tree.paths)} files, {len(findings)} findings")
    sys.exit(1 if findings else 0)


if __name__ == "__main__":
    main()
