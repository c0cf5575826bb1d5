"""What runs the commands, and takes the pictures, that the documents show to people."""

import pathlib
import re
from typing import NamedTuple

import documents
from remarks import without_remarks
from tree import Finding


class Run(NamedTuple):
    """Run by a file, or by a target of the Makefile ("Makefile:TARGET") that `make test` or
    `make nightly` comes to. That holds the command itself, or what it says instead, where it does
    something: not in a comment, nor in what it prints."""
    by: str
    says: str = ""


class NotRun(NamedTuple):
    """Run by nobody, for a reason."""
    reason: str


ON_A_MAC = NotRun("only a Mac has it; it is part of the hand test before a release")
OF_A_PERSON = NotRun("it works on the files of the person who types it")
NO_SUCH_COMPOSITOR = NotRun("no Debian that we test on has this compositor; follows its manual")
DEBUG_BUILD = NotRun("a preset like those that `make test` builds, for whoever works on the code")
BENCH = Run("scripts/run-benches", '"*_bench.py"')

# As they stand in the documents. A block of another language than sh is one entry.
COMMANDS = {
    # README.md and docs/HACKING.md
    "apt install git make": Run("scripts/fresh-machine", "--no-install-recommends git make"),
    "make run": Run("Makefile:first-starts"),
    "make test": Run("Makefile:other-suites"),
    "make nightly": NotRun("it is what runs the others"),
    "make package": Run("scripts/try-package"),
    "sudo apt install ./build/package/vorlin_*.deb": Run(
        "tests/package/install_and_purge.py", 'apt("install", str(package))'),
    "sudo apt purge --auto-remove vorlin": Run(
        "tests/package/install_and_purge.py", 'apt("purge", "--auto-remove"'),
    "git pull": NotRun("it gets what others have done; upgrade.py installs a later package"),
    "apt autoremove": Run("tests/package/install_and_purge.py", 'apt("autoremove")'),
    "make pictures": Run("Makefile:pictures", "tests/desktop/pictures.py"),
    "make desktops": Run("Makefile:desktops", "scripts/test-desktops"),
    "make bench": Run("Makefile:bench", "scripts/run-benches"),
    "make format": NotRun("it changes the tree; tidy asks the same program what it would change"),
    "scripts/fresh-machine": Run("Makefile:first-starts"),
    "scripts/fresh-machine [--suite bookworm|trixie] COMMAND": Run(
        "Makefile:first-starts", "scripts/fresh-machine --suite $$suite make run"),
    "scripts/fresh-machine make test": Run(
        "Makefile:other-suites", "scripts/fresh-machine --suite $$suite make test"),
    "scripts/try-package [SUITE…]": Run("Makefile:packages", "scripts/try-package $(SUITES)"),
    "scripts/test-desktops --write": NotRun("it writes what the run without it is held against"),
    "scripts/install-packages": Run("Makefile:test"),
    "scripts/run-simulations": Run("Makefile:simulations"),
    "scripts/run-tests": Run("Makefile:test"),
    "scripts/start-on-a-display": Run("Makefile:first-starts"),
    "scripts/debian-sources": Run("tests/scripts/test_debian_sources.py", "debian-sources"),
    "scripts/try-package": Run("Makefile:packages"),
    "cmake --preset dev && cmake --build build/dev": DEBUG_BUILD,
    "ctest --test-dir build/dev -R Dictation": DEBUG_BUILD,
    "/usr/bin/python3 tests/desktop/inside.py -- COMMAND": Run(
        "tests/CMakeLists.txt", "tests/desktop/inside.py --"),
    "tests/MIL/oracle/check.py MILRUN --seed N --only OPERATION": Run(
        "tests/MIL/CMakeLists.txt", "oracle/check.py"),
    "VORLIN_SEED=N core_tests --gtest_filter=…": Run("scripts/run-simulations", "VORLIN_SEED"),
    "tests/downloads/confined.py -- PROGRAM": Run("tests/downloads/CMakeLists.txt",
                                                  "confined.py --"),
    "jq -r .customEngines.data settings.json | base64 -d": OF_A_PERSON,
    "```json": Run("tests/core/EngineTest.cpp", "customEngines"),
    "strace -f -o FILE build/release/tests/Platform/Linux/Engine/engine_tests "
    "--gtest_filter=Prediction*": NotRun("for the day on which the tests that it traces fail"),
    # docs/DESKTOPS.md
    "busctl --user call org.vorlin.Vorlin /org/vorlin/Vorlin org.freedesktop.Application "
    "ActivateAction 'sava{sv}' press 0 0": NotRun(
        "the call that gdbus makes in test_bound_keys.py, by a tool that a test machine lacks"),
    "loginctl lock-session": NotRun("a test machine has no login manager; its part is played in "
                                    "tests/desktop/test_locked_screen.py"),
    "```sway": Run("tests/desktop/test_bound_keys.py", '"sway"'),
    "```labwc": Run("tests/desktop/test_bound_keys.py", '"labwc"'),
    "```river": NO_SUCH_COMPOSITOR,
    "```niri": NO_SUCH_COMPOSITOR,
    "```hyprland": NO_SUCH_COMPOSITOR,
    # docs/MACOS.md
    "make dist": ON_A_MAC,
    "open -g": ON_A_MAC,
    "open -n": ON_A_MAC,
    "spctl --assess --type open --context context:primary-signature build/macos/Vorlin.dmg":
        ON_A_MAC,
    "python3 tests/tidy/macos.py --mend": Run("tests/tidy/test_tidy.py", "macos.mend("),
    # What measured the figures
    "bench/downloads_bench.py": BENCH,
    "bench/mil_bench.py": BENCH,
    "bench/overlay_bench.py": BENCH,
    "bench/recogniser_bench.py": BENCH,
    "bench/settings_bench.py": BENCH,
    "bench/sessions.py": Run("scripts/test-sessions", "bench/sessions.py"),
    "bench/startup_bench.py": BENCH,
    "bench_mil --steps": BENCH,
    'flite -voice kal16 -t "SENTENCE" -o FILE': NotRun(
        "how recordings were made; the desktop's voice is the same"),
    # tests/desktop/README.md
    "inside.py -- xterm": Run("tests/CMakeLists.txt", "tests/desktop/inside.py --"),
    "/usr/bin/python3 -m pytest tests/desktop/test_clipboard.py -k html": Run(
        "tests/desktop/CMakeLists.txt", "/usr/bin/python3 -m pytest"),
}
PICTURES = {
    "docs/dictation.gif": Run("Makefile:pictures", "tests/desktop/pictures.py"),
    "docs/dictation.png": Run("Makefile:pictures", "tests/desktop/pictures.py"),
}

