"""A small trained speech model as a local engine, and recorded speech that it knows."""

import base64
import json
import os
import pathlib
import subprocess
import tarfile

FIXTURE = (pathlib.Path(__file__).resolve().parent.parent / "fixtures" / "mil"
           / "tiny-speech.tar.xz")
ENGINE_ID = "custom-0a1b2c3d"
TOKEN_THE = 42  # "▁the"


class LocalModel:
    """The model folder, in a desktop's own folder, and the speech that belongs to it."""

    def __init__(self, desktop):
        self.desktop = desktop
        with tarfile.open(FIXTURE) as archive:
            archive.extractall(desktop.folder)
        self.root = desktop.folder / "tiny-speech"
        self.folder = self.root / "model"
        self.utterances = json.loads((self.root / "utterances.json").read_text())

    def settings(self, **others):
        """The program's settings with this model added as an engine, and selected."""
        engine = {"id": ENGINE_ID, "name": "Small", "summary": str(self.folder),
                  "sizeLabel": "Custom", "source": {"local": {"_0": str(self.folder)}},
                  "custom": True}
        data = base64.b64encode(json.dumps([engine]).encode()).decode()
        return {"customEngines": {"data": data}, "engine": ENGINE_ID, **others}

    def write_for(self, token, text):
        """Lets the model write another text for one of its tokens."""
        file = self.folder / "parakeet_v3_vocab.json"
        vocabulary = json.loads(file.read_text())
        assert str(token) in vocabulary
        file.write_text(json.dumps(vocabulary | {str(token): text}))

    def become_links(self):
        """Lays the model out as a hub's cache does: every file a link into a store of files named
        by number, and the encoder a link to the folder of another model that shares it."""
        files = [path for path in sorted(self.folder.rglob("*")) if path.is_file()]
        store = self.root / "blobs"
        store.mkdir()
        for number, path in enumerate(files):
            blob = path.rename(store / f"{number:08x}")
            path.symlink_to(os.path.relpath(blob, path.parent))
        shared = self.root / "other" / "Encoder.mlmodelc"
        shared.parent.mkdir()
        encoder = self.folder / "Encoder.mlmodelc"
        encoder.rename(shared)
        # As deep as before, so that the links in it go on leading to the store.
        encoder.symlink_to(os.path.relpath(shared, self.folder))

    def several_by(self, voice):
        """The utterances of several sentences in a voice."""
        return [each for each in self.utterances
                if "several" in each["file"] and each["file"].endswith(f"-{voice}.wav")]

    def recording(self, utterances, name, pause=0.6, before=0.3, after=0.3, murmur=False):
        """A WAV file with utterances in a row, a pause in seconds after each; returns its path.
        A murmur below the words leaves no pause that is silence."""
        pieces = []
        for count, utterance in enumerate(utterances):
            piece = self.desktop.folder / f"{name}-{count}.wav"
            last = count == len(utterances) - 1
            subprocess.run(["sox", self.root / utterance["file"], piece, "pad",
                            str(before if count == 0 else 0), str(after if last else pause)],
                           check=True)
            pieces.append(piece)
        whole = self.desktop.folder / f"{name}.wav"
        subprocess.run(["sox", *pieces, whole], check=True)
        if not murmur:
            return whole
        mixed = self.desktop.folder / f"{name}-murmur.wav"
        tone = ["sox", "-r", "16000", "-n", "-b", "16", "-p", "synth", "60", "square", "400",
                "vol", "0.012"]
        subprocess.run(f"{' '.join(tone)} | sox -m -v 1 {whole} -v 1 -p {mixed} trim 0 "
                       f"{sum(each['seconds'] for each in utterances):.1f}", shell=True, check=True)
        return mixed


def engine_processes(program):
    """The engine processes of a running program."""
    listed = subprocess.run(["pgrep", "-P", str(program.process.pid), "-x", "vorlin-engine"],
                            stdout=subprocess.PIPE, text=True, check=False)
    return [int(line) for line in listed.stdout.split()]
