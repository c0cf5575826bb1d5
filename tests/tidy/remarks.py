"""What a file of code does, apart from what it only says: comments, docstrings, what is printed."""

import ast
import io
import re
import tokenize

from tree import CPP, kind

QUOTED = r'''"(?:\\.|[^"\\])*"|'[^']*\''''
# A comment, or a text, which may look like one inside.
OF_CPP = re.compile(r'''//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])\'''', re.DOTALL)
OF_SHELL = re.compile(rf"{QUOTED}|(?:^|(?<=\s))\#[^\n]*", re.MULTILINE)
PRINTED = re.compile(rf"\b(?:echo|printf)\b(?:{QUOTED}|[^\s\"'|;&<>()]|[ \t])*")
DEFINITIONS = (ast.Module, ast.ClassDef, ast.FunctionDef, ast.AsyncFunctionDef)


def without_remarks(path, text):
    """A file's text with nothing in it that runs nothing."""
    if kind(path) in CPP:
        return OF_CPP.sub(lambda found: " " if found[0].startswith("/") else found[0], text)
    if kind(path) == ".py" or re.match(r"#!.*python", text):
        return _python(text)
    if kind(path) in (".cmake", ".sh") or text.startswith("#!"):
        return PRINTED.sub(" ", OF_SHELL.sub(
            lambda found: " " if found[0].startswith("#") else found[0], text))
    return text


def _python(text):
    lines = text.split("\n")
    starts = [0]
    for line in lines:
        starts.append(starts[-1] + len(line) + 1)

    def offset(line, column):
        # Columns of a syntax tree count bytes.
        before = lines[line - 1].encode("utf-8", "surrogateescape")[:column]
        return starts[line - 1] + len(before.decode("utf-8", "surrogateescape"))

    gone = []
    for node in ast.walk(ast.parse(text.encode("utf-8", "surrogateescape"))):
        remarks = []
        if isinstance(node, DEFINITIONS) and ast.get_docstring(node, clean=False) is not None:
            remarks = node.body[:1]
        elif isinstance(node, ast.Call) and getattr(node.func, "id", "") == "print":
            remarks = node.args
        gone += [(offset(remark.lineno, remark.col_offset),
                  offset(remark.end_lineno, remark.end_col_offset)) for remark in remarks]
    for token in tokenize.generate_tokens(io.StringIO(text).readline):
        if token.type == tokenize.COMMENT:
            start = starts[token.start[0] - 1] + token.start[1]
            gone.append((start, start + len(token.string)))
    for start, end in sorted(gone, reverse=True):
        text = text[:start] + " " * (end - start) + text[end:]
    return text
