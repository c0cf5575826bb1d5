"""A rule for headers: what they declare, something uses."""

import collections
import re

from tree import CPP, Finding

NOT_CODE = re.compile(
    r'''//[^\n]*|/\*.*?\*/|'(?:\\.|[^'\\\n])'|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"''', re.DOTALL)
NAME = re.compile(r"\b[A-Za-z_]\w*\b")
INDENTED = r"^[ \t]*"
# What a line of a header declares: a function, a type, a name for one, a constant.
DECLARATIONS = (
    re.compile(INDENTED + r"(?!return\b|co_\w+\b|else\b|throw\b|delete\b|if\b|#)"
               r"(?:[\w:]+(?:<.*>)?(?:::\w+)*[ \t&*]+)+(?P<name>[a-z]\w*)\((?P<rest>.*)",
               re.MULTILINE),
    re.compile(INDENTED + r"(?:enum )?(?:class|struct|union) (?P<name>\w+)(?P<rest>[^;]*)$",
               re.MULTILINE),
    re.compile(INDENTED + r"using (?P<name>\w+)(?P<rest>) =", re.MULTILINE),
    re.compile(INDENTED + r"(?:inline |static )*constexpr [^=(;]*?\b(?P<name>\w+)(?P<rest>)"
               r"(?:\[\w*\])*(?: =|\{)", re.MULTILINE),
)
# What the language calls by its name.
OF_THE_LANGUAGE = {
    "await_ready", "await_resume", "await_suspend", "begin", "end", "final_suspend",
    "get_return_object", "initial_suspend", "return_value", "return_void", "unhandled_exception",
    "what", "await_transform", "promise_type", "main"}
# Where a type only speaks of itself: its constructors and its destructor.
OF_ITSELF = r"^[ \t]+(?:constexpr |explicit |virtual )*~?{name}\("
PUBLIC = "part of the public interface"
OBSERVED = "how a test sees what happened inside"
# What stays though nothing in src uses it, and why.
KEPT = {
    "hideToken": PUBLIC,
    "hudSizes": PUBLIC,
    "bridge": OBSERVED,
    "quickWindow": OBSERVED,
    "holdsModel": OBSERVED,
}


def code(text):
    """C++ without comments and texts; the lines stay."""
    return NOT_CODE.sub(lambda found: "\n" * found[0].count("\n") or " ", text)


def declared(text):
    """What a header declares: (name, offset of the name)."""
    for pattern in DECLARATIONS:
        for found in pattern.finditer(text):
            if found["name"] not in OF_THE_LANGUAGE and "override" not in found["rest"]:
                yield found["name"], found.start("name")


def unused_declarations(tree, kept=None):
    """What a header in src declares is used in src, beyond its declarations and its definition;
    what only tests use belongs to the tests."""
    kept = KEPT if kept is None else kept
    mentions, excused, first = collections.Counter(), collections.Counter(), {}
    for path in tree.files(CPP | {".qml"}, "src"):
        text = code(tree.text(path))
        mentions.update(NAME.findall(text))
        if path.suffix == ".h":
            for name, offset in declared(text):
                excused[name] += 1
                excused[name] += len(re.findall(OF_ITSELF.format(name=name), text, re.MULTILINE))
                first.setdefault(name, (path, text.count("\n", 0, offset) + 1))
        elif path.suffix != ".qml":
            # A definition stands at the left edge.
            for line in re.findall(r"^[A-Za-z].*", text, re.MULTILINE):
                excused.update(re.findall(r"\b(\w+)\(", line)[:1])
    unused = {name for name in first if mentions[name] <= excused[name]}
    for name in sorted(unused - set(kept), key=first.get):
        yield Finding(*first[name], f"nothing in src uses {name}")
    for name in sorted(set(kept) - unused):
        yield Finding("tests/tidy/declarations.py", 1, f"{name} needs no reason to stay")
