"""What the document about desktops tells a person to write into a compositor's configuration."""

import pathlib
import re

DOCUMENT = pathlib.Path(__file__).resolve().parents[2] / "docs" / "DESKTOPS.md"


def lines_for(compositor):
    """The lines of the document that are for a compositor."""
    found = re.findall(rf"^```{compositor}\n(.*?)^```$", DOCUMENT.read_text(encoding="utf-8"),
                       re.MULTILINE | re.DOTALL)
    assert len(found) == 1, f"the document has {len(found)} blocks for {compositor}"
    return found[0]
