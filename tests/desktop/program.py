"""The unchanged program in a virtual desktop, and what a person does with it."""

import base64
import json
import os
import pathlib
import re
import signal
import subprocess

from gi.repository import Gio, GLib

from sound_server import speech
from waiting import wait_until

BUS_NAME = "org.vorlin.Vorlin"


class Program:
    """Vorlin, started as a person's session starts it.

    `binary` is the built program; `settings` a dict that becomes its settings file, `damaged`
    text that does so as it stands. Without either the person has started it before and changed
    nothing, unless this is the `very_first_start`, which opens the settings.
    """

    def __init__(self, desktop, binary, settings=None, damaged=None, very_first_start=False):
        self.desktop = desktop
        self.binary = binary
        self.settings_file = desktop.config_folder / "Vorlin" / "settings.json"
        if settings is not None or damaged is not None or not (
                very_first_start or self.settings_file.exists()):
            self.settings_file.parent.mkdir(parents=True, exist_ok=True)
            self.settings_file.write_text(
                json.dumps(settings or {}) if damaged is None else damaged)
        self.process = None
        self.bus = Gio.DBusConnection.new_for_address_sync(
            desktop.environment["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self.start()

    def start(self):
        """Starts it and waits until it watches the keyboard."""
        self.process = self.desktop.spawn([self.binary], log="vorlin", cwd=self.desktop.home)
        wait_until(self.answers, "the program to answer on the session bus", 60)

    def answers(self):
        """Whether its main loop runs: an action that it does not have changes nothing, but only
        the main loop can say so."""
        if self.process.poll() is not None:
            raise RuntimeError(f"the program ended with {self.process.returncode}")
        arguments = GLib.Variant("(sava{sv})", ("none", [], {}))
        try:
            self.bus.call_sync(BUS_NAME, "/org/vorlin/Vorlin", "org.freedesktop.Application",
                               "ActivateAction", arguments, None, Gio.DBusCallFlags.NO_AUTO_START,
                               5000, None)
        except GLib.Error:
            return False
        return True

    def is_recording(self):
        return len(self.desktop.sound.source_outputs()) > 0

    def await_recording(self):
        wait_until(self.is_recording, "the program to record")

    def await_silence(self):
        wait_until(lambda: not self.is_recording(), "the program to stop recording")

    def say(self, text, voice="kal16", pause=0.2, sink="vmic"):
        """Speaks into the microphone, with a short pause around it."""
        wav = self.desktop.folder / f"{abs(hash((text, voice)))}.wav"
        if not wav.exists():
            plain = wav.with_suffix(".plain.wav")
            speech(text, plain, voice)
            subprocess.run(["sox", plain, wav, "pad", str(pause), str(pause)], check=True)
        self.desktop.sound.play(wav, sink)

    def dictate(self, text, key="Alt_R", voice="kal16"):
        """Holds the key, speaks, releases."""
        with self.desktop.keyboard.held(key):
            self.await_recording()
            self.say(text, voice)

    def stored(self):
        """What its settings file holds."""
        return json.loads(self.settings_file.read_text())

    def await_stored(self, key, value):
        """Waits until its settings file holds this value: it is written a moment later."""
        wait_until(lambda: self.stored().get(key) == value, f"{key} {value} in the settings file")

    def change(self, settings):
        """Changes settings as an editor does."""
        new = self.settings_file.with_suffix(".new")
        new.write_text(json.dumps(self.stored() | settings))
        os.replace(new, self.settings_file)

    def stored_hotkey(self):
        """The dictation key in its settings file: (key code, modifiers, modifier only), or None."""
        kept = self.stored().get("hotkey.v2")
        if kept is None:
            return None
        key = json.loads(base64.b64decode(kept["data"]))
        return key["keyCode"], key["modifiers"], key["modifierOnly"]

    def memory_kb(self):
        """Resident memory."""
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as status:
            return int(re.search(r"VmRSS:\s+(\d+)", status.read())[1])

    def has_loaded(self, library):
        """Whether a library's file of this name is in its memory."""
        return f"/{library}." in pathlib.Path(f"/proc/{self.process.pid}/maps").read_text(
            encoding="utf-8")

    def threads_that_give_way(self):
        """How many of its threads run as work that nobody waits for."""
        policies = []
        for thread in pathlib.Path(f"/proc/{self.process.pid}/task").iterdir():
            stat = (thread / "stat").read_text(encoding="ascii")
            policies.append(int(stat.rpartition(")")[2].split()[38]))
        return policies.count(os.SCHED_BATCH)

    def processor_seconds(self):
        """Processor time used since the start, of all threads."""
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as stat:
            fields = stat.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def quit(self, how=signal.SIGTERM):
        """Asks it to end; returns its exit status."""
        self.process.send_signal(how)
        return self.process.wait(timeout=30)


def hotkey_setting(key_code, modifiers=0, modifier_only=False):
    """A dictation key as it stands in the settings file."""
    text = json.dumps({"keyCode": key_code, "modifiers": modifiers,
                       "modifierOnly": modifier_only})
    return {"data": base64.b64encode(text.encode()).decode()}


def words(text):
    return re.findall(r"[a-z0-9']+", text.lower())


def wrong_words(expected, heard):
    """How many words are wrong: substituted, missing or too many (edit distance)."""
    expected, heard = words(expected), words(heard)
    row = list(range(len(heard) + 1))
    for i, word in enumerate(expected, 1):
        previous, row[0] = row[0], i
        for j, other in enumerate(heard, 1):
            previous, row[j] = row[j], min(row[j] + 1, row[j - 1] + 1, previous + (word != other))
    return row[-1]


def assert_heard(expected, heard):
    """At most one word in ten may be wrong."""
    _assert_wrong_words(expected, heard, len(words(expected)) // 10)


def assert_arrived(expected, heard):
    """It is this sentence and no other, once: at most one word in three may be wrong. For tests
    that are not about recognition, which is never sure of a word."""
    _assert_wrong_words(expected, heard, len(words(expected)) // 3)


def _assert_wrong_words(expected, heard, most):
    wrong = wrong_words(expected, heard)
    assert wrong <= most, f"said {expected!r}, got {heard!r}: {wrong} words are wrong"
