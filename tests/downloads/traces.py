"""What downloads leave behind: on the disk, and in the process that makes them."""

import pathlib

from waiting import wait_until

ULTRA = "parakeetUltra"
REDUX = "parakeetRedux"


class Traces:
    """Those of one program, whose `process` whoever derives from this has."""

    process = None

    def __init__(self, data):
        """`data` is the folder of the person's data."""
        self.models = data / "Vorlin" / "Models"

    def folder(self, engine=ULTRA):
        """The files of a model in place; nothing when it is not there."""
        top = self.models / engine
        while top.is_dir():
            try:
                return {str(path.relative_to(top)): path.read_bytes()
                        for path in top.rglob("*") if path.is_file()}
            except FileNotFoundError:
                pass  # it is being removed
        return None

    def put_model(self, engine=ULTRA):
        """Lays a complete model there, as a person does who has a copy; returns its files."""
        files = {"parakeet_v3_vocab.json": b"previous"}
        for name in ("Preprocessor", "Encoder", "Decoder", "JointDecisionv3"):
            files[f"{name}.mlmodelc/model.mil"] = b"previous"
        for path, text in files.items():
            place = self.models / engine / path
            place.parent.mkdir(parents=True, exist_ok=True)
            place.write_bytes(text)
        return files

    def partial(self):
        """The working folders that are there."""
        return sorted(path.name for path in self.models.glob("*.partial"))

    def descriptors(self):
        """What is open, and how many threads run."""
        process = pathlib.Path(f"/proc/{self.process.pid}")
        return len(list((process / "fd").iterdir())), len(list((process / "task").iterdir()))

    def await_rest(self, before):
        """Until no more is open, and no more threads run, than before."""
        def rests():
            now = self.descriptors()
            return now[0] <= before[0] and now[1] <= before[1]
        wait_until(rests, f"no more than {before} descriptors and threads")
