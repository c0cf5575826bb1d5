#!/usr/bin/python3
"""Mistakes that the tests of the adapters must notice, each made once in a copy of an adapter.

    mistakes.py list                     the adapters
    mistakes.py write ADAPTER FROM TO    writes the copy with its mistake
    mistakes.py check ADAPTER PROGRAM    whether the test that is named here fails in PROGRAM

PROGRAM is the adapters' tests, with the copies in the adapters' place. One mistake an adapter: a
failure tells of no other.
"""

import pathlib
import re
import subprocess
import sys
from typing import NamedTuple


class Mistake(NamedTuple):
    """One place of an adapter, what stands there instead, and the test that must fail."""
    test: str
    right: str
    wrong: str


MISTAKES = {
    # --- Two calls are swapped ---
    "MacEventTap": Mistake(
        "stopsByDisablingAndInvalidatingThePortAndRemovingItsSource",
        "CGEventTapEnable(ended->port.get(), false);\n"
        "        CFMachPortInvalidate(ended->port.get());\n",
        "CFMachPortInvalidate(ended->port.get());\n"
        "        CGEventTapEnable(ended->port.get(), false);\n"),
    "MacPasteboard": Mistake(
        "clearsBeforeItWritesATextAsAPlainStringWithoutAMark",
        "[pasteboard clearContents];\n"
        "    [pasteboard setString:nsText(text) forType:NSPasteboardTypeString];\n",
        "[pasteboard setString:nsText(text) forType:NSPasteboardTypeString];\n"
        "    [pasteboard clearContents];\n"),
    "MacKeyPoster": Mistake(
        "postsAPressAndItsReleaseWithTheseFlagsOnlyFromOneSourceAtTheHIDTap",
        "CGEventSetFlags(event.get(), flags);\n"
        "        CGEventPost(kCGHIDEventTap, event.get());\n",
        "CGEventPost(kCGHIDEventTap, event.get());\n"
        "        CGEventSetFlags(event.get(), flags);\n"),
    # --- A callback stays on its thread ---
    "MacPermissions": Mistake(
        "theAnswerAboutTheMicrophoneComesFromAThreadAndIsToldFromTheLoop",
        "way->post([this] { onMicrophoneAnswer(); });",
        "onMicrophoneAnswer();"),
    "MacMLModels": Mistake(
        "answersOnTheMainLoopAndNotOnTheThreadOfTheSystem",
        "way->post([completer, progress, held = Ref<CoreModel>(model), reason] {\n"
        "                                 answer(completer, held.get(), reason);\n"
        "                             });",
        "answer(completer, model, reason);"),
    "MacAudioInput": Mistake(
        "followsTheMicrophoneOnTheMainLoopAndNotWithinTheNotification",
        "way->post([this, run = runs->load()] { configurationChanged(run); });",
        "configurationChanged(runs->load());"),
    # --- No mistake: a copy alone makes no test fail ---
    "MacLoginItem": Mistake(
        "registersTheMainProgramToEnableItAndUnregistersItToDisableIt", "", ""),
}


def adapters():
    """Prints the adapters as a list of the build's."""
    print(*MISTAKES, sep=";", end="")


def write(adapter, source, target):
    """Writes the copy. The place of the mistake must be the only one of its kind."""
    mistake = MISTAKES[adapter]
    text = pathlib.Path(source).read_text(encoding="utf-8")
    if mistake.right:
        if text.count(mistake.right) != 1:
            sys.exit(f"{source}: {text.count(mistake.right)} times, not once:\n{mistake.right}")
        text = text.replace(mistake.right, mistake.wrong)
    pathlib.Path(target).write_text(text, encoding="utf-8")


def verdict(program, test):
    """What the program says of this one test: "OK" or "FAILED", or nothing if it did not get to
    say so, or knows no such test."""
    ran = subprocess.run([program, f"--gtest_filter={test}"], stdout=subprocess.PIPE, text=True,
                         check=False)
    print(ran.stdout)
    said = re.search(rf"^\[ +(OK|FAILED) +\] {re.escape(test)} \(\d+ ms\)$", ran.stdout,
                     re.MULTILINE)
    if said is None or ran.returncode != (said[1] == "FAILED"):
        return None
    return said[1]


def check(adapter, program):
    """A mistake is noticed by its test; none is noticed where there is none."""
    mistake = MISTAKES[adapter]
    expected = "FAILED" if mistake.right else "OK"
    said = verdict(program, f"{adapter}Test.{mistake.test}")
    if said != expected:
        sys.exit(f"{said} where {expected} was to be said")


if __name__ == "__main__":
    {"list": adapters, "write": write, "check": check}[sys.argv[1]](*sys.argv[2:])
