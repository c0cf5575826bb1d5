"""A model of the person's own, from the sheet that adds it to the words it hears, and off the list
again."""

import base64
import json

from editors import Terminal
from local_model import LocalModel
from waiting import wait_until

DIALOG = "Folder on this computer"
ROW = "Use mine"
BUILT_IN = "Use Built-in Speech"


def everything(folder):
    """Each file below a folder, with what is in it and when that was written."""
    return {path.relative_to(folder): (path.stat().st_mtime_ns, path.read_bytes())
            for path in folder.rglob("*") if path.is_file()}


def custom_engines(program):
    """The engines of the person's own in the settings file."""
    kept = program.stored().get("customEngines")
    return json.loads(base64.b64decode(kept["data"])) if kept else []


def choose_only_folder(begun, controls, name):
    """Chooses, by keyboard alone, the only folder that the dialog shows in the person's home."""
    wait_until(lambda: begun.window.is_active(DIALOG), "the folder dialog", 60)
    wait_until(lambda: controls.reader.find(name, DIALOG), "the folder in the dialog")
    begun.desktop.screenshot("folder-dialog")
    # From the list over the path to the buttons.
    for key in ("Down", "Tab", "Tab", "space"):
        begun.desktop.keyboard.tap(key)
    wait_until(begun.window.is_active, "the settings in front again")


def select(controls):
    """Clicks on the model's row; whether it is selected then."""
    controls.click(ROW)
    return controls.is_checked(ROW)


def test_a_folder_is_added_used_and_taken_off_the_list_untouched(stage):
    begun = stage(settings={"sounds": False})
    model = LocalModel(begun.desktop)
    folder = model.folder.rename(begun.desktop.home / "mine")
    before = everything(folder)
    controls = begun.open_settings("Models")
    controls.press("Add model…")
    controls.press("Folder")
    controls.press("Add")
    assert controls.has("Choose"), "nothing is added before there is a folder"
    controls.press("Choose")
    choose_only_folder(begun, controls, "mine")
    controls.find(str(folder))
    begun.desktop.screenshot("sheet")
    controls.press("Add")
    controls.find(ROW)
    wait_until(lambda: select(controls), "the model to be found complete, and selected")
    assert not controls.is_checked(BUILT_IN)
    (mine,) = wait_until(lambda: custom_engines(begun.program), "the settings file")
    assert mine["source"] == {"local": {"_0": str(folder)}}
    begun.program.await_stored("engine", mine["id"])
    begun.desktop.screenshot("selected")

    terminal = Terminal(begun.desktop)
    with begun.desktop.keyboard.held("Alt_R"):
        begun.program.await_recording()
        begun.desktop.sound.play(model.recording(model.utterances[:1], "one"))
    assert terminal.await_text(60) == model.utterances[0]["text"]

    begun.window.open()
    controls.press("More for mine")
    controls.press("Remove from list")
    wait_until(lambda: not controls.has(ROW), "the model to leave the list")
    assert controls.is_checked(BUILT_IN)
    wait_until(lambda: not custom_engines(begun.program), "the settings file")
    begun.program.await_stored("engine", "apple")
    assert everything(folder) == before


def test_what_a_folder_lacks_is_said_in_the_tab(stage):
    begun = stage()
    (begun.desktop.home / "empty").mkdir()
    controls = begun.open_settings("Models")
    controls.press("Add model…")
    controls.press("Folder")
    controls.press("Choose")
    choose_only_folder(begun, controls, "empty")
    controls.press("Add")
    controls.find("That folder isn't a compatible model. Missing: Preprocessor.mlmodelc, "
                  "Encoder.mlmodelc, Decoder.mlmodelc, JointDecisionv3.mlmodelc, "
                  "parakeet_v3_vocab.json.")
    assert not custom_engines(begun.program)
    begun.desktop.screenshot("lacking")
