"""Each rule of tidy.py catches a bad example and lets its good neighbour pass."""

import io
import pathlib
import sys
import tempfile
import unittest
from unittest import mock

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import declarations  # pylint: disable=wrong-import-position
import facilities  # pylint: disable=wrong-import-position
import layers  # pylint: disable=wrong-import-position
import macos  # pylint: disable=wrong-import-position
import tidy  # pylint: disable=wrong-import-position
from rule_test import RuleTest  # pylint: disable=wrong-import-position


class TidyTest(RuleTest):
    """The rules of the code, on made-up trees."""

    def test_core_includes_no_system_header(self):
        for header in ("unistd.h", "QObject", "sys/stat.h", "stdint.h", "X11/Xlib.h"):
            self.assert_catches(tidy.includes_on_the_wrong_floor, "src/Audio/A.h",
                                f"#pragma once\n#include <{header}>\n",
                                "#include <vector>\n#include <nlohmann/json.hpp>\n"
                                "#include <fmt/core.h>\n#include <utf8proc.h>\n")

    def test_core_includes_nothing_from_above(self):
        for header in ("Platform/Shared/QtMainLoop.h", "UI/View.h", "App/Main.h", "MIL/Model.h"):
            for path in ("src/Dictation.cpp", "src/Async/Task.h"):
                self.assert_catches(tidy.includes_on_the_wrong_floor, path,
                                    f'#include "{header}"\n',
                                    '#include "Async/Task.h"\n#include "Hotkey.h"\n')

    def test_inside_the_core_arrows_point_down_only(self):
        for path, bad, good in (
                ("src/Async/A.h", "Ports/Workers.h", "Async/Task.h"),
                ("src/Audio/A.cpp", "Ports/AudioConverter.h", "Async/Fatal.h"),
                ("src/Ports/A.h", "Transcriber.h", "Hotkey.h"),
                ("src/Hotkey.cpp", "Ports/EventTap.h", "Async/Fatal.h"),
                ("src/Preferences.h", "Models/ModelStore.h", "Engine.h"),
                ("src/Parakeet/A.cpp", "Models/ModelFolder.h", "Transcriber.h"),
                ("src/Models/A.h", "Dictation.h", "Parakeet/ParakeetRuntime.h"),
                ("src/Dictation.cpp", "AppModel.h", "Models/ModelStore.h"),
                ("src/AppModel.cpp", "VorlinApp.h", "HUDController.h")):
            self.assert_catches(layers.includes_of_higher_layers, path,
                                f'#include "{bad}"\n', f'#include "{good}"\n#include <map>\n')
        self.assertEqual(self.found(layers.includes_of_higher_layers, {
            "src/UI/A.cpp": '#include "VorlinApp.h"\n'}), [])

    def test_the_tensor_engine_knows_nothing_of_us(self):
        for header in ('"Async/Task.h"', '"Hotkey.cpp/x.h"', "<nlohmann/json.hpp>", "<QFile>"):
            self.assert_catches(tidy.includes_on_the_wrong_floor, "src/MIL/Graph/A.cpp",
                                f"#include {header}\n",
                                '#include "MIL/Model.h"\n#include <span>\n#include <hwy/base.h>\n')

    def test_adapters_include_neither_program_nor_views(self):
        for header in ("App/Linux/Main.h", "UI/Overlay.h"):
            for path in ("src/Platform/Linux/A/A.cpp", "src/Platform/macOS/A.mm",
                         "src/Platform/Shared/A.cpp"):
                self.assert_catches(tidy.includes_on_the_wrong_floor, path,
                                    f'#include "{header}"\n', '#include "Async/MainLoop.h"\n')

    def test_a_facility_includes_what_all_share_and_itself(self):
        good = "".join(f'#include "{header}"\n' for header in (
            "Ports/Screens.h", "Async/Task.h", "Audio/PCMBuffer.h", "Hotkey.h",
            "Platform/Shared/ThreadPool.h", "Platform/Linux/X11/X11Atoms.h",
            "Platform/Linux/Environment.h", "Platform/Linux/Keys/Deep/B.h", "A.moc"))
        for header in ("Platform/Linux/Overlay/B.h", "Platform/Linux/Keyboard/B.h",
                       "Platform/macOS/Keys/B.h", "AppModel.h", "Engine.h", "UI/View.h",
                       "App/Linux/Main.h", "MIL/Model.h", "B.h"):
            for path in ("src/Platform/Linux/Keys/A.h", "src/Platform/Linux/Keys/Deep/A.cpp"):
                self.assert_catches(facilities.includes_between_facilities, path,
                                    f'#include "{header}"\n', good)

    def test_what_all_facilities_share_includes_none(self):
        for path in ("src/Platform/Linux/X11/A.cpp", "src/Platform/Linux/A.cpp",
                     "src/Platform/Shared/A.cpp", "src/Platform/Shared/Deep/A.cpp"):
            own = path[len("src/"):-len("cpp")] + "h"
            self.assert_catches(facilities.includes_between_facilities, path,
                                '#include "Platform/Linux/Keys/B.h"\n',
                                f'#include "{own}"\n#include "Ports/Screens.h"\n')

    def test_a_facility_links_what_all_share(self):
        path = "src/Platform/Linux/Keys/CMakeLists.txt"
        head = "add_library(vorlin_linux_keys STATIC A.cpp)\ntarget_link_libraries("
        for library in ("vorlin_linux_overlay", "vorlin_macos_keys", "vorlin_ui", "vorlin_mil"):
            self.assert_catches(facilities.links_between_facilities, path,
                                f"{head}vorlin_linux_keys\n    PUBLIC {library})\n",
                                f"{head}vorlin_linux_keys PUBLIC vorlin_core vorlin_linux_x11\n"
                                "    vorlin_linux_environment vorlin_platform_shared\n"
                                "    PRIVATE vorlin_warnings)\n")

    def test_no_other_library_links_upwards(self):
        for path, bad, good in (
                ("src/CMakeLists.txt", "vorlin_linux_keys", "vorlin_warnings"),
                ("src/MIL/CMakeLists.txt", "vorlin_core", "vorlin_warnings"),
                ("src/UI/CMakeLists.txt", "vorlin_linux_keys", "vorlin_core"),
                ("src/Platform/CMakeLists.txt", "vorlin_linux_keys", "vorlin_core"),
                ("src/Platform/Linux/CMakeLists.txt", "vorlin_linux_keys", "vorlin_warnings"),
                ("src/Platform/macOS/CMakeLists.txt", "vorlin_ui", "vorlin_macos_speech")):
            head = "add_library(vorlin_own STATIC A.cpp)\ntarget_link_libraries(vorlin_own PUBLIC "
            self.assert_catches(facilities.links_between_facilities, path,
                                f"{head}{bad})\n", f"{head}{good})\n")
        self.assertEqual(self.found(facilities.links_between_facilities, {
            "src/App/Linux/CMakeLists.txt": "target_link_libraries(a PUBLIC vorlin_ui)\n"}), [])

    def test_our_own_headers_are_included_in_quotes(self):
        for path in ("src/Platform/Linux/Keys/A.cpp", "src/UI/A.cpp", "src/App/Linux/A.cpp",
                     "tests/UI/ATest.cpp"):
            for header in ("Platform/Linux/Overlay/B.h", "App/Main.h", "Async/Task.h"):
                self.assert_catches(tidy.includes_on_the_wrong_floor, path,
                                    f"#include <{header}>\n", "#include <QObject>\n")
        self.assertEqual(self.found(tidy.includes_on_the_wrong_floor, {
            "src/AppModel.h": "#pragma once\n",
            "src/UI/A.cpp": "#include <AppModel.h>\n"}), ["src/UI/A.cpp:1"])

    def test_one_desktop_includes_nothing_of_the_other(self):
        self.assert_catches(tidy.includes_on_the_wrong_floor, "src/Platform/Linux/A/A.cpp",
                            '#include "Platform/macOS/B.h"\n', '#include "Platform/Shared/B.h"\n')
        self.assert_catches(tidy.includes_on_the_wrong_floor, "src/Platform/Shared/A.cpp",
                            '#include "Platform/Linux/B/B.h"\n', "#include <QObject>\n")

    def test_the_environment_is_read_in_one_place(self):
        for call in ('std::getenv("HOME")', 'qgetenv("HOME")', 'qEnvironmentVariableIsSet("A")'):
            for path in ("src/Platform/Linux/A/A.cpp", "src/App/Linux/main.cpp"):
                self.assert_catches(tidy.outside_world, path, f"auto home = {call};\n",
                                    'auto home = environment("HOME");\n')

    def test_the_core_reads_no_clock(self):
        self.assert_catches(tidy.outside_world, "src/Dictation.cpp",
                            "auto now = std::chrono::steady_clock::now();\n",
                            "auto now = loop.now();\n")

    def test_the_core_depends_on_no_locale(self):
        for bad in ('std::snprintf(text, 9, "%.1f s", seconds);\n', "auto a = std::stod(text);\n",
                    "auto a = strtod(text, nullptr);\n", 'print("%g", a);\n'):
            self.assert_catches(tidy.outside_world, "src/Models/A.cpp", bad,
                                'std::snprintf(text, 9, "%08x 50% free %d", number);\n')

    def test_views_reach_adapters_through_the_core_only(self):
        self.assert_catches(tidy.includes_on_the_wrong_floor, "src/UI/A.cpp",
                            '#include "Platform/Linux/B/B.h"\n', '#include "AppModel.h"\n')

    def test_tests_of_the_core_need_no_desktop(self):
        for header in ("<QObject>", '"Platform/Shared/QtMainLoop.h"', "<thread.h>"):
            self.assert_catches(tidy.includes_on_the_wrong_floor, "tests/core/ATest.cpp",
                                f"#include {header}\n",
                                '#include "fakes/A.h"\n#include <gtest/gtest.h>\n#include <map>\n')

    def test_headers_are_included_by_their_path_from_src(self):
        self.assert_catches(tidy.includes_on_the_wrong_floor, "src/Platform/Linux/A/A.cpp",
                            '#include "../B/B.h"\n', '#include "Platform/Linux/B/B.h"\n')

    def test_only_adapters_ask_for_the_system(self):
        for condition in ("#ifdef __linux__", "#if defined(__APPLE__)", "# elif defined(Q_OS_WIN)",
                          "#ifndef _WIN32"):
            self.assert_catches(tidy.platform_conditions, "src/App/Main.cpp", f"{condition}\n",
                                "#if __has_include(<format>)\n#endif\n")
        self.assertEqual(self.found(tidy.platform_conditions, {
            "src/Platform/Shared/A.cpp": "#ifdef __linux__\n",
            "tests/Platform/Shared/A.cpp": "#ifdef __linux__\n"}), [])

    def test_what_only_linux_has_stands_in_its_folders(self):
        for call in ("auto id = ::gettid();", "auto file = ::open(path, O_PATH | O_CLOEXEC);",
                     "::sched_getscheduler(0);", "#include <linux/input.h>"):
            for path in ("src/Platform/Shared/A.cpp", "src/UI/A.h", "tests/Platform/Shared/A.cpp"):
                self.assert_catches(tidy.calls_of_linux_alone, path, f"{call}\n",
                                    "auto file = ::open(path, O_CLOEXEC); // O_PATHS\n")
            self.assertEqual(self.found(tidy.calls_of_linux_alone, {
                "src/Platform/Linux/Keys/A.cpp": call, "tests/Platform/Linux/A.cpp": call,
                "src/Platform/Shared/LinkedFiles.cpp": call, "tests/desktop/A.cpp": call}), [])

    def test_every_source_file_is_listed(self):
        files = {
            "src/CMakeLists.txt": "add_library(a STATIC\n  A.cpp Deep/B.cpp) # C.cpp\n",
            "tests/x/CMakeLists.txt": "add_executable(t ${PROJECT_SOURCE_DIR}/tests/D.cpp\n"
                                      "  ${CMAKE_CURRENT_SOURCE_DIR}/../E.cpp)\n",
        }
        for name in ("src/A.cpp", "src/Deep/B.cpp", "tests/D.cpp", "tests/E.cpp", "src/A.h"):
            files[name] = ""
        self.assertEqual(self.found(tidy.unlisted_files, files), [])
        for name in ("src/C.cpp", "src/Deep/A.cpp", "tests/x/D.cpp", "bench/F.cpp", "src/G.mm"):
            self.assertEqual(self.found(tidy.unlisted_files, {**files, name: ""}), [f"{name}:1"])

    def test_each_port_has_its_adapter_for_macos(self):
        port = "class A {\npublic:\n    virtual ~A() = default;\n};\n"
        rule = macos.ports_without_an_adapter
        self.assertEqual(self.found(rule, {"src/Ports/Geometry.h": "struct Rect {};\n"}), [])
        for name, adapter in (("Sounds", "src/Platform/macOS/MacSounds.mm"),
                              ("Random", "src/Platform/Shared/SystemRandom.h"),
                              ("MLModel", "src/Platform/macOS/MacMLModels.mm")):
            header = f"src/Ports/{name}.h"
            self.assertEqual(self.found(rule, {header: port}), [f"{header}:1"])
            self.assertEqual(self.found(rule, {header: port, adapter: ""}), [])

    def test_an_adapter_for_macos_is_short(self):
        for name, most in (("MacSounds.mm", 200), ("Speech/Analyzer.swift", 150),
                           ("Objects/Text.h", 120)):
            path = f"src/Platform/macOS/{name}"
            self.assertEqual(self.found(macos.long_adapters, {path: "a\n" * most}), [])
            self.assertEqual(self.found(macos.long_adapters, {path: "a\n" * (most + 1)}),
                             [f"{path}:{most + 1}"])

    def test_an_adapter_for_macos_holds_no_rule_of_the_core(self):
        path = "src/Platform/macOS/MacA.mm"
        good = ("#include <a64.h>\ngo(0, 1, int64, 'a'); // not 28\nsay(\"28\");\n"
                "constexpr auto frame = std::chrono::milliseconds(16);\n"
                "std::chrono::duration<double>(wait).count();\n")
        for bad in ("int n = 28;", "wait(0.5);", "f(1'000, 0x10);",
                    "constexpr auto wait = std::chrono::seconds(1);"):
            self.assert_catches(macos.adapters_hold_no_rules, path, f"{good}{bad}\n", good)
        for bad in ("HotkeyMonitor.h", "Dictation.h", "Models/ModelStore.h"):
            self.assert_catches(facilities.includes_between_facilities, path,
                                f'#include "{bad}"\n', '#include "Ports/EventTap.h"\n')

    def test_each_call_of_macos_stands_where_its_row_says(self):
        document, adapter = "docs/MACOS.md", "src/Platform/macOS/MacA.mm"
        head = "\n| call of the platform | written | file and line | held by |\n|---|---|---|---|\n"
        files = {adapter: "\n[a go];\n", "tests/A.mm": ""}

        def found(row):
            return self.found(macos.calls_of_the_platform, {**files, document: head + row + "\n"})

        place = f"`{adapter}:2`"
        self.assertEqual(found(f"| goes | `go]` | {place} | `A.mm` |"), [])
        for bad in (f"| goes | `gone]` | {place} | `A.mm` |", f"| goes | `go]` | {place} | |",
                    f"| goes | `go]` | `{adapter}:1` | `A.mm` |",
                    f"| goes | `go]` | {place} | `B.mm` |", f"| goes | `go]` | {place} | read |",
                    "| goes | `go]` | `src/B.mm:2` | `A.mm` |"):
            self.assertEqual(found(bad), [f"{document}:4"], bad)
        self.assertEqual(self.found(macos.calls_of_the_platform, files), [f"{document}:1"])
        self.assertEqual(found(""), [f"{document}:1"])

    def test_rows_of_macos_follow_what_they_name(self):
        row = "| goes | `go]` | `src/A.mm:9` | `A.mm` |"
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "docs").mkdir()
            (root / "src").mkdir()
            (root / "src/A.mm").write_text("[a go];\n\n\n\n[b go];\n", encoding="utf-8")
            document = root / "docs/MACOS.md"
            document.write_text("| call of the platform | written | file and line | held by |\n"
                                f"{row}\n", encoding="utf-8")
            macos.mend(folder)
            self.assertIn("`src/A.mm:5`", document.read_text(encoding="utf-8"))

    def test_what_is_unconfirmed_of_macos_is_listed(self):
        document, header = "docs/MACOS.md", "tests/macos/surface/AppKit/A.h"
        marked, plain = "\n// unconfirmed: a page\nint a;\n", "// a page\nint a;\n"
        row = "| `AppKit/A.h` | `a` |\n"

        def found(text, rows):
            head = ("# macOS\n\n## Declarations that nothing confirms\n\n"
                    "| header | those |\n|---|---|\n")
            return self.found(macos.unconfirmed_declarations, {
                header: text, document: f"{head}{rows}\n## More\n\n| `AppKit/B.h` | `b` |\n"})

        self.assertEqual(found(marked, row), [])
        self.assertEqual(found(plain, ""), [])
        self.assertEqual(found(marked, ""), [f"{header}:2"])
        self.assertEqual(found(plain, row), [f"{document}:7"])
        self.assertEqual(found(marked, row + "| `AppKit/B.h` | `b` |\n"), [f"{document}:8"])
        self.assertEqual(self.found(macos.unconfirmed_declarations,
                                    {header: marked, document: "# macOS\n"}), [f"{header}:2"])

    def test_constants_of_macos_are_held_to_their_numbers(self):
        constants, adapter = "tests/macos/PlatformConstants.mm", "src/Platform/macOS/MacA.mm"
        surface = ("typedef NS_ENUM(NSInteger, A) {\n    AOne = 1,\n    ATwo,\n"
                   "    AThree API_AVAILABLE(macos(15.0)) = 3,\n};\nenum { };\n"
                   "static const NSInteger kFour = 4;\nstatic const CGFloat Five = 5.0;\n")

        def found(text):
            return self.found(macos.constants_without_a_number, {
                "tests/macos/surface/A/A.h": surface, adapter: text,
                constants: "static_assert(AOne == 1);\n"})

        self.assertEqual(found("go(AOne, Five, sought);\n// ATwo\n"), [])
        for name in ("ATwo", "AThree", "kFour"):
            self.assertEqual(found(f"\ngo({name});\n"), [f"{adapter}:2"])

    def test_what_a_header_declares_is_used(self):
        def found(header, kept=(), **others):
            files = {"src/A.h": header + "\n"}
            files |= {"src/" + name.replace("_", "."): text for name, text in others.items()}
            return self.found(
                lambda tree: declarations.unused_declarations(tree, dict.fromkeys(kept)), files)

        definition = "void A::go(int speed)\n{\n}\n"
        for header in ("void go(int speed);", "    static int go(int speed) const;",
                       "    bool go() const { }", "template <class T>\nList<T> go(const T& it)",
                       "struct go {", "enum class go {", "using go = int;",
                       "inline constexpr int go = 1;", "constexpr std::array go{1};",
                       "/// Calls go() twice.\nTask<void> go();", "char* go(); // \"go\""):
            line = len(header.split("\n"))
            self.assertEqual(found(header, A_cpp=definition), [f"src/A.h:{line}"], header)
            self.assertEqual(found(header, A_cpp=definition + "    go(1);\n"), [], header)
            self.assertEqual(found(header, B_qml="a: go\n"), [], header)
            self.assertEqual(found(header, kept=["go"]), [], header)
        itself = "struct Go {\n    explicit Go(int a);\n    ~Go();\n};"
        self.assertEqual(found(itself), ["src/A.h:1"], "a type does not use itself")
        self.assertEqual(found(itself, A_cpp="Go one(1);\n"), [])
        for harmless in ("void paint() override;", "bool await_ready() const;", "class go;",
                         "    return go(1);", "    int speed = go;"):
            self.assertEqual(found(harmless), [], harmless)
        self.assertEqual(found("int go();", kept=["go", "gone"]),
                         ["tests/tidy/declarations.py:1"])

    def test_a_reminder_has_a_reason(self):
        for marker in ("TO" "DO", "FIX" "ME", "XX" "X"):
            for text in (marker, f"{marker}:", f"{marker}: later", f"{marker} do this some day"):
                self.assert_catches(tidy.markers_without_reason, "src/A.cpp", f"\n// {text}\n",
                                    f"// {marker}: Qt 6.5 has a signal for it\n// {marker}S\n")

    def test_lines_fit_a_hundred_columns(self):
        for path in ("src/A.cpp", "tests/a.py", "CMakeLists.txt", "scripts/run-tests"):
            self.assert_catches(tidy.long_lines, path, "\n" + "ä" * 101 + "\n", "ä" * 100 + "\n")
        self.assertEqual(self.found(tidy.long_lines, {"docs/A.md": "a" * 200}), [])
        self.assertEqual(self.found(tidy.long_lines, {"src/A.cpp": "e\u0301" * 100}), [])

    def test_no_path_of_one_machine(self):
        for folder in ("home/ada", "Users/ada", "root/x", "work/x"):
            self.assert_catches(tidy.machine_paths, "docs/A.md", "\n`/" + folder + "/a`\n",
                                "`/usr/share/x` and `~/" + folder + "` and `src/" + folder + "`\n")

    def test_functions_fit_a_screen(self):
        def function(length):
            return ("namespace x\n{\n\nint f(int a,\n      int b)\n{\n"
                    + "    a();\n" * (length - 2) + "}\n\n} // namespace x\n")

        self.assertEqual(self.found(tidy.long_functions, {"src/A.cpp": function(70)}), [])
        self.assertEqual(self.found(tidy.long_functions, {"src/A.cpp": function(71)}),
                         ["src/A.cpp:6"])
        member = "class A\n{\n    void f() const\n    {\n" + "        a();\n" * 69 + "    }\n};\n"
        self.assertEqual(self.found(tidy.long_functions, {"src/A.h": member}), ["src/A.h:4"])
        long_class = "class A : public B\n{\n" + "    void f();\n" * 200 + "};\n"
        self.assertEqual(self.found(tidy.long_functions, {"src/A.h": long_class}), [])

    def test_layout_is_that_of_the_formatter(self):
        style = {".clang-format": "BasedOnStyle: LLVM\n"}
        self.assertEqual(self.found(tidy.unformatted, {**style, "src/A.cpp": "int a;\n"}), [])
        self.assertEqual(self.found(tidy.unformatted, {**style, "src/A.cpp": "\nint  a ;\n"}),
                         [] if tidy.formatter_is_elsewhere() else ["src/A.cpp:2"])

    def test_a_missing_formatter_is_a_finding_where_it_can_be_had(self):
        for suite, findings, words in (("bookworm", [".clang-format:1"], "not installed"),
                                       ("trixie", [], "Not looked at here")):
            with mock.patch.object(tidy.shutil, "which", lambda program: None), \
                    mock.patch.object(tidy.platform, "freedesktop_os_release",
                                      lambda suite=suite: {"VERSION_CODENAME": suite}):
                self.assertEqual(self.found(tidy.unformatted, {"src/A.cpp": "int a;\n"}), findings)
                with mock.patch.object(tidy, "RULES", (tidy.unformatted,)), \
                        mock.patch("sys.stdout", io.StringIO()) as output, \
                        mock.patch("sys.argv", ["tidy.py"]), self.assertRaises(SystemExit):
                    tidy.main()
                self.assertIn(words, output.getvalue())

    def test_a_system_that_does_not_say_its_name_has_another_layout(self):
        with mock.patch.object(tidy, "platform", object()), \
                mock.patch.object(tidy.shutil, "which", lambda program: None):
            self.assertEqual(self.found(tidy.unformatted, {"src/A.cpp": "int  a ;\n"}), [])

    def test_build_results_and_corpora_are_not_looked_at(self):
        bad = "a" * 200
        self.assertEqual(self.found(tidy.long_lines, {
            "build/release/a.cpp": bad, "tests/fuzz/corpus/a.cpp": bad, ".git/a.py": bad}), [])


if __name__ == "__main__":
    unittest.main()
