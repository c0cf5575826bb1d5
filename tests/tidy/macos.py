"""Rules for macOS: each port has its adapter, no adapter grows, and docs/MACOS.md says where each
call of the platform stands.

    macos.py --mend [ROOT]    writes the lines into docs/MACOS.md anew
"""

import pathlib
import re
import sys

from tree import Finding, Tree

ADAPTERS = pathlib.PurePath("src/Platform/macOS")
HELPERS = ADAPTERS / "Objects"
SHARED = pathlib.PurePath("src/Platform/Shared")
PORTS = pathlib.PurePath("src/Ports")
# Ports whose adapter has another name than Mac and theirs, or serves Linux, too.
ELSEWHERE = {
    "AudioConverter": ADAPTERS / "MacAudioConverters.mm",
    "FocusedProgram": SHARED / "NoFocusedProgram.h",
    "HTTPClient": SHARED / "Curl/CurlHTTPClient.cpp",
    "MLModel": ADAPTERS / "MacMLModels.mm",
    "Random": SHARED / "SystemRandom.h",
    "SpeechAnalyzer": ADAPTERS / "Speech/MacSpeechAnalyzers.cpp",
    "Workers": SHARED / "ThreadPool.cpp",
    "WorkingFolders": SHARED / "DiskWorkingFolders.cpp",
}
# An adapter translates: one that needs more than this decides something.
LONGEST_ADAPTER = 200
LONGEST_SWIFT = 150
LONGEST_HELPER = 120


def ports_without_an_adapter(tree):
    """Each port of src/Ports has its file for macOS."""
    for path in tree.files({".h"}, "src"):
        if path.parent != PORTS or "virtual ~" not in tree.text(path):
            continue
        adapter = ELSEWHERE.get(path.stem, ADAPTERS / f"Mac{path.stem}.mm")
        if pathlib.Path(adapter) not in tree.paths:
            yield Finding(path, 1, f"{adapter} is missing")


def long_adapters(tree):
    """An adapter translates and decides nothing: it is short, as is what adapters share."""
    limits = {".mm": LONGEST_ADAPTER, ".swift": LONGEST_SWIFT, ".h": LONGEST_HELPER}
    for path in tree.files(limits, "src"):
        if not (ADAPTERS if path.suffix != ".h" else HELPERS) in path.parents:
            continue
        limit = limits[path.suffix]
        length = tree.text(path).count("\n")
        if length > limit:
            yield Finding(path, limit + 1, f"{length} lines, at most {limit}")


# A rule of the core is a number, or a time to wait.
NUMBER = re.compile(r"(?<![\w.])(?![01](?![\w.']))\d[\w.']*")
TIME = re.compile(r"std::chrono::(?!duration\b)\w+")
NO_CODE = re.compile(r'//.*|"(?:[^"\\]|\\.)*"|^\s*#.*')
# How often the system is asked, or told, for want of a notice of its own.
PACES = {
    "constexpr auto frame = std::chrono::milliseconds(16);",
    "constexpr auto progressEvery = std::chrono::seconds(1);",
}


def adapters_hold_no_rules(tree):
    """An adapter reckons with no number and no time of its own: these are the core's, or stand in
    plain C++ with a test."""
    for path in tree.files({".mm"}, "src"):
        if ADAPTERS not in path.parents:
            continue
        for number, line in tree.lines(path):
            code = NO_CODE.sub("", line)
            found = NUMBER.search(code) or TIME.search(code)
            if found and line.strip() not in PACES:
                yield Finding(path, number, f"an adapter has a rule: {found[0]}")


# --- docs/MACOS.md --------------------------------------------------------------------------------

DOCUMENT = pathlib.Path("docs/MACOS.md")
HEADER = re.compile(r"^\|.*call of the platform.*\|.*written.*\|.*file and line.*\|.*held by.*\|$")
ROW = re.compile(r"^\| (?P<call>.+) \| `(?P<code>[^`]+)` \| `(?P<file>[^`]+):(?P<line>\d+)` "
                 r"\| (?P<held>.+) \|$")


def rows(tree):
    """The rows of the table of calls: number, and the match, or nothing for one that is none."""
    inside = False
    for number, line in tree.lines(DOCUMENT):
        if HEADER.match(line):
            inside = True
        elif not line.startswith("|"):
            inside = False
        elif inside and not re.fullmatch(r"[|\s:-]+", line):
            yield number, ROW.match(line)


def places(tree, row):
    """The lines of its file in which what a row names is written."""
    path = pathlib.Path(row["file"])
    if path not in tree.paths:
        return []
    return [number for number, line in tree.lines(path) if row["code"] in line]


