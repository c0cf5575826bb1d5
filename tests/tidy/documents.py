"""Rules for documents: each thing is said once, links lead somewhere, prose is laid out alike."""

import pathlib
import re

from tree import CODE, COLUMNS, CPP, Finding, width

TABLE_HEADER = re.compile(r"^\|.*behaviou?r.*\|.*file.*\|.*test.*\|", re.IGNORECASE)


OVERVIEW = pathlib.PurePath("docs/ARCHITECTURE.md")
PAGES = pathlib.PurePath("docs/architecture")
SECTIONS = ("## Parts", "## Threads", "## What fails, and how", "## What proves it")


def subsystem_pages(tree):
    """Each page of a subsystem has its sections, and docs/ARCHITECTURE.md leads to it. Its last
    section is the table "behaviour, file, test"."""
    overview = tree.text(OVERVIEW) if pathlib.Path(OVERVIEW) in tree.paths else ""
    pages = [path for path in tree.files({".md"}) if path.parent == PAGES]
    if not pages:
        yield Finding(OVERVIEW, 1, f"there are no pages in {PAGES}")
    for path in pages:
        if f"(architecture/{path.name})" not in overview:
            yield Finding(path, 1, f"{OVERVIEW} does not lead here")
        headings = [line for _, line in tree.lines(path) if line.startswith("## ")]
        if headings != list(SECTIONS):
            yield Finding(path, 1, f"the sections of a page are {', '.join(SECTIONS)}")
        yield from behaviours(tree, path)


def behaviours(tree, path):
    """The table "behaviour, file, test" is there, and each row names its file and its test."""
    rows = 0
    inside = False
    for number, line in tree.lines(path):
        if TABLE_HEADER.match(line):
            inside = True
        elif not line.startswith("|"):
            inside = False
        elif inside and not re.fullmatch(r"[|\s:-]+", line):
            rows += 1
            if len(re.findall(r"`[^`]+`", line)) < 2:
                yield Finding(path, number, "a behaviour names its file and its test")
    if rows == 0:
        yield Finding(path, 1, "the table of behaviours, files and tests is missing")


# What a document names of the tree, and what it names of the code. Decision notes tell of their
# time, and the log of changes, too.
NAMED_PATH = re.compile(r"(?:src|tests|scripts|bench|packaging|docs|cmake)/[\w./*@+-]+")
NAMED_CODE = re.compile(r"[A-Z]\w*[a-z]\w*(?:::\w+)?")
HISTORY = (pathlib.PurePath("docs/decisions"), pathlib.PurePath("CHANGELOG.md"))


def named_things(tree):
    """What a document names of the tree exists, and what a page of a subsystem names of the code
    stands in it."""
    code = set()
    for path in tree.files(CODE | {".mm", ".swift"}, "src", "tests"):
        code.update(re.findall(r"\w+", tree.text(path)))
    for path in markdown(tree):
        if path in HISTORY or path.parent in HISTORY:
            continue
        for number, line in tree.lines(path):
            for name in re.findall(r"`([^`]+)`", line):
                file = re.sub(r":\d+$", "", name)
                if NAMED_PATH.fullmatch(file) and not list(tree.root.glob(file)):
                    yield Finding(path, number, f"{name} does not exist")
                known = not NAMED_CODE.fullmatch(name) or set(name.split("::")) <= code
                if path.parent == PAGES and not known:
                    yield Finding(path, number, f"nothing in the code is called {name}")


# --- Markdown -------------------------------------------------------------------------------------

LIST_ITEM = re.compile(r"\s*(?:[-*+]|\d+\.)\s+")
HEADING = re.compile(r"(#+)\s+(.*)")
LEAD = re.compile(r"\*\*(.+?)\*\*")
LINK = re.compile(r"\]\(([^)\s]+)\)")
# A piece of code may hold blanks; no line is broken there.
WORD = re.compile(r"(?:`[^`]*`|[^\s`])+")
# A line of a paragraph is at least as long, if the next word allows.
SHORTEST_LINE = 80


def markdown(tree):
    """The documents."""
    return tree.files({".md"})


def classified(tree, path):
    """The numbered lines of a document, each with the language of the code that it is part of: ""
    where none is named, nothing for what is no code. The lines of a fence itself are left out."""
    fence, after_blank, in_list = None, True, False
    for number, line in tree.lines(path):
        if line.lstrip().startswith("```"):
            fence = line.strip().removeprefix("```") if fence is None else None
            after_blank = True
            continue
        indented = line.startswith("    ") and after_blank and not in_list
        code = fence if fence is not None else "" if indented else None
        if code is None and line.strip():
            in_list = bool(LIST_ITEM.match(line)) or (in_list and line.startswith(" "))
        after_blank = not line.strip() or code is not None
        yield number, line, code


def blocks(tree, path):
    """The paragraphs, list items, headings and tables of a document, as lists of its numbered
    lines, without its code."""
    block, before = [], 0
    for number, line, code in classified(tree, path):
        prose = code is None and line.strip()
        starts = LIST_ITEM.match(line) or HEADING.match(line) or number != before + 1
        if block and (not prose or starts or HEADING.match(block[0][1])):
            yield block
            block = []
        if prose:
            block.append((number, line))
        before = number
    if block:
        yield block


