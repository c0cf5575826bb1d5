"""Hubs that want more than to give a model."""

import json

import pytest

from hub import listing, send
from traces import ULTRA

WEIGHTS = "Encoder.mlmodelc/weights/weight.bin"


def outcome(catalog):
    return catalog.await_end(seen=catalog.install())


def everything_below(folder):
    return sorted(str(path.relative_to(folder)) for path in folder.rglob("*"))


@pytest.mark.parametrize("path", [
    "Encoder.mlmodelc/../../../escaped", "Encoder.mlmodelc/..", "Encoder.mlmodelc/./x",
    "Encoder.mlmodelc//etc/escaped", "Encoder.mlmodelc/", "Encoder.mlmodelc/..\\..\\escaped",
    "Encoder.mlmodelc/a\0b", "Encoder.mlmodelc/a\nb"])
def test_a_path_that_leads_elsewhere_is_refused_before_a_file_is_fetched(
        hub, catalog, files, tmp_path, path):
    before = everything_below(tmp_path)
    hub.list_as(send(listing({**files, path: b"x"})))
    line = outcome(catalog)
    assert line.startswith("The model hub's list of files cannot be used: the name ")
    assert line.endswith(" is not allowed.") and len(line.splitlines()) == 1
    assert len(hub.requests) == 1
    assert [each for each in everything_below(tmp_path) if not each.startswith("config")] == [
        each for each in before if not each.startswith("config")]


@pytest.mark.parametrize("path, reason", [
    (WEIGHTS, "stands there twice"),
    (WEIGHTS.upper().replace("ENCODER.MLMODELC", "Encoder.mlmodelc"), "stands there twice"),
    ("Encoder.mlmodelc/WEIGHTS/other.bin", "stands there in two spellings"),
    (WEIGHTS + "/below", "is both a file and a folder"),
])
def test_files_that_meet_are_refused(hub, catalog, files, path, reason):
    entries = json.loads(listing(files)) + [{"type": "file", "path": path, "size": 1}]
    hub.list_as(send(json.dumps(entries).encode()))
    line = outcome(catalog)
    assert line.startswith("The model hub's list of files cannot be used: ") and reason in line
    assert len(hub.requests) == 1


@pytest.mark.parametrize("size", [-1, 1 << 60, 1 << 64, 1.5, "1"])
def test_sizes_that_cannot_be_true_are_refused(hub, catalog, files, size):
    entries = json.loads(listing(files))
    entries[-1]["size"] = size
    hub.list_as(send(json.dumps(entries).encode()))
    assert outcome(catalog).startswith("The model hub's list of files cannot be used: ")
    assert len(hub.requests) == 1


def test_a_name_without_files_ends_with_a_line(hub, catalog, files):
    entries = [entry for entry in json.loads(listing(files))
               if not entry["path"].startswith("Encoder.mlmodelc/")]
    hub.list_as(send(json.dumps(entries).encode()))
    assert outcome(catalog) == ("That repository isn't a compatible Parakeet CoreML export. "
                                "Missing: Encoder.mlmodelc.")


def test_a_body_is_cut_off_as_soon_as_it_exceeds_its_size(hub, catalog, files):
    hub.publish(files)
    sent = []

    def endless(handler):
        handler.begin(200, {"Transfer-Encoding": "chunked"})
        while len(sent) < 4000:
            handler.wfile.write(b"10000\r\n" + b"x" * 0x10000 + b"\r\n")
            sent.append(None)
    hub.serve(WEIGHTS, endless)
    assert outcome(catalog) == f"The model hub sent more than it lists for {WEIGHTS}."
    assert len(sent) < 4000


def test_a_file_shorter_than_listed_is_no_model(hub, catalog, files):
    hub.publish(files)
    hub.serve(WEIGHTS, send(files[WEIGHTS][:-1]))
    assert outcome(catalog) == f"The model hub sent less than it lists for {WEIGHTS}."


def test_a_link_in_the_place_of_a_working_folder_is_not_followed(hub, catalog, files, tmp_path):
    outside = tmp_path / "outside"
    outside.mkdir()
    (outside / "precious").write_bytes(b"mine")
    catalog.models.mkdir(parents=True)
    (catalog.models / f"{ULTRA}.partial").symlink_to(outside)
    hub.publish(files)
    assert outcome(catalog) == "installed"
    assert catalog.folder() == files
    assert everything_below(outside) == ["precious"]


def test_a_link_in_the_place_of_the_model_is_replaced_and_what_it_leads_to_stays(
        hub, catalog, files, tmp_path):
    outside = tmp_path / "outside"
    outside.mkdir()
    (outside / "precious").write_bytes(b"mine")
    catalog.models.mkdir(parents=True)
    (catalog.models / ULTRA).symlink_to(outside)
    hub.publish(files)
    assert outcome(catalog) == "installed"
    assert catalog.folder() == files
    assert not (catalog.models / ULTRA).is_symlink()
    assert everything_below(outside) == ["precious"]


@pytest.mark.parametrize("repository", ["../..", "owner/..", "./name", "owner", "a/b/c"])
def test_a_repository_that_is_none_is_not_asked_for(hub, catalog, repository):
    seen = catalog.tell(f"add {repository}")
    assert catalog.await_line("error ", seen) == (
        "error Enter a repository as owner/name, for example "
        "FluidInference/parakeet-ultra-coreml.")
    assert hub.requests == []