def calls_of_the_platform(tree):
    """Each row of the table names a line that holds what it says, and tests that are there."""
    if DOCUMENT not in tree.paths:
        yield Finding(DOCUMENT, 1, "the table of calls is missing")
        return
    count = 0
    for count, (number, row) in enumerate(rows(tree), 1):
        if row is None:
            yield Finding(DOCUMENT, number, "a row is | call | `code` | `file:line` | held by |")
            continue
        if int(row["line"]) not in places(tree, row):
            yield Finding(DOCUMENT, number, f"{row['code']} does not stand there: "
                                            "tests/tidy/macos.py --mend")
        tests = re.findall(r"`([^`]+)`", row["held"])
        if not tests:
            yield Finding(DOCUMENT, number, "a call is held by a test")
        for test in tests:
            if pathlib.Path("tests") / test not in tree.paths:
                yield Finding(DOCUMENT, number, f"tests/{test} does not exist")
    if count == 0:
        yield Finding(DOCUMENT, 1, "the table of calls is missing")


def mend(root):
    """Moves each row to the nearest line that holds what it says."""
    tree = Tree(root)
    lines = tree.text(DOCUMENT).split("\n")
    for number, row in rows(tree):
        found = places(tree, row) if row else []
        if found:
            nearest = min(found, key=lambda line, was=int(row["line"]): abs(line - was))
            lines[number - 1] = row[0].replace(f":{row['line']}`", f":{nearest}`")
    (tree.root / DOCUMENT).write_text("\n".join(lines), encoding="utf-8")


# --- The declared surface -------------------------------------------------------------------------

SURFACE = pathlib.Path("tests/macos/surface")
CONSTANTS = pathlib.Path("tests/macos/PlatformConstants.mm")
# The list of what is unconfirmed has one row a header.
UNCONFIRMED = re.compile(r"^## Declarations that nothing confirms\n(.*?)^## ",
                         re.MULTILINE | re.DOTALL)
UNCONFIRMED_ROW = re.compile(r"^\| `(?P<header>[^`]+\.h)` \| .*`.* \|$")
# A number with a name: one of an enumeration, or an integer on its own. A floating-point one is no
# constant to the compiler; the tests of the adapters see it.
CONSTANT = re.compile(r"^(?:static const (?!CGFloat)\w+ |\s+)(?P<name>[A-Z]\w+|k[A-Z]\w+)"
                      r"(?: API_AVAILABLE\(.*\))?(?: = [^;]+?)?[,;]?$")
COMMENT = re.compile(r"//.*")


def unconfirmed_declarations(tree):
    """docs/MACOS.md lists each header that holds something unconfirmed, and no other."""
    if DOCUMENT not in tree.paths:
        return
    text = tree.text(DOCUMENT)
    section = UNCONFIRMED.search(text + "\n## ")
    first = text.count("\n", 0, section.start(1)) + 1 if section else 1
    listed = {}
    for number, line in enumerate(section[1].split("\n") if section else [], first):
        if row := UNCONFIRMED_ROW.match(line):
            listed[SURFACE / row["header"]] = number
    for path in tree.files({".h"}, "tests"):
        if SURFACE not in path.parents:
            continue
        marked = [number for number, line in tree.lines(path) if "unconfirmed" in line]
        if marked and path not in listed:
            yield Finding(path, marked[0], f"{DOCUMENT} does not list it")
        if not marked and path in listed:
            yield Finding(DOCUMENT, listed[path], "nothing there is unconfirmed")
    for path, number in listed.items():
        if path not in tree.paths:
            yield Finding(DOCUMENT, number, f"{path} does not exist")


def constants_without_a_number(tree):
    """What an adapter names, the constants hold to its number."""
    declared = set()
    for path in tree.files({".h"}, "tests"):
        if SURFACE in path.parents:
            declared |= {found["name"] for _, line in tree.lines(path)
                         if (found := CONSTANT.match(line))}
    held = set(re.findall(r"\w+", tree.text(CONSTANTS))) if CONSTANTS in tree.paths else set()
    for path in tree.files({".mm", ".h"}, "src"):
        if ADAPTERS not in path.parents:
            continue
        for number, line in tree.lines(path):
            for name in re.findall(r"\w+", COMMENT.sub("", line)):
                if name in declared - held:
                    yield Finding(path, number, f"{CONSTANTS} does not hold {name} to its number")


RULES = (ports_without_an_adapter, long_adapters, adapters_hold_no_rules, calls_of_the_platform,
         unconfirmed_declarations, constants_without_a_number)

if __name__ == "__main__":
    if sys.argv[1:2] != ["--mend"]:
        sys.exit(__doc__)
    mend(sys.argv[2] if len(sys.argv) > 2 else ".")