PROGRAMS = ("apt", "bench_mil", "brew", "busctl", "cmake", "ctest", "curl", "dpkg", "flite",
            "gdbus", "git", "jq", "loginctl", "make", "open", "python3", "/usr/bin/python3",
            "spctl", "strace", "sudo", "swaymsg", "xterm")
# In running text a command is known by its first word: a program's name with something behind it,
# one of our scripts, a file of Python's with something behind it, a variable that is set.
SPAN = re.compile(rf"(?:{'|'.join(map(re.escape, PROGRAMS))}) \S.*|scripts/[\w-]+(?: .*)?"
                  r"|bench/\w+\.py(?: .*)?|[\w/]+\.py -.*|[\w/]+\.py [A-Z].*|[A-Z_]+=\S+ .*")
PICTURE = re.compile(r"!\[[^\]]*\]\(([^)\s]+)\)")
# What a drawing has and a command has not.
DRAWN = re.compile(r"[─│▲▼◄►═]")
THIS = pathlib.PurePath("tests/tidy/commands.py")


def blocks_of_code(tree, path):
    """The blocks of code of a document: the number of each first line, its language, its lines."""
    block = []
    for number, line, language in [*documents.classified(tree, path), (0, "", None)]:
        if block and (language is None or language != block[0][2]):
            yield block[0][0], block[0][2], [text for _, text, _ in block]
            block = []
        if language is not None:
            block.append((number, line, language))


def shown_commands(tree, path):
    """The commands of a document, each with the number of its line."""
    for number, language, lines in blocks_of_code(tree, path):
        text = "\n".join(lines)
        if language not in ("", "sh"):
            yield number, f"```{language}"
        elif not DRAWN.search(text):
            for command in re.sub(r"\\\n\s*", "", text).split("\n"):
                if command.strip():
                    yield number, command.strip()
    for number, line, language in documents.classified(tree, path):
        if language is None:
            for span in re.findall(r"`([^`]+)`", line):
                if SPAN.fullmatch(span):
                    yield number, span.replace("\\|", "|")


