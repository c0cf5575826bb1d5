#!/usr/bin/python3
"""What a bundle says of itself, and what the script that packs it does, with tools of a Mac that
only note that they were called."""

import ast
import os
import pathlib
import plistlib
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGING = ROOT / "packaging/macos"
# Notes its call, and says what the test has put where it looks.
TOOL = """#!/bin/bash
name=${0##*/}
echo "$name $*" >>"$SAID/calls"
cat "$SAID/$name" 2>/dev/null || true
if [ "$name" = hdiutil ]; then : >"${!#}"; fi
"""
LIBRARY = "Vorlin.app/Contents/Frameworks/libsoxr.dylib"


class Bundle(unittest.TestCase):
    """The files that a bundle is made of."""

    def test_an_application_without_a_dock_icon_that_says_why_it_hears(self):
        info = plistlib.loads((PACKAGING / "Info.plist.in").read_bytes())
        self.assertIs(info["LSUIElement"], True)
        self.assertIn("dictation key", info["NSMicrophoneUsageDescription"])
        self.assertEqual(info["LSArchitecturePriority"], ["arm64"])
        self.assertEqual(info["CFBundleShortVersionString"], "${PROJECT_VERSION}")

    def test_the_oldest_system_is_the_one_that_is_built_for(self):
        info = plistlib.loads((PACKAGING / "Info.plist.in").read_bytes())
        self.assertEqual(info["LSMinimumSystemVersion"], "14.0")
        self.assertIn("CMAKE_OSX_DEPLOYMENT_TARGET=14.0", (PACKAGING / "Makefile").read_text())

    def test_the_only_entitlement_is_the_microphone(self):
        entitlements = plistlib.loads((PACKAGING / "Vorlin.entitlements").read_bytes())
        self.assertEqual(entitlements, {"com.apple.security.device.audio-input": True})

    def test_every_library_that_the_build_asks_for_is_installed(self):
        formulas = {"GTest": "googletest", "libsoxr": "libsoxr", "libutf8proc": "utf8proc",
                    "soxr": "libsoxr", "nlohmann_json": "nlohmann-json", "hwy": "highway",
                    "PkgConfig": "pkgconf", "Qt6": "qtbase"}
        system = {"libcurl", "Python3", "Threads"}
        listed = set(re.findall(r'brew "([^"]+)"', (PACKAGING / "Brewfile").read_text()))
        asked = set()
        for path in [ROOT / "CMakeLists.txt", *(ROOT / "src").rglob("CMakeLists.txt"),
                     ROOT / "tests/CMakeLists.txt"]:
            if "Linux" not in path.parts:
                text = path.read_text()
                asked |= set(re.findall(r"find_package\((\w+)", text))
                asked |= set(re.findall(r"pkg_check_modules\(\w+ REQUIRED (?:IMPORTED_TARGET )?"
                                        r"(\w+)\)", text))
        self.assertGreaterEqual(asked, {"libcurl", "nlohmann_json", "Qt6"})
        self.assertEqual({formulas.get(name, name) for name in asked - system} - listed, set())

    def test_what_is_loaded_late_is_named_by_its_path(self):
        text = (ROOT / "src/Platform/Shared/Curl/CMakeLists.txt").read_text()
        self.assertRegex(text, r"\$<PLATFORM_ID:Darwin>,/usr/lib/libcurl\.4\.dylib,")

    def test_swift_is_compiled_for_the_oldest_system_too(self):
        """CMake tells the others by CMAKE_OSX_DEPLOYMENT_TARGET, Swift only by its target."""
        text = (ROOT / "CMakeLists.txt").read_text()
        told = text.index("set(CMAKE_Swift_COMPILER_TARGET arm64-apple-macosx14.0)")
        self.assertLess(told, text.index("enable_language(OBJCXX Swift)"))

    def test_a_screen_reader_is_told_before_it_has_looked_at_a_window(self):
        main = (ROOT / "src/App/macOS/main.cpp").read_text()
        self.assertLess(main.index("QGuiApplication qt("),
                        main.index("QAccessible::setActive(true);"))

    def test_a_start_leaves_the_keys_where_they_are(self):
        """Qt brings the program to the front when it starts, unless told before it does."""
        main = (ROOT / "src/App/macOS/main.cpp").read_text()
        told = main.index('qputenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM", "1");')
        self.assertLess(told, main.index("QGuiApplication qt("))


class Root(unittest.TestCase):
    """What puts the program together for a Mac, which is compiled here and runs there only."""

    def says(self, name, *lines):
        text = " ".join((ROOT / "src/App/macOS" / name).read_text().split())
        for line in lines:
            self.assertIn(line, text)

    def test_the_settings_come_to_the_front_and_are_found_by_their_name(self):
        self.says("main.cpp", ".opening = [&application] { application.activate(); }",
                  ".made = nameSettingsWindow,")

    def test_the_settings_look_as_the_system_does_and_follow_it(self):
        self.says("main.cpp", ".isDark = [&desktop] { return desktop.appearance.isDark(); }",
                  "{ return desktop.appearance.hasReducedMotion(); }",
                  "const auto lookChanges = "
                  "desktop.appearance.observe([&settings] { settings.followAppearance(); });")

    def test_an_answer_about_the_microphone_shows_at_once(self):
        self.says("main.cpp", "desktop.permissions.onMicrophoneAnswer = "
                              "[&model] { model.refreshPermissions(); };")

    def test_the_end_waits_for_nothing_that_hangs(self):
        self.says("main.cpp", "const QuitDeadline deadline(quitLimit);",
                  "vorlin::endProcess(run(argv));")

    def test_settings_are_the_programs_own_defaults_and_its_memory_is_a_suite(self):
        self.says("MacDesktop.cpp", ".defaults = defaults,", ".state = state,",
                  'state("Vorlin.state")')
        self.says("MacDesktop.h", "MacDefaults defaults;")

    def test_texts_are_worded_for_a_mac(self):
        self.says("MacDesktop.cpp", ".wording = plainWording(),")


