"""What the tests of the rules are made of."""

import pathlib
import tempfile
import unittest

from tree import Tree


class RuleTest(unittest.TestCase):
    """Rules on made-up trees."""

    def found(self, rule, files):
        """What a rule finds in a tree of these files: FILE:LINE each."""
        with tempfile.TemporaryDirectory() as folder:
            for name, text in files.items():
                path = pathlib.Path(folder, name)
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text, encoding="utf-8")
            return [f"{finding.path}:{finding.line}" for finding in rule(Tree(folder))]

    def assert_catches(self, rule, path, bad, good=""):
        """The bad text is caught in its last line, the good one passes."""
        line = len(bad.rstrip("\n").split("\n"))
        self.assertEqual(self.found(rule, {path: bad}), [f"{path}:{line}"])
        self.assertEqual(self.found(rule, {path: good}), [])