def shown_pictures(tree, path):
    """The pictures of a document by their paths from the root, each with the number of its line."""
    for number, line in tree.lines(path):
        for name in PICTURE.findall(line):
            yield number, (path.parent / name).as_posix()


def recipes(tree):
    """The recipes of the Makefile's targets that `make test` and `make nightly` come to."""
    path = pathlib.Path("Makefile")
    text = without_remarks(path, tree.text(path)) if path in tree.paths else ""
    lines = text.replace("\\\n", " ").split("\n")
    needs, recipe, targets = {}, {}, []
    for line in lines:
        head = re.match(r"([\w $()/:%-]+?)\s*:(?![:=])(.*)", line)
        if line.startswith("\t"):
            for target in targets:
                recipe[target] += line + "\n"
        elif head:
            targets = head[1].split()
            for target in targets:
                needs[target], recipe[target] = head[2].split(), ""
    reached, open_ones = {}, ["test", "nightly"]
    while open_ones:
        target = open_ones.pop()
        if target in recipe and target not in reached:
            reached[target] = recipe[target]
            made = re.findall(r"\$\(MAKE\)([^&|;\n]*)", recipe[target])
            open_ones += needs[target] + " ".join(made).split()
    return reached


def is_come_to(tree, path, made):
    """Whether a test or a target runs a file, as far as their texts say."""
    if path.name == "CMakeLists.txt":
        return True
    if path.parts[0] != "tests":
        return any(str(path) in recipe for recipe in made.values())
    beside = path.parent / "CMakeLists.txt"
    whole_folder = re.compile(r"-m pytest [^)]*\$\{CMAKE_CURRENT_SOURCE_DIR\}\)")
    if beside in tree.paths and whole_folder.search(without_remarks(beside, tree.text(beside))):
        return path.name.startswith("test_")
    runners = [without_remarks(each, tree.text(each)) for each in tree.paths
               if each.name == "CMakeLists.txt"
               or (each.parts[0] == "scripts" and is_come_to(tree, each, made))]
    runners += made.values()
    # A list of tests has short names.
    named = re.compile(rf"\b({re.escape(path.name)}|{path.stem.removeprefix('test_')})\b")
    return any(named.search(text) for text in runners)


def is_said(words, text):
    """Whether a text has these words, and not as parts of longer ones."""
    before = r"(?<![\w-])" if re.match(r"[\w-]", words) else ""
    after = r"(?![\w-])" if re.search(r"[\w-]$", words) else ""
    return re.search(before + re.escape(words) + after, text) is not None


def breach(tree, command, entry, made):
    """Why an entry of the table is wrong; nothing where it is right."""
    if isinstance(entry, NotRun):
        return None if entry.reason else "is not run for no reason"
    name, _, target = entry.by.partition(":")
    if target:
        text = made.get(target)
    else:
        path = pathlib.Path(name)
        runs = path in tree.paths and is_come_to(tree, path, made)
        text = without_remarks(path, tree.text(path)) if runs else None
    if text is None:
        return f"no test and no target that runs is called {entry.by}"
    says = entry.says or command
    return None if is_said(says, text) else f"{entry.by} does not say {says}"


def held_against(tree, shown, table, what):
    """What is shown is in the table, and what is in the table is shown and right."""
    made = recipes(tree)
    seen = set()
    for path in documents.markdown(tree):
        for number, name in shown(tree, path):
            seen.add(name)
            if name not in table:
                yield Finding(path, number, f"{THIS} does not say what {what} {name!r}")
    for name, entry in table.items():
        wrong = breach(tree, name, entry, made)
        if name not in seen:
            yield Finding(THIS, 1, f"no document shows {name!r}")
        elif wrong:
            yield Finding(THIS, 1, f"{name!r}: {wrong}")


def commands_are_run(tree, table=None):
    """Each command of a document is run by a test or at night, or it is said why not."""
    yield from held_against(tree, shown_commands, COMMANDS if table is None else table, "runs")


def pictures_are_taken(tree, table=None):
    """Each picture of a document is taken by a test or at night."""
    yield from held_against(tree, shown_pictures, PICTURES if table is None else table, "takes")


RULES = (commands_are_run, pictures_are_taken)
