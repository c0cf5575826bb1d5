"""Where scripts/debian-sources says that Debian comes from, out of what a machine's apt names."""

import pathlib
import subprocess

SCRIPT = pathlib.Path(__file__).resolve().parent.parent.parent / "scripts" / "debian-sources"
KEYS = "/usr/share/keyrings/debian-archive-keyring.gpg"


def sources(folder, files, suite="trixie", machine="bookworm"):
    """The lines for a suite, of a machine whose apt has these files."""
    (folder / "sources.list.d").mkdir(exist_ok=True)
    for name, text in files.items():
        (folder / name).write_text(text)
    done = subprocess.run([SCRIPT, machine, suite, folder], stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, check=True)
    assert done.stderr == ""
    return done.stdout.splitlines()


STANZAS = f"""\
# The archive
Types: deb deb-src
URIs: http://mirror.example/debian
Suites: bookworm bookworm-updates bookworm-backports
Components: main contrib
Signed-By: {KEYS}

Types: deb
# a remark within
URIs: http://security.example/debian-security
Suites:
 bookworm-security
Components: main
Signed-By: {KEYS}
"""


def test_stanzas_are_read_and_the_suite_is_changed(tmp_path):
    assert sources(tmp_path, {"sources.list.d/debian.sources": STANZAS}) == [
        f"deb [signed-by={KEYS}] http://mirror.example/debian trixie main contrib",
        f"deb [signed-by={KEYS}] http://mirror.example/debian trixie-updates main contrib",
        f"deb [signed-by={KEYS}] http://security.example/debian-security trixie-security main",
    ]


def test_the_machines_own_suite_stays(tmp_path):
    lines = sources(tmp_path, {"sources.list.d/debian.sources": STANZAS}, suite="bookworm")
    assert [line.split()[3] for line in lines] == [
        "bookworm", "bookworm-updates", "bookworm-security"]


def test_lines_are_read(tmp_path):
    assert sources(tmp_path, {"sources.list": f"""
# deb http://old.example/debian bookworm main
deb http://mirror.example/debian/ trixie main non-free # comment
deb-src http://mirror.example/debian/ trixie main
deb [arch=amd64 signed-by={KEYS}] https://mirror.example/security trixie-security main
"""}, suite="bookworm", machine="trixie") == [
        "deb http://mirror.example/debian/ bookworm main non-free",
        f"deb [signed-by={KEYS}] https://mirror.example/security bookworm-security main",
    ]


def test_what_others_publish_is_left_out(tmp_path):
    assert not sources(tmp_path, {
        "sources.list.d/a.list":
            "deb https://packages.example/apt cloud-bookworm main\n"
            "deb [signed-by=/etc/apt/keyrings/b.gpg] https://b.example/linux bookworm main\n"
            "deb https://c.example/linux/debian bookworm stable\n"
            "deb https://d.example/flat ./\n",
        "sources.list.d/e.sources":
            "Types: deb\nURIs: https://e.example/linux\nSuites: bookworm\nComponents: main\n"
            "Signed-By: /etc/apt/keyrings/e.asc\n",
    })


def test_a_disabled_stanza_and_sources_alone_are_left_out(tmp_path):
    stanza = "URIs: http://a.example/debian\nSuites: bookworm\nComponents: main\n"
    assert not sources(tmp_path, {
        "sources.list.d/a.sources": f"Types: deb\n{stanza}Enabled: no\n\nTypes: deb-src\n{stanza}"})


def test_a_list_of_mirrors_stands_for_its_first(tmp_path):
    mirrors = tmp_path / "mirrors.list"
    mirrors.write_text("# near\nhttps://near.example/debian\tpriority:1\nhttps://far.example/\n")
    assert sources(tmp_path, {
        "sources.list": f"deb mirror+file:{mirrors} bookworm main\n"
                        f"deb mirror+file://{mirrors} bookworm-updates main\n"
                        "deb cdrom:[Debian]/ bookworm main\n"}) == [
        "deb https://near.example/debian trixie main",
        "deb https://near.example/debian trixie-updates main"]


def test_an_entry_that_is_named_twice_is_one(tmp_path):
    line = "deb http://a.example/debian bookworm main\n"
    assert len(sources(tmp_path, {"sources.list": line, "sources.list.d/a.list": line})) == 1


def test_a_machine_without_any_says_nothing(tmp_path):
    assert not sources(tmp_path, {})
