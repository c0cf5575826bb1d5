"""What the installed package depends on and recommends, held against what it uses: neither is
anything missing by name, nor is anything declared that nothing of it uses."""

import pathlib
import re
import subprocess

from installed_files import NEEDS, RECOMMENDED

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
LIBRARY = re.compile(r"lib[^/]+\.so(\.\d+)+")
MODULES = re.compile(r"/usr/lib/[^/]+/qt6/qml/(.+)/qmldir")
TEXT = re.compile(r'"([^"\\\n]+)"')
LATE = re.compile(r"\blib[a-z0-9]+\.so(?:\.\d+)+")
IMPORT = re.compile(r"^\s*(?:import|depends)\s+([A-Z][\w.]*)", re.MULTILINE)


def field(name):
    """The packages that a field of the installed package names, the first of each choice."""
    said = subprocess.run(["dpkg-query", "--show", f"--showformat=${{{name}}}", "vorlin"],
                          check=True, stdout=subprocess.PIPE, text=True).stdout
    return {each.split()[0] for each in said.split(",")}


def files_of(package):
    listed = subprocess.run(["dpkg", "-L", package], check=True, stdout=subprocess.PIPE, text=True)
    return [path for path in listed.stdout.split("\n") if pathlib.Path(path).is_file()]


def words_of_programs():
    """The texts in the package's programs that end with a zero: among them the names of all
    libraries that they are linked to or load later, and of the programs that they start."""
    programs = [pathlib.Path(path) for path in files_of("vorlin")]
    return {word for program in programs for word in program.read_bytes().split(b"\0")
            if program.open("rb").read(4) == b"\x7fELF"}


def words_of_sources():
    """The texts in the sources. The compiler may write a short one into the code in pieces, so that
    the program has it nowhere as a whole."""
    sources = [path for path in (ROOT / "src").rglob("*.*")
               if path.suffix in (".cpp", ".h", ".txt") and "macOS" not in path.parts]
    lines = [line for path in sources for line in path.read_text().splitlines()
             if not line.lstrip().startswith("//")]
    return {text.encode() for line in lines for text in TEXT.findall(line) + LATE.findall(line)}


def imported_modules(views, modules):
    """The modules that the views import, and those that these do, by `modules`: what the
    description of each says."""
    found, new = set(), set(IMPORT.findall("\n".join(views)))
    while new:
        found |= new
        new = {name for module in new for name in IMPORT.findall(modules.get(module, ""))} - found
    return found


def is_used(paths, words, imported):
    """Whether something among a package's files is used: a library by a program that names it, a
    module by a view, a program by its name."""
    for path in paths:
        name = pathlib.Path(path).name
        module = MODULES.fullmatch(path)
        if module and module[1].replace("/", ".") in imported:
            return True
        if LIBRARY.fullmatch(name) and name.encode() in words:
            return True
        if path.startswith("/usr/bin/") and name.encode() in words:
            return True
    return False


def wrong_dependencies():
    """What is missing among them or too much, one line each."""
    needs, recommended = field("Depends"), field("Recommends")
    yield from (f"does not depend on {name}" for name in sorted(NEEDS.keys() - needs))
    yield from (f"does not recommend {name}" for name in sorted(RECOMMENDED.keys() - recommended))
    yield from (f"recommends {name} for no reason"
                for name in sorted(recommended - RECOMMENDED.keys()))
    files = {name: files_of(name) for name in needs}
    modules = {module[1].replace("/", "."): pathlib.Path(path).read_text()
               for paths in files.values() for path in paths
               if (module := MODULES.fullmatch(path))}
    views = [path.read_text() for path in (ROOT / "src" / "UI").rglob("*.qml")]
    words = words_of_programs() | words_of_sources()
    imported = imported_modules(views, modules)
    yield from (f"depends on {name}, of which nothing is used" for name in sorted(needs)
                if not NEEDS.get(name) and not is_used(files[name], words, imported))
