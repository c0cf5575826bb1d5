"""Each rule for documents, and for the commands in them, catches a bad example and lets its good
neighbour pass."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import commands  # pylint: disable=wrong-import-position
import documents  # pylint: disable=wrong-import-position
from commands import NotRun, Run  # pylint: disable=wrong-import-position
from rule_test import RuleTest  # pylint: disable=wrong-import-position

PAGE = "docs/architecture/a.md"
SECTIONS = "# A\n\n## Parts\n\n## Threads\n\n## What fails, and how\n\n## What proves it\n\n"
HEAD = "| behaviour | file | test |\n|---|---|---|\n"
ROW = "| it works | `src/A.cpp` | `tests/ATest.cpp` |\n"
MAKEFILE = """\
PRESETS := dev
.PHONY: test nightly bench
test: build
\tscripts/run-tests
build:
\tcmake --preset dev
nightly:
\t@$(MAKE) --keep-going bench \\
\t    lint
bench: build-release
\tscripts/run-benches
lint:
\tlint
by-hand:
\tscripts/by-hand
"""


class DocumentTest(RuleTest):
    """The rules of documents, on made-up trees."""

    def test_a_subsystem_has_a_page_of_one_form(self):
        overview = {"docs/ARCHITECTURE.md": "[a](architecture/a.md)"}

        def found(text, **others):
            return self.found(documents.subsystem_pages, {**overview, PAGE: text, **others})

        self.assertEqual(found(SECTIONS + HEAD + ROW), [])
        self.assertEqual(found(SECTIONS + HEAD), [f"{PAGE}:1"])
        self.assertEqual(found(SECTIONS), [f"{PAGE}:1"])
        self.assertEqual(found(SECTIONS + HEAD + "| it works | `src/A.cpp` | |\n"), [f"{PAGE}:13"])
        self.assertEqual(found(SECTIONS.replace("## Threads\n\n", "") + HEAD + ROW), [f"{PAGE}:1"])
        self.assertEqual(found(SECTIONS + "## More\n" + HEAD + ROW), [f"{PAGE}:1"])
        self.assertEqual(self.found(documents.subsystem_pages, {
            "docs/ARCHITECTURE.md": "", PAGE: SECTIONS + HEAD + ROW}), [f"{PAGE}:1"])
        self.assertEqual(self.found(documents.subsystem_pages, overview),
                         ["docs/ARCHITECTURE.md:1"])

    def test_what_a_document_names_exists(self):
        files = {"src/A.cpp": "void Maker::makeIt();\n", "tests/ATest.cpp": ""}

        def found(path, text):
            return self.found(documents.named_things, {**files, path: text})

        good = "`src/A.cpp:7` `tests/A*` `src/<system>` `Maker` `Maker::makeIt` `elsewhere/B.h`\n"
        self.assertEqual(found(PAGE, good), [])
        for bad in ("`src/B.cpp`", "`tests/B*`", "`scripts/run`"):
            for path in (PAGE, "README.md"):
                self.assertEqual(found(path, f"\n{bad}\n"), [f"{path}:2"], bad)
            self.assertEqual(found("docs/decisions/0001-a.md", bad), [])
        for bad in ("`Breaker`", "`Maker::breakIt`"):
            self.assertEqual(found(PAGE, bad), [f"{PAGE}:1"])
            self.assertEqual(found("README.md", bad), [])

    def test_a_document_says_things_once(self):
        for bad, good in (
                ("## A\n\ntext\n\n## A\n", "## A\n\n### C\n\n## B\n\n### C\n"),
                ("**Keys** grab.\n\n## B\n\ntext ends.\n**Keys** let go.\n",
                 "**Keys** grab, and **keys** let go.\n\n**Grabs** hold.\n"),
                ("- one\n  two\n\n- one\n  two\n",
                 "- one\n- one\n\n```\n## A\n## A\n```\n")):
            self.assertEqual(len(self.found(documents.said_twice, {"docs/A.md": bad})), 1, bad)
            self.assertEqual(self.found(documents.said_twice, {"docs/A.md": good}), [])

    def test_prose_fits_and_fills_a_hundred_columns(self):
        word = "a" * 49 + " "
        self.assert_catches(documents.prose_layout, "docs/A.md", f"\n- {word * 2}b\n",
                            f"- {word}{word[2:]}\n  b\n\n| {word * 3}|\n\n    {word * 3}\n")
        self.assertEqual(self.found(documents.prose_layout, {"docs/A.md": "ragged\nlines\n"}),
                         ["docs/A.md:1"])
        self.assertEqual(self.found(documents.prose_layout,
                                    {"docs/A.md": f"{word}\n`{word}`\n\n- a\n- b\n"}), [])

    def test_links_lead_somewhere(self):
        files = {"docs/B.md": "## Of the *parts*\n", "src/A.cpp": ""}
        for target, right in (("B.md", True), ("../src/A.cpp", True), ("B.md#of-the-parts", True),
                              ("https://x.org/y", True), ("C.md", False), ("B.md#parts", False),
                              ("#of-the-parts", False)):
            found = self.found(documents.broken_links, {**files, "docs/A.md": f"\n[a]({target})\n"})
            self.assertEqual(found, [] if right else ["docs/A.md:2"], target)

    def test_decision_notes_have_one_form(self):
        def found(name, title, overview="(decisions/0001-a.md)", **others):
            notes = {f"docs/decisions/{name}.md": title + "\n"}
            return self.found(documents.decision_notes,
                              {"docs/ARCHITECTURE.md": overview, **notes, **others})

        self.assertEqual(found("0001-a", "# 0001: A"), [])
        self.assertEqual(found("0001-a", "# 0001: A", "", **{
            "docs/architecture/b.md": "[0001](../decisions/0001-a.md)"}), [])
        for title in ("# 1. A", "# 0001 A", "# A", "# 0002: A", "0001: A"):
            self.assertEqual(found("0001-a", title), ["docs/decisions/0001-a.md:1"], title)
        self.assertEqual(found("1-a", "# 0001: A"), ["docs/decisions/1-a.md:1"])
        self.assertEqual(found("0001-a", "# 0001: A", ""), ["docs/decisions/0001-a.md:1"])
        self.assertEqual(found("0001-a", "# 0001: A", "(decisions/0001-a.md) (decisions/0001-b.md)",
                               **{"docs/decisions/0001-b.md": "# 0001: B"}),
                         ["docs/decisions/0001-b.md:1"])

    def test_the_list_of_folders_is_that_of_src(self):
        files = {name: "" for name in ("src/A.h", "src/B/Deep/C.cpp", "src/B/Deep/Deeper/D.cpp",
                                       "src/E/F/G.h", "src/qml/H.qml")}
        rows = ["| `src/B/Deep` | x |", "| `src/E/F` | y |", "| `src/B/Deep/Deeper` | z |"]
        document = "docs/HACKING.md"

        def found(rows):
            return self.found(documents.folder_list, {**files, document: "\n".join(rows)})

        self.assertEqual(found(rows), [])
        self.assertEqual(found(rows[:2]), [])
        self.assertEqual(found(rows[1:]), [f"{document}:1"])
        self.assertEqual(found(rows + ["| `src/X` | gone |"]), [f"{document}:4"])

    def test_the_list_of_settings_is_that_of_the_code(self):
        code = ('a = read<std::string>("sounds", {});\nb = read("hud.scale", 1.0);\n'
                'defaults.set("engine", id);\nmode == "hold";\n')

        document, head = "docs/SETTINGS.md", "| key | value |\n|---|---|\n| `engine` | x |\n"

        def found(rows):
            return self.found(documents.settings_keys, {
                "src/Preferences.cpp": code, document: head + rows})

        self.assertEqual(found("| `sounds`, `hud.scale` | `y` |\n"), [])
        self.assertEqual(found("| `sounds` | `hud.scale` |\n"), [f"{document}:1"])
        self.assertEqual(found("| `sounds`, `hud.scale` | y |\n| `hold` | z |\n"),
                         [f"{document}:5"])

    def test_a_command_is_run_or_it_is_said_why_not(self):
        files = {"Makefile": MAKEFILE, "scripts/run-benches": "bench --all\n",
                 "scripts/by-hand": "tests/b/by-hand.py\n", "tests/a.py": "run('make fast')\n",
                 "tests/CMakeLists.txt": "foreach(name other short)\nrun(a.py)\n",
                 "tests/test_short.py": "run('make fast')\n", "tests/by-hand.py": "'make fast'\n",
                 "tests/b/CMakeLists.txt": "x -m pytest ${CMAKE_CURRENT_SOURCE_DIR})\n",
                 "tests/b/test_all.py": "run('make fast')\n", "tests/b/all.py": "'make fast'\n"}

        def found(text, entry, command="make fast", **others):
            return self.found(lambda tree: commands.commands_are_run(tree, {command: entry}),
                              {**files, "README.md": text, **others})

        shown = "\n    make fast\n"
        wrong = ["tests/tidy/commands.py:1"]
        for good in (NotRun("a reason"), Run("tests/a.py"), Run("tests/test_short.py"),
                     Run("tests/b/test_all.py"), Run("Makefile:bench", "run-benches"),
                     Run("Makefile:build", "cmake"), Run("scripts/run-benches", "bench --all")):
            self.assertEqual(found(shown, good), [], good)
        for bad in (NotRun(""), Run("tests/b.py"), Run("tests/a.py", "make slow"),
                    Run("Makefile:bench"), Run("Makefile:by-hand", "by-hand"),
                    Run("Makefile:none", "cmake"), Run("scripts/by-hand", "tests/b"),
                    Run("tests/by-hand.py"), Run("tests/b/all.py")):
            self.assertEqual(found(shown, bad), wrong, bad)
        self.assertEqual(found("", NotRun("a reason")), wrong, "an entry that nothing shows")
        for name, mention in (
                ("tests/a.py", '"""make fast"""\n'), ("tests/a.py", "# make fast\n"),
                ("tests/a.py", 'def a():\n    """Does make fast."""\n'),
                ("tests/a.py", 'print("make fast")\n'), ("tests/a.py", 'run("make faster")\n'),
                ("tests/a.py", 'run("remake fast")\n'),
                ("scripts/run-benches", "bench  # make fast\n"),
                ("scripts/run-benches", 'echo "next: make fast" >&2\n')):
            self.assertEqual(found(shown, Run(name), **{name: mention}), wrong, mention)
        for name, doing in (
                ("tests/a.py", 'A = "#"; run("make fast")  # ä\n'),
                ("tests/a.py", 'print("ä"); run(f"make fast")\n'),
                ("scripts/run-benches", "echo '== a # b' && make fast\n"),
                ("scripts/run-benches", "printf '%s' \"$#\" | make fast\n")):
            self.assertEqual(found(shown, Run(name), **{name: doing}), [], doing)
        self.assertEqual(found(shown, Run("tests/a.py"), **{
            "tests/CMakeLists.txt": "# run(a.py)\n"}), wrong, "a test that is switched off")
        self.assertEqual(found("\n    make slow\n", NotRun("a reason")), ["README.md:2", *wrong])

    def test_commands_are_known_wherever_they_are_shown(self):
        def shown(text):
            return self.found(lambda tree: commands.commands_are_run(tree, {}), {"docs/A.md": text})

        for text in ("\n```sh\nmake a\n```\n", "\n```sway\nbindsym a\n```\n", "\n    ./a b\n",
                     "\n```\na b\n```\n", "\n| `make a\\|b` | it makes |\n", "\n`scripts/a`\n",
                     "\nSee `tests/a.py ONE`.\n", "\n`A=1 b`\n", "\n`/usr/bin/python3 a.py`\n"):
            self.assertEqual(len(shown(text)), 1, text)
        for text in ("`make`", "`src/A.cpp`", "`tests/a.py`", "`make_it now`", "make a",
                     "```\n a ──► b\n     c\n```\n", "- one\n\n    make a\n"):
            self.assertEqual(shown(text), [], text)
        self.assertEqual(self.found(
            lambda tree: commands.commands_are_run(tree, dict.fromkeys(("a --b c", "d"),
                                                                       NotRun("x"))),
            {"docs/A.md": "```sh\na --b \\\n    c\nd\n```\n"}), [])

    def test_a_picture_is_taken(self):
        files = {"Makefile": MAKEFILE, "docs/A.md": "\n![what it shows](a.png)\n"}

        def found(table):
            return self.found(lambda tree: commands.pictures_are_taken(tree, table), files)

        self.assertEqual(found({"docs/a.png": Run("Makefile:bench", "run-benches")}), [])
        self.assertEqual(found({}), ["docs/A.md:2"])
        self.assertEqual(found({"docs/a.png": Run("Makefile:bench", "camera")}),
                         ["tests/tidy/commands.py:1"])


if __name__ == "__main__":
    unittest.main()
