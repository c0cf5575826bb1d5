"""Which program, desktop and key the tests have seen to work together: the tables of
docs/DESKTOPS.md.

A test is a cell of a table by its marker, which names two of its parameters:

    @pytest.mark.matrix("programs", row="application", column="hotkey")

A parameter that is a class goes by its `kind`. A cell of several tests is as its worst.

With `--matrix FILE` the run adds what it saw to FILE, which `scripts/desktop-matrix` reads.
"""

import json
import pathlib
import platform

SEEN, FAILED, MISSING = "yes", "no", "not installed"
WORSE = [SEEN, MISSING, FAILED]


def debian():
    """The number of this Debian."""
    return platform.freedesktop_os_release().get("VERSION_ID", "unstable")


class Matrix:
    """What this run has seen: {table: {row: {column: result}}}."""

    def __init__(self, path):
        self.path = pathlib.Path(path)
        self.tables = json.loads(self.path.read_text()) if self.path.exists() else {}

    def note(self, item, report):
        """Notes the outcome of a test that is a cell. One that fails at its end has failed."""
        marker = item.get_closest_marker("matrix")
        if marker is None or (report.when != "call" and report.passed):
            return
        row, column = (self._name(item, marker.kwargs[each]) for each in ("row", "column"))
        result = {"passed": SEEN, "failed": FAILED, "skipped": MISSING}[report.outcome]
        cells = self.tables.setdefault(marker.args[0], {}).setdefault(row, {})
        cells[column] = max(result, cells.get(column, SEEN), key=WORSE.index)
        self.path.parent.mkdir(parents=True, exist_ok=True)
        self.path.write_text(json.dumps(self.tables, indent=1))

    @staticmethod
    def _name(item, parameter):
        """The value of a parameter, or what stands for it where the test has none of this name."""
        parameters = item.callspec.params if hasattr(item, "callspec") else {}
        value = parameters.get(parameter, parameter)
        return getattr(value, "kind", value)
