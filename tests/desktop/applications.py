"""The programs that people write in. What stands in each is read by what the program itself says,
without touching its keyboard."""

import json
import re
import shutil
import subprocess

from Xlib import X, error

from settings_window import Reader
from editors import Editor, GTKEditor, QtEditor, Terminal
from waiting import stays_equal, wait_until


class Application(Editor):
    """A program whose window is known by its class and that is asked for its text.

    A subclass gives `window_class`, `command(path)` and `text()`.
    """

    window_class = None

    def changed(self):
        return bool(self.text())

    def await_text(self, timeout=60.0):
        wait_until(self.changed, f"text in {self.name}", timeout)
        wait_until(lambda: stays_equal(self.text, 0.3), "the text to be complete", timeout)
        return self.text()

    def await_more(self, before, timeout=60.0):
        wait_until(lambda: self.text() != before, f"more text in {self.name}", timeout)
        return super().await_more(before, timeout)

    def _find_window(self):
        if self.process.poll() is not None:
            raise RuntimeError(f"{self.name} ended with {self.process.returncode}")
        x = self.desktop.x
        clients = x.screen().root.get_full_property(x.intern_atom("_NET_CLIENT_LIST"),
                                                    X.AnyPropertyType)
        for window_id in clients.value if clients else []:
            window = x.create_resource_object("window", window_id)
            try:
                names = window.get_wm_class() or ()
            except error.BadWindow:
                continue
            if self.window_class in names:
                return window
        return None


class LibreOfficeWriter(Application):
    """Asked through its own remote interface."""

    name = "libreoffice"
    window_class = "libreoffice-writer"
    ASK = ("import uno, sys\n"
           "local = uno.getComponentContext()\n"
           "resolver = local.ServiceManager.createInstanceWithContext("
           "'com.sun.star.bridge.UnoUrlResolver', local)\n"
           "context = resolver.resolve('uno:pipe,name={pipe};urp;StarOffice.ComponentContext')\n"
           "desktop = context.ServiceManager.createInstanceWithContext("
           "'com.sun.star.frame.Desktop', context)\n"
           "sys.stdout.write(desktop.getCurrentComponent().Text.String)\n")

    def command(self, path):
        self.pipe = f"vorlin{self.desktop.display.strip(':')}"
        profile = (self.desktop.folder / "libreoffice").as_uri()
        return ["soffice", "--norestore", "--nologo", "--nofirststartwizard", "--nolockcheck",
                f"-env:UserInstallation={profile}", f"--accept=pipe,name={self.pipe};urp;",
                "--writer"]

    def ready(self):
        return self._ask() is not None

    def text(self):
        answers = []

        def answered():
            answers.append(self._ask())
            return answers[-1] is not None

        wait_until(answered, "LibreOffice to answer")
        return answers[-1]

    def _ask(self):
        done = subprocess.run(["/usr/bin/python3", "-c", self.ASK.format(pipe=self.pipe)],
                              env=self.desktop.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, timeout=60, check=False)
        return done.stdout.decode() if done.returncode == 0 else None


class Firefox(Application):
    """The text area of a page that tells the end of its text in the window's title, which holds
    no more."""

    name = "firefox"
    window_class = "firefox-esr"
    PAGE = ("<!DOCTYPE html><meta charset=utf-8><title>empty</title>"
            "<textarea autofocus rows=20 cols=80></textarea><script>"
            "const area = document.querySelector('textarea');"
            "const tell = () => document.title = area.value.length + ' says '"
            " + JSON.stringify(area.value.slice(-150)) + ' here';"
            "area.oninput = tell; area.onfocus = tell; area.focus(); tell();</script>")
    # Nothing of a first start, and nothing asked of the network.
    PREFERENCES = {
        "browser.aboutwelcome.enabled": False,
        "browser.shell.checkDefaultBrowser": False,
        "browser.startup.homepage_override.mstone": "ignore",
        "browser.tabs.warnOnClose": False,
        "datareporting.policy.dataSubmissionEnabled": False,
        "datareporting.policy.dataSubmissionPolicyBypassNotification": True,
        "network.captive-portal-service.enabled": False,
        "network.connectivity-service.enabled": False,
        "app.update.enabled": False,
        "app.normandy.enabled": False,
        "extensions.getAddons.cache.enabled": False,
        "toolkit.telemetry.reportingpolicy.firstRun": False,
        "termsofuse.bypassNotification": True,
        "trailhead.firstrun.didSeeAboutWelcome": True,
    }

    def prepare(self):
        self.told = ""
        profile = self.desktop.folder / "firefox"
        profile.mkdir()
        (profile / "user.js").write_text("".join(
            f"user_pref({json.dumps(name)}, {json.dumps(value)});\n"
            for name, value in self.PREFERENCES.items()))
        self.page = self.desktop.folder / "page.html"
        self.page.write_text(self.PAGE)

    def command(self, path):
        return ["firefox-esr", "--no-remote", "--new-instance", "--profile",
                self.desktop.folder / "firefox", self.page.as_uri()]

    def ready(self):
        return 'says "' in self.title()

    def text(self):
        said = re.match(r'(\d+) says (".*") here', self.title())
        if said:
            length, end = int(said[1]), json.loads(said[2])
            more = max(0, length - len(self.told))
            self.told = self.told[:length] + end[len(end) - more:]
        return self.told


class Emacs(Application):
    """Asked as a server."""

    name = "emacs"
    window_class = "emacs-gtk"

    def command(self, path):
        return ["emacs-gtk", "-Q", "--eval", "(setq inhibit-startup-screen t)", path,
                "--eval", "(server-start)"]

    def ready(self):
        return self._ask() is not None

    def text(self):
        answer = self._ask()
        return json.loads(answer) if answer else ""

    def _ask(self):
        """The file's buffer as Emacs prints it."""
        expression = f'(with-current-buffer "{self.path.name}" (buffer-string))'
        done = subprocess.run(["emacsclient", "--eval", expression],
                              env=self.desktop.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, timeout=60, check=False)
        return done.stdout.decode() if done.returncode == 0 else None


class GnomeTextEditor(Application):
    """Asked as a screen reader asks; the desktop must be `accessible`."""

    name = "gnome-text-editor"
    window_class = "gnome-text-editor"

    def command(self, path):
        # A file is read while one can already type.
        return ["gnome-text-editor", "--standalone", "--new-window"]

    def prepare(self):
        self.reader = Reader(self.desktop)
        self.view = None

    def ready(self):
        # Known once: it has the focus only while the window has.
        self.view = self.reader.find_role("text box", self.title())
        return self.view is not None

    def text(self):
        return self.reader.text(self.view)


class Pluma(Editor):
    name = "pluma"

    def command(self, path):
        return ["pluma", path]


# Each with the package that brings it, as the matrix names them.
APPLICATIONS = {
    "featherpad (Qt, menu bar)": (QtEditor, "featherpad"),
    "mousepad": (GTKEditor, "mousepad"),
    "gnome-text-editor": (GnomeTextEditor, "gnome-text-editor"),
    "firefox-esr (text area)": (Firefox, "firefox-esr"),
    "libreoffice writer": (LibreOfficeWriter, "libreoffice-writer"),
    "emacs-gtk": (Emacs, "emacs-gtk"),
    "pluma": (Pluma, "pluma"),
    "xterm": (Terminal, "xterm"),
}


def is_installed(package):
    return shutil.which("dpkg-query") and subprocess.run(
        ["dpkg-query", "--show", "--showformat=${db:Status-Status}", package],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False).stdout == b"installed"
