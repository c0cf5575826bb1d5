"""How the tables of what was seen are written."""

import importlib.machinery
import importlib.util
import pathlib

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def matrix():
    loader = importlib.machinery.SourceFileLoader("desktop_matrix",
                                                  str(ROOT / "scripts" / "desktop-matrix"))
    module = importlib.util.module_from_spec(
        importlib.util.spec_from_loader(loader.name, loader))
    loader.exec_module(module)
    return module


def test_what_was_seen_again_in_another_order_is_the_same_table():
    table, table_in = matrix().table, matrix().table_in
    rows = {"one": {"first": "yes", "second": "not tried", "third": "yes"},
            "two": {"first": "not tried", "second": "yes", "third": "yes"}}
    before = table("places", rows)
    stood = table_in(before)
    seen = {"two": {"third": "yes", "second": "yes"}, "one": {"third": "yes", "first": "yes"}}
    assert table("places", stood | seen, stood["one"]) == before


def test_a_new_column_comes_last_and_one_that_nobody_saw_goes():
    table = matrix().table
    seen = {"one": {"new": "yes", "third": "yes", "first": "no"}}
    assert table("places", seen, ("first", "second", "third")).splitlines()[0] == (
        "| place | first | third | new |")