class Tests(unittest.TestCase):
    """What of the tests a Mac is spared, and what runs there on its own Python."""

    def test_the_rules_for_all_files_are_looked_after_on_linux(self):
        text = (ROOT / "tests/CMakeLists.txt").read_text()
        block = re.search(r'if\(CMAKE_SYSTEM_NAME STREQUAL "Linux"\)(.*?)endif', text, re.DOTALL)[1]
        self.assertEqual(set(re.findall(r"add_subdirectory\((\w+)\)", block)),
                         {"desktop", "downloads", "scripts", "tidy"})
        self.assertEqual(text.count("add_subdirectory(tidy)"), 1)

    def test_what_a_mac_runs_its_own_python_understands(self):
        for path in (ROOT / "tests/macos").glob("test_*.py"):
            ast.parse(path.read_text(), feature_version=(3, 9))


class MakeDist(unittest.TestCase):
    """The script that packs a bundle."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "tools").mkdir()
        for name in ("macdeployqt", "plutil", "otool", "vtool", "file", "codesign", "hdiutil",
                     "xcrun", "brew"):
            tool = self.folder / "tools" / name
            tool.write_text(TOOL)
            tool.chmod(0o755)
        library = self.folder / LIBRARY
        library.parent.mkdir(parents=True)
        library.touch()
        self.says("brew", "/opt/libraries")
        self.says("plutil", "14.0")
        self.says("file", "Mach-O 64-bit dynamically linked shared library arm64")
        self.says("otool", "libsoxr.dylib:\n\t@rpath/libsoxr.dylib\n\t/usr/lib/libSystem.B.dylib")
        self.says("vtool", " platform MACOS\n    minos 14.0\n      sdk 26.0")

    def says(self, tool, text):
        (self.folder / tool).write_text(text + "\n")

    def make(self, **environment):
        """Packs, and returns how that ended, what was said, and what was called."""
        ended = subprocess.run(
            [PACKAGING / "make-dist", "Vorlin.app", "Vorlin.dmg"], cwd=self.folder, text=True,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
            env={"PATH": f"{self.folder}/tools:{os.defpath}", "SAID": str(self.folder),
                 **environment})
        calls = (self.folder / "calls").read_text().splitlines()
        return ended.returncode, ended.stdout, calls

    def test_without_an_identity_there_is_no_hardened_runtime_which_would_not_start(self):
        status, _, calls = self.make()
        self.assertEqual(status, 0)
        signings = [call for call in calls if call.startswith("codesign --force")]
        self.assertEqual(signings, [
            "codesign --force --timestamp=none --sign - Vorlin.app/Contents/Frameworks/"
            "libsoxr.dylib",
            "codesign --force --timestamp=none --sign - Vorlin.app"])

    def test_with_an_identity_the_runtime_is_hardened_and_may_hear(self):
        status, _, calls = self.make(VORLIN_IDENTITY="Someone", VORLIN_NOTARY="stored")
        self.assertEqual(status, 0)
        signings = [call for call in calls if call.startswith("codesign --force")]
        self.assertEqual(len(signings), 2)
        for call in signings:
            self.assertIn("--options runtime --timestamp", call)
        self.assertNotIn("--entitlements", signings[0])
        self.assertIn(f"--entitlements {PACKAGING}/Vorlin.entitlements", signings[1])
        self.assertEqual(calls[-2:], [
            "xcrun notarytool submit Vorlin.dmg --keychain-profile stored --wait",
            "xcrun stapler staple Vorlin.dmg"])

    def test_libraries_are_looked_for_where_they_were_linked_from(self):
        _, _, calls = self.make()
        self.assertTrue(any("-libpath=/opt/libraries/lib" in call for call in calls))
        _, _, calls = self.make(VORLIN_LIBRARIES="/own")
        self.assertTrue(any("-libpath=/own/lib" in call for call in calls))

    def test_nothing_is_made_where_something_is_missing(self):
        for tool, text, said in (
                ("macdeployqt", "ERROR: Cannot resolve rpath", "did not find everything"),
                ("otool", "x:\n\t/opt/libraries/lib/libsoxr.dylib", "wants what the bundle lacks")):
            with self.subTest(tool):
                self.setUp()
                self.says(tool, text)
                status, output, calls = self.make()
                self.assertEqual(status, 1)
                self.assertIn(said, output)
                self.assertFalse(any(call.startswith("hdiutil") for call in calls))

    def test_a_bundle_for_others_holds_nothing_that_wants_a_newer_system_than_it_promises(self):
        self.says("vtool", "    minos 26.0")
        status, output, _ = self.make(VORLIN_IDENTITY="Someone")
        self.assertEqual(status, 1)
        self.assertIn("libsoxr.dylib wants macOS 26.0, the bundle promises 14.0", output)
        status, output, _ = self.make()
        self.assertEqual(status, 0)
        self.assertIn("it may run on this Mac alone", output)


if __name__ == "__main__":
    unittest.main()
