"""Rules for the adapters of a desktop: a folder a facility, and no arrow from one to another."""

import re

from tree import CPP, Finding

# What every adapter may include besides its own facility.
SHARED_HEADERS = ("Ports/", "Async/", "Audio/", "Hotkey.h", "Platform/Shared/",
                  "Platform/Linux/X11/", "Platform/Linux/Portal/", "Platform/Linux/Sway/",
                  "Platform/Linux/Wayland/",
                  "Platform/Linux/Environment.h",
                  "Platform/macOS/Plain/", "Platform/macOS/Objects/")
# What a facility's library may link of ours besides itself.
SHARED_LIBRARIES = {"vorlin_core", "vorlin_platform_shared", "vorlin_warnings",
                    "vorlin_linux_environment", "vorlin_linux_portal", "vorlin_linux_x11",
                    "vorlin_linux_sway",
                    "vorlin_linux_wayland",
                    "vorlin_macos_plain"}

INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*"([^"]+)"')
LIBRARY = re.compile(r"\bvorlin_\w+")
OWN_LIBRARY = re.compile(r"add_library\(\s*(\w+)")


def own_headers(path):
    """How the headers of a file's facility begin; of a file in none, those of its own name."""
    folder = "/".join(path.parts[1:-1])
    return f"{folder}/{path.stem}." if len(path.parts) == 4 else "/".join(path.parts[1:4]) + "/"


def includes_between_facilities(tree):
    """An adapter includes what all share and its own facility: no other one, and not the core."""
    for path in tree.files(CPP, "src"):
        if path.parts[1] != "Platform":
            continue
        allowed = SHARED_HEADERS + (own_headers(path), f"{path.stem}.moc")
        for number, line in tree.lines(path):
            found = INCLUDE.match(line)
            if found and not found[1].startswith(allowed):
                yield Finding(path, number, f"an adapter may not include {found[1]}")


def linkable(path):
    """What the libraries of a build file may link of ours besides its own; None: anything."""
    if path.parts[1] == "App":
        return None
    if path.parts[1] == "UI":
        return {"vorlin_core", "vorlin_warnings"}
    if path.parts[1] != "Platform":  # the core, and mil
        return {"vorlin_warnings"}
    if len(path.parts) == 5 or path.parts[2:-1] == ("macOS",):
        return SHARED_LIBRARIES | ({"vorlin_macos_speech"} if len(path.parts) == 4 else set())
    if path.parts[2:-1] == ("Linux",):  # what every facility may link
        return {"vorlin_warnings"}
    return {"vorlin_core", "vorlin_warnings"}


def links_between_facilities(tree):
    """What a library links states what it may include: arrows point down only."""
    for path in tree.files({".cmake"}, "src"):
        allowed = linkable(path)
        if allowed is None:
            continue
        own = set(OWN_LIBRARY.findall(tree.text(path)))
        for number, line in tree.lines(path):
            for name in LIBRARY.findall(line):
                if name not in allowed | own:
                    yield Finding(path, number, f"what is here may not link {name}")


RULES = (includes_between_facilities, links_between_facilities)
