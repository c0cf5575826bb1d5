"""A rule for the core: its own layers, bottom-up, and no arrow that runs back up."""

import re

from tree import CPP, Finding

# The one place that says in which order the core's layers stand. A name with a stroke is a folder
# of src, the others are files right in src, without their suffix; a layer may include itself and
# what stands before it.
LAYERS = (
    ("Async/",),
    ("Audio/",),
    ("Hotkey", "Wording"),
    ("Ports/",),
    ("Engine", "PCMConverter", "Preferences", "Transcriber"),
    ("AppleTranscriber", "Parakeet/"),
    ("Models/",),
    (),  # every other file: the parts of a dictation and of what a person sees
    ("AppModel",),
    ("MenuContent", "Settings/"),
    ("VorlinApp",),
)
FOLDERS = tuple(name[:-1] for layer in LAYERS for name in layer if name.endswith("/"))
PARTS = LAYERS.index(())

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')


def layer_of(header):
    """Where a file of the core stands, by its path from src; nothing for one elsewhere."""
    folder, stroke, rest = header.partition("/")
    name = folder + stroke if stroke else header.rsplit(".", 1)[0]
    for height, layer in enumerate(LAYERS):
        if name in layer:
            return height
    return None if rest else PARTS


def includes_of_higher_layers(tree):
    """Inside the core, too, arrows point down only."""
    for path in tree.files(CPP, "src"):
        own = layer_of("/".join(path.parts[1:]))
        if own is None:
            continue
        for number, line in tree.lines(path):
            found = INCLUDE.match(line)
            if found and (layer_of(found[1]) or 0) > own:
                yield Finding(path, number, f"{found[1]} stands in a layer above")


RULES = (includes_of_higher_layers,)
