#!/usr/bin/python3
"""Downloads a model with the installed package, from a hub on this machine, and dictates with it.
Whether the hub is who it says is left to the certificates that came with the package: as long as
they do not name its authority, nothing is asked for. For a machine of its own: see
scripts/try-package.

    download.py PICTURES
"""

import os
import pathlib
import subprocess
import sys
import tempfile

from install_and_purge import ROOT

sys.path += [str(ROOT / "tests" / "desktop"), str(ROOT / "tests" / "downloads")]

AUTHORITIES = pathlib.Path("/usr/local/share/ca-certificates")


def lead_the_hub_here(folder):
    """The hub's name leads to this machine, which has a certificate for it, of an authority of its
    own."""
    from confined import HUB, make_authority, make_certificate
    make_authority(folder, "authority")
    make_certificate(folder, "authority", "hub", HUB)
    make_certificate(folder, "authority", "cdn", HUB)
    with open("/etc/hosts", "a", encoding="ascii") as hosts:
        hosts.write(f"\n127.0.0.1 localhost {HUB}\n")
    os.environ["HUB_FOLDER"] = str(folder)


def trust(folder):
    """As whoever looks after the machine adds an authority."""
    AUTHORITIES.mkdir(parents=True, exist_ok=True)
    (AUTHORITIES / "hub.crt").write_bytes((folder / "authority.crt").read_bytes())
    subprocess.run(["update-ca-certificates"], check=True, stdout=subprocess.DEVNULL)


class Walk:
    """A person's way to a model of their own, on a desktop."""

    def __init__(self, tab, hub):
        from hub import OTHER_REPOSITORY
        from local_model import LocalModel
        self.tab = tab
        self.hub = hub
        self.model = LocalModel(tab.desktop)
        hub.publish({str(path.relative_to(self.model.folder)): path.read_bytes()
                     for path in self.model.folder.rglob("*") if path.is_file()}, OTHER_REPOSITORY)

    def download(self):
        from models_tab import REDUX_NAME
        self.tab.press(lambda: self.tab.row(REDUX_NAME).get("Download"), "the download")

    def meet_a_stranger(self):
        """Asks a hub that nobody vouches for; what is wrong."""
        from waiting import wait_until
        self.download()
        line = wait_until(self.tab.error, "what is wrong with the hub", 60)
        print(f'Of a stranger it says "{line}"', flush=True)
        self.tab.desktop.screenshot("stranger")
        if self.hub.requests or not self.tab.is_at_rest():
            yield "it asked a stranger for a model"

    def dictate(self):
        """Downloads the model and dictates with it; what is wrong."""
        from editors import GTKEditor
        from models_tab import REDUX_NAME
        self.download()
        self.tab.await_state(REDUX_NAME, "installed")
        self.tab.press(lambda: self.tab.row(REDUX_NAME).get(f"Use {REDUX_NAME}"), "the model")
        self.tab.program.await_stored("engine", "parakeetRedux")
        self.tab.desktop.screenshot("downloaded")
        self.tab.window.close()
        editor = GTKEditor(self.tab.desktop)
        utterance = self.model.utterances[0]
        with self.tab.desktop.keyboard.held("Alt_R"):
            self.tab.program.await_recording()
            self.tab.desktop.sound.play(self.model.recording([utterance], "one"))
        typed = editor.await_text(60)
        print(f'Dictated with what was downloaded: "{typed}".', flush=True)
        self.tab.desktop.screenshot("typed")
        if typed.strip() != utterance["text"]:
            yield f'it typed "{typed}"'

    def run(self, authority):
        """All of it; what is wrong."""
        yield from self.meet_a_stranger()
        if self.tab.program.quit() != 0:
            yield "it did not end well"
        trust(authority)
        self.tab.restart()
        yield from self.dictate()
        if self.tab.program.quit() != 0:
            yield "it did not end well"


def main():
    pictures = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        lead_the_hub_here(folder)
        from hub import Hub
        from models_tab import ModelsTab
        with Hub() as hub:
            tab = ModelsTab("/usr/bin/vorlin", pictures, sound=True)
            try:
                wrong = list(Walk(tab, hub).run(folder))
            finally:
                tab.close()
    for line in wrong:
        print(f"download: {line}", file=sys.stderr)
    if not wrong:
        print("Downloaded from a hub that it trusts, and from no other.")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
