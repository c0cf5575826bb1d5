"""Downloads that succeed, and what they ask the network for."""

import threading

from hub import CDN, HUB, OTHER_REPOSITORY, REPOSITORY, held, model, send
from traces import REDUX, ULTRA
from waiting import stays_equal


def test_a_press_brings_the_model_and_selects_it(hub, catalog, files):
    hub.publish(files)
    catalog.install()
    assert catalog.await_end() == "installed"
    assert catalog.folder() == files
    catalog.await_line(f"selected {ULTRA}")
    assert catalog.fractions()[-1] == 1.0
    assert catalog.fractions() == sorted(catalog.fractions())


def test_files_are_fetched_from_where_the_hub_redirects_to(hub, catalog, files):
    hub.publish(files, redirected=True)
    catalog.install()
    assert catalog.await_end() == "installed"
    assert catalog.folder() == files
    assert len(hub.paths(CDN)) == len(files)


def test_only_the_files_of_the_model_are_asked_for_and_nothing_else(hub, catalog, files):
    assert stays_equal(lambda: hub.connections, 1.0) and hub.connections == 0
    hub.publish(files)
    catalog.install()
    assert catalog.await_end() == "installed"
    wanted = [f"/{REPOSITORY}/resolve/main/{path}" for path in files]
    assert sorted(hub.paths()) == sorted(
        [f"/api/models/{REPOSITORY}/tree/main?recursive=true", *wanted])


def test_nothing_about_the_person_or_the_machine_is_sent(hub, start, tmp_path, files):
    (tmp_path / ".netrc").write_text(f"machine {HUB} login person password secret\n")
    (tmp_path / ".curlrc").write_text("user-agent = curlrc\n")
    catalog = start(tmp_path)
    hub.publish(files, redirected=True)
    hub.list_as(send(b"", 302, {"Location": f"https://{CDN}/list", "Set-Cookie": "a=b"}))
    from hub import listing  # pylint: disable=import-outside-toplevel
    hub.routes[CDN, "/list"] = send(listing(files), headers={"Set-Cookie": "c=d; Domain=test"})
    catalog.install()
    assert catalog.await_end() == "installed"
    for host, path, headers in hub.requests:
        assert headers == {"Host": host, "User-Agent": headers["User-Agent"], "Accept": "*/*"}, path
        name, version = headers["User-Agent"].split("/")
        assert name == "Vorlin" and all(part.isdigit() for part in version.split("."))


def test_without_sizes_the_share_jumps_to_one(hub, catalog, files):
    hub.publish(files, sizes=False)
    catalog.install()
    assert catalog.await_end() == "installed"
    assert set(catalog.fractions()) == {0.0, 1.0}
    assert catalog.folder() == files


def test_a_trickle_is_shown_as_it_comes(hub, catalog, files):
    gates = [threading.Event() for _ in range(4)]
    path, content = "Encoder.mlmodelc/weights/weight.bin", b"x" * 100_000
    files[path] = content
    hub.publish(files)

    def trickle(handler):
        handler.begin(200, {"Content-Length": len(content)})
        for number, gate in enumerate(gates):
            handler.wfile.write(content[number * 25_000:(number + 1) * 25_000])
            handler.wfile.flush()
            gate.wait()
    hub.serve(path, trickle)
    catalog.install()
    total = sum(map(len, files.values()))
    for number, gate in enumerate(gates):
        shown = (total - (3 - number) * 25_000) / total
        catalog.await_line(f"state {ULTRA} downloading {shown:.6f}")
        gate.set()
    assert catalog.await_end() == "installed"
    assert catalog.folder() == files


def test_at_most_three_files_are_in_flight_for_each_of_two_downloads(hub, catalog, files):
    gate = threading.Event()
    other = model(2)
    hub.publish(files)
    hub.publish(other, OTHER_REPOSITORY)
    hub.hold_everything(files, gate)
    hub.hold_everything(other, gate, OTHER_REPOSITORY)
    catalog.install(ULTRA)
    catalog.install(REDUX)
    from waiting import wait_until  # pylint: disable=import-outside-toplevel
    wait_until(lambda: hub.in_flight.get(REPOSITORY) == 3 and
               hub.in_flight.get(OTHER_REPOSITORY) == 3, "three files of each")
    assert stays_equal(lambda: (len(hub.requests), hub.connections), 0.5)
    gate.set()
    assert catalog.await_end(ULTRA) == "installed"
    assert catalog.await_end(REDUX) == "installed"
    assert hub.most_in_flight[REPOSITORY] == 3
    assert hub.most_in_flight[OTHER_REPOSITORY] == 3
    assert catalog.folder(ULTRA) == files
    assert catalog.folder(REDUX) == other


def test_pressing_twice_starts_one_download(hub, catalog, files):
    gate = threading.Event()
    hub.publish(files)
    hub.serve("parakeet_v3_vocab.json", held(files["parakeet_v3_vocab.json"], gate))
    catalog.install()
    catalog.await_line("did install", catalog.install())
    gate.set()
    assert catalog.await_end() == "installed"
    assert len(hub.requests) == 1 + len(files)


def test_another_download_replaces_the_model_whole(hub, catalog, files):
    hub.publish(files)
    catalog.install()
    assert catalog.await_end() == "installed"
    newer = model(3)
    del newer["Decoder.mlmodelc/coremldata.bin"]
    hub.publish(newer)
    assert catalog.await_end(seen=catalog.install()) == "installed"
    assert catalog.folder() == newer


def test_a_repository_that_a_person_adds_is_encoded_in_its_address(hub, catalog, files):
    hub.publish(files, "some%2Bone/my%23model")
    seen = catalog.tell("add some+one/my#model")
    engine = catalog.await_line("state custom-", seen).split()[1]
    assert catalog.await_end(engine, seen) == "installed"
    assert catalog.folder(engine) == files
