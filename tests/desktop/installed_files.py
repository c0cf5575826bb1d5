"""What belongs to the installed program, below the place it is installed to, and what the package
needs and recommends by name, beside the libraries that it is linked to."""

PROGRAM = "bin/vorlin"
FILES = {
    PROGRAM,
    "libexec/vorlin/vorlin-engine",
    "libexec/vorlin/vorlin-guard",
    "libexec/vorlin/vorlin-keeper",
    "share/applications/org.vorlin.Vorlin.Escape.desktop",
    "share/applications/org.vorlin.Vorlin.desktop",
    "share/icons/hicolor/scalable/apps/org.vorlin.Vorlin.svg",
    "share/man/man1/vorlin.1",
    "share/metainfo/org.vorlin.Vorlin.metainfo.xml",
}
# The package's own, which packs what people read.
PACKED = {"share/man/man1/vorlin.1"}
OF_THE_PACKAGE = {f"share/doc/vorlin/{name}"
                  for name in ("CHANGELOG.md.gz", "DESKTOPS.md", "changelog.gz", "copyright")}
# Each with its reason, where that is no library, module or program of it that ours name.
NEEDS = {
    "ca-certificates": "whom downloads trust; libcurl only recommends it",
    "pocketsphinx-en-us": "the model of the recogniser",
    "qml6-module-qtqml": "",
    "qml6-module-qtqml-models": "",
    "qml6-module-qtqml-workerscript": "",
    "qml6-module-qtquick": "",
    "qml6-module-qtquick-layouts": "",
    "qml6-module-qtquick-templates": "",
    "xdg-utils": "",
}
# What most desktops have in one form or another.
RECOMMENDED = {
    "default-dbus-session-bus": "trays, portals, and that a second start opens the settings",
    "pipewire-pulse": "the microphone",
    "xwayland": "windows in a Wayland session",
}


def files_of_the_package():
    """The same as the package has them."""
    own = {f"{name}.gz" if name in PACKED else name for name in FILES}
    return {f"/usr/{name}" for name in own | OF_THE_PACKAGE}
