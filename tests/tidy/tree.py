"""The files that tidy looks at, and what it says of them."""

import pathlib
import unicodedata
from typing import NamedTuple

CPP = {".h", ".cpp", ".mm"}
CODE = CPP | {".py", ".qml", ".cmake", ".sh"}
TEXT = CODE | {".md", ".txt", ".json", ".yml", ".yaml", ".in", ".desktop", ".conf", ".xml"}
# What is no text of ours: build results, and inputs that are strange on purpose.
SKIPPED_FOLDERS = {".git", ".cache", "__pycache__", ".pytest_cache", "build", "artefacts", "corpus"}
COLUMNS = 100


class Finding(NamedTuple):
    """One breach of a rule."""
    path: str
    line: int
    message: str

    def __str__(self):
        return f"{self.path}:{self.line}: {self.message}"


class Tree:
    """The files of a source tree, by path from its root."""

    def __init__(self, root):
        self.root = pathlib.Path(root)
        self.paths = sorted(
            path.relative_to(self.root) for path in self.root.rglob("*")
            if path.is_file() and not SKIPPED_FOLDERS & set(path.relative_to(self.root).parts))
        self.texts = {}

    def files(self, suffixes, *folders):
        """The files with one of the suffixes, in one of the folders if any are given."""
        for path in self.paths:
            if kind(path) in suffixes and (not folders or path.parts[0] in folders):
                yield path

    def text(self, path):
        """A file's text; bytes that are not UTF-8 become surrogates."""
        if path not in self.texts:
            raw = (self.root / path).read_bytes()
            self.texts[path] = raw.decode("utf-8", "surrogateescape")
        return self.texts[path]

    def lines(self, path):
        """A file's numbered lines."""
        return enumerate(self.text(path).split("\n"), 1)


def kind(path):
    """A file's suffix; a script without one, and a build file, count as what they are."""
    if path.name in ("CMakeLists.txt", "Makefile"):
        return ".cmake"
    if path.suffix == "" and path.parts[0] in ("scripts", ".ci"):
        return ".sh"
    return path.suffix


def width(line):
    """Columns of a line: characters, without those that combine with the one before."""
    return sum(1 for character in line if not unicodedata.combining(character))