def said_twice(tree):
    """A document has no paragraph and no lead ("**Lead** says …") twice, a section no heading."""
    for path in markdown(tree):
        section, seen = {}, set()
        for block in blocks(tree, path):
            subjects = [(number, "lead", LEAD.match(line)[1])
                        for number, line in block if LEAD.match(line)]
            number, line = block[0]
            heading = HEADING.match(line)
            if heading:
                level = len(heading[1])
                section = {**{outer: section[outer] for outer in section if outer < level},
                           level: heading[2]}
                subjects.append((number, "heading", *section.values()))
            elif len(block) > 1:
                subjects.append((number, "text", " ".join(text.strip() for _, text in block)))
            for number, *subject in subjects:
                if tuple(subject) in seen:
                    yield Finding(path, number, f"{subject[-1][:40]!r} stands here twice")
                seen.add(tuple(subject))


def prose_layout(tree):
    """Prose fits a hundred columns and fills them, within a word or two."""
    for path in markdown(tree):
        for block in blocks(tree, path):
            if block[0][1].startswith("|"):
                continue
            for (number, line), following in zip(block, block[1:] + [(0, "")]):
                if width(line) > COLUMNS and len(WORD.findall(line)) > 1:
                    yield Finding(path, number, f"{width(line)} columns, at most {COLUMNS}")
                word = WORD.search(following[1])
                if word and width(line) + 1 + width(word[0]) <= SHORTEST_LINE:
                    yield Finding(path, number, "the next word fits on this line")


# --- What documents name --------------------------------------------------------------------------


def anchor(heading):
    """What a link to a heading ends in."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def broken_links(tree):
    """Links within the tree lead to a file, and to a heading of it."""
    for path in markdown(tree):
        for block in blocks(tree, path):
            for number, line in block:
                for target in LINK.findall(line):
                    if re.match(r"\w+:", target):
                        continue
                    name, _, part = target.partition("#")
                    file = (tree.root / path.parent / name).resolve() if name else tree.root / path
                    found = file.exists()
                    if found and part:
                        headings = HEADING.finditer(file.read_text(encoding="utf-8"))
                        found = part in {anchor(heading[2]) for heading in headings}
                    if not found:
                        yield Finding(path, number, f"{target} does not exist")


NOTES = pathlib.PurePath("docs/decisions")
NOTE = re.compile(r"(\d{4})-[a-z0-9-]+\.md")


def decision_notes(tree):
    """A decision note is NNNN-name.md, is titled "# NNNN: Title", has a number of its own, and
    the overview or a subsystem's page leads to it."""
    linked = "".join(tree.text(path) for path in markdown(tree)
                     if path == OVERVIEW or path.parent == PAGES)
    numbers = set()
    for path in markdown(tree):
        if path.parent != NOTES:
            continue
        name = NOTE.fullmatch(path.name)
        if not name:
            yield Finding(path, 1, "a decision note is named NNNN-name.md")
            continue
        if not re.match(f"# {name[1]}: \\S", tree.text(path)):
            yield Finding(path, 1, f'the title has the form "# {name[1]}: Title"')
        if name[1] in numbers:
            yield Finding(path, 1, f"{name[1]} is the number of another note, too")
        if f"decisions/{path.name})" not in linked:
            yield Finding(path, 1, f"neither {OVERVIEW} nor a page of {PAGES} leads here")
        numbers.add(name[1])


FOLDER_ROW = re.compile(r"\|\s*`(src/[\w/]+)`")


def folder_list(tree):
    """docs/HACKING.md lists the folders of src, down to the first that holds code."""
    document = pathlib.Path("docs/HACKING.md")
    listed = {}
    if document in tree.paths:
        for number, line in tree.lines(document):
            row = FOLDER_ROW.match(line)
            if row:
                listed[row[1]] = number
    rooms = {path.parent for path in tree.files(CPP, "src") if len(path.parts) > 2}
    outer = {room for room in rooms if not rooms & set(room.parents)}
    for room in sorted(str(room) for room in outer):
        if room not in listed:
            yield Finding(document, 1, f"the list of folders lacks {room}")
    for room, number in listed.items():
        if not (tree.root / room).is_dir():
            yield Finding(document, number, f"{room} does not exist")


SETTINGS = pathlib.PurePath("docs/SETTINGS.md")
PREFERENCES = pathlib.PurePath("src/Preferences.cpp")
STORED = re.compile(r'(?:read(?:<[^>]*>)?|value|set)\("([\w.]+)"')


def settings_keys(tree):
    """docs/SETTINGS.md lists the keys of the settings file, those and no others."""
    if PREFERENCES not in tree.paths:
        return
    stored = set(STORED.findall(tree.text(PREFERENCES)))
    listed = {}
    if SETTINGS in tree.paths:
        for number, line in tree.lines(SETTINGS):
            if line.startswith("| `"):
                listed |= dict.fromkeys(re.findall(r"`([^`]+)`", line.split("|")[1]), number)
    for key in sorted(stored - set(listed)):
        yield Finding(SETTINGS, 1, f"the list lacks {key}")
    for key, number in listed.items():
        if key not in stored:
            yield Finding(SETTINGS, number, f"nothing is stored under {key}")


RULES = (
    subsystem_pages,
    named_things,
    said_twice,
    prose_layout,
    broken_links,
    decision_notes,
    folder_list,
    settings_keys,
)
