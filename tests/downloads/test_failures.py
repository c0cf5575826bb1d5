"""Networks, hubs and disks that fail: one line each, and nothing left of it."""

import http.server
import os
import pathlib
import socket
import socketserver
import threading

import pytest

from hub import (CDN, HUB, REPOSITORY, Hub, broken, in_turn, listing, model, redirect, resumable,
                 send)
from traces import ULTRA

WEIGHTS = "Encoder.mlmodelc/weights/weight.bin"
LOST = "The connection to the model hub was lost. It was tried three times."
NOT_FOUND = f"Couldn't find “{REPOSITORY}” on Hugging Face (or it needs a login)."
REFUSED = "The model hub led to an address that is not safe, and the download was stopped."
TOO_OFTEN = "The model hub led from one address to the next without end."
NOT_TRUSTED = ("The server that answered could not prove that it is the model hub: its certificate "
               "is not trusted.")


def outcome(catalog):
    return catalog.await_end(seen=catalog.install())


@pytest.fixture(name="previous")
def _previous(catalog):
    """A complete model that was there before; no failure may touch it."""
    content = catalog.put_model()
    yield content
    assert catalog.folder() == content


@pytest.mark.usefixtures("previous")
def test_a_repository_that_is_not_there(hub, catalog):
    assert outcome(catalog) == NOT_FOUND
    assert len(hub.requests) == 1


@pytest.mark.usefixtures("previous")
def test_a_file_that_is_not_there(hub, catalog, files):
    hub.publish(files)
    hub.serve(WEIGHTS, send(b"no", 404))
    assert outcome(catalog) == f"The model hub refused a file of the model (404): {WEIGHTS}."
    assert len([path for path in hub.paths() if path.endswith(WEIGHTS)]) == 1


@pytest.mark.usefixtures("previous")
def test_a_hub_that_asks_for_patience(hub, catalog, files):
    hub.publish(files)
    hub.serve(WEIGHTS, send(b"no", 429, {"Retry-After": "300"}))
    assert outcome(catalog) == ("The model hub takes no more requests for now (429). Try again in "
                                "5 minutes.")


@pytest.mark.usefixtures("previous")
def test_a_repository_without_a_required_name(hub, catalog, files):
    del files["parakeet_v3_vocab.json"]
    hub.publish(files)
    assert outcome(catalog) == ("That repository isn't a compatible Parakeet CoreML export. "
                                "Missing: parakeet_v3_vocab.json.")
    assert len(hub.requests) == 1


@pytest.mark.usefixtures("previous")
def test_an_answer_that_is_not_the_hubs(hub, catalog):
    hub.list_as(send(b"<html>Log in</html>"))
    line = ("The answer was not the model hub's. A network that wants a login first can be the "
            "cause.")
    assert outcome(catalog) == line
    hub.list_as(send(b"[" * 100_000))
    assert outcome(catalog) == line
    hub.list_as(send(b" " * (5 << 20)))
    assert outcome(catalog) == "The model hub's list of files is too long."


@pytest.mark.usefixtures("previous")
def test_a_connection_that_is_always_lost(hub, catalog, files):
    hub.publish(files)
    hub.serve(WEIGHTS, broken(files[WEIGHTS], 1000))
    assert outcome(catalog) == LOST
    assert len([path for path in hub.paths() if path.endswith(WEIGHTS)]) == 3


@pytest.mark.usefixtures("previous")
def test_a_body_that_is_cut_short(hub, catalog, files):
    hub.publish(files)
    hub.serve(WEIGHTS, send(files[WEIGHTS][:1000], length=len(files[WEIGHTS])))
    assert outcome(catalog) == LOST


def test_a_lost_connection_is_taken_up_where_it_broke(hub, catalog, files):
    hub.publish(files)
    content = files[WEIGHTS]
    hub.serve(WEIGHTS, in_turn(resumable(content, breaks_at=1000),
                               resumable(content, breaks_at=2000), resumable(content)))
    assert outcome(catalog) == "installed"
    assert catalog.folder() == files
    asked = [(headers.get("Range"), headers.get("If-Range"))
             for _, path, headers in hub.requests if path.endswith(WEIGHTS)]
    assert asked == [(None, None), ("bytes=1000-", '"one"'), ("bytes=2000-", '"one"')]
    assert catalog.fractions()[-1] == 1.0


def test_a_file_from_another_host_is_taken_up_by_that_hosts_word(hub, catalog, files):
    hub.publish(files)
    content = files[WEIGHTS]
    elsewhere = {"Location": f"https://{CDN}/file", "ETag": '"hub"', "Accept-Ranges": "bytes"}
    hub.serve(WEIGHTS, send(b"elsewhere", 302, elsewhere))
    hub.routes[CDN, "/file"] = in_turn(resumable(content, breaks_at=1000), resumable(content))
    assert outcome(catalog) == "installed"
    assert catalog.folder() == files
    asked = [(headers.get("Range"), headers.get("If-Range"))
             for host, _, headers in hub.requests if host == CDN]
    assert asked == [(None, None), ("bytes=1000-", '"one"')]
    plain = send(content)
    hub.routes[CDN, "/file"] = in_turn(broken(content, 1000), plain)
    assert outcome(catalog) == "installed"
    assert not any("Range" in headers for host, _, headers in hub.requests[-2:] if host == CDN)


def test_what_a_crash_left_goes_even_where_there_is_no_list(hub, catalog):
    left = catalog.models / f"{ULTRA}.partial"
    left.mkdir(parents=True)
    (left / "file").write_bytes(b"half")
    assert outcome(catalog) == NOT_FOUND
    assert catalog.partial() == []
    assert len(hub.requests) == 1


def test_a_file_that_changed_meanwhile_comes_whole(hub, catalog, files):
    hub.publish(files)
    content = files[WEIGHTS]
    hub.serve(WEIGHTS, in_turn(resumable(b"y" * len(content), '"old"', breaks_at=1000),
                               resumable(content, '"new"')))
    assert outcome(catalog) == "installed"
    assert catalog.folder() == files


def test_an_error_that_passes_is_survived(hub, catalog, files):
    hub.publish(files)
    hub.serve(WEIGHTS, in_turn(send(b"", 503), broken(files[WEIGHTS], 10), send(files[WEIGHTS])))
    assert outcome(catalog) == "installed"
    assert catalog.folder() == files


def test_the_next_press_after_a_failure_starts_cleanly(hub, catalog, files):
    hub.publish(files)
    hub.serve(WEIGHTS, send(b"no", 403))
    assert outcome(catalog) == f"The model hub refused a file of the model (403): {WEIGHTS}."
    hub.publish(files)
    assert outcome(catalog) == "installed"
    assert catalog.folder() == files


@pytest.mark.usefixtures("previous")
@pytest.mark.parametrize("certificate", ["stranger", "cdn"])
def test_a_certificate_of_somebody_else(catalog, files, certificate):
    with Hub(certificate) as hub:
        hub.publish(files)
        assert outcome(catalog) == NOT_TRUSTED
        assert hub.requests == []


@pytest.mark.usefixtures("previous")
@pytest.mark.parametrize("target", [f"http://{CDN}/file", f"https://person:secret@{CDN}/file",
                                    "file:///etc/passwd", "ftp://cdn.hub.test/file"])
def test_a_redirect_that_is_not_safe(hub, catalog, files, target):
    hub.publish(files)
    hub.serve(WEIGHTS, redirect(target))
    assert outcome(catalog) == REFUSED
    assert hub.paths(CDN) == []


class PlainServer(socketserver.ThreadingTCPServer):
    """Gives a content over HTTP, without any proof of who it is."""
    allow_reuse_address = True
    daemon_threads = True

    def __init__(self, content):
        self.content = content
        self.requests = 0
        super().__init__(("127.0.0.1", 80), PlainHandler)
        threading.Thread(target=self.serve_forever, args=(0.05,), daemon=True).start()


class PlainHandler(http.server.BaseHTTPRequestHandler):
    """One connection."""

    def do_GET(self):  # pylint: disable=invalid-name
        self.server.requests += 1
        self.send_response_only(200)
        self.send_header("Content-Length", str(len(self.server.content)))
        self.end_headers()
        self.wfile.write(self.server.content)


@pytest.mark.usefixtures("previous")
def test_plain_http_is_refused_though_somebody_has_the_file_there(hub, catalog, files):
    hub.publish(files)
    hub.serve(WEIGHTS, redirect(f"http://{CDN}/file"))
    with PlainServer(files[WEIGHTS]) as plain:
        assert outcome(catalog) == REFUSED
        plain.content = listing(files)
        hub.list_as(redirect(f"http://{CDN}/list"))
        assert outcome(catalog) == REFUSED
        assert plain.requests == 0
        plain.shutdown()


def test_ten_redirects_are_followed_and_no_more(hub, catalog, files):
    hub.publish(files)

    def chain(length):
        hub.serve(WEIGHTS, redirect(f"https://{CDN}/1"))
        for number in range(1, length):
            hub.routes[CDN, f"/{number}"] = redirect(f"https://{CDN}/{number + 1}")
        hub.routes[CDN, f"/{length}"] = send(files[WEIGHTS])
    chain(11)
    assert outcome(catalog) == TOO_OFTEN
    chain(10)
    assert outcome(catalog) == "installed"


@pytest.mark.usefixtures("previous")
def test_a_host_without_a_network(hub, catalog, files):
    hub.publish(files)
    hub.serve(WEIGHTS, redirect("https://nowhere.hub.test/file"))
    assert outcome(catalog) == ("There is no network connection. Connect to a network and try "
                                "again.")


def test_nobody_who_listens(catalog):
    assert outcome(catalog) == ("There is no network connection. Connect to a network and try "
                                "again.")


def test_a_disk_with_too_little_room(hub, start):
    catalog = start(pathlib.Path(os.environ["HUB_FOLDER"]) / "small")
    files = model()
    files[WEIGHTS] = b"w" * 3_000_000
    hub.publish(files)
    assert outcome(catalog).startswith("There is not enough room on the disk: the model needs 3")
    hub.publish(files, sizes=False)
    assert outcome(catalog) == "The disk is full. Make room and try again."
    assert catalog.partial() == []
    assert list(catalog.models.iterdir()) == []


def test_a_folder_that_may_not_be_written(hub, catalog, files):
    hub.publish(files)
    catalog.models.mkdir(parents=True)
    catalog.models.chmod(0o500)
    try:
        assert outcome(catalog) == ("The models folder cannot be written to: permission denied.")
    finally:
        catalog.models.chmod(0o700)


def test_a_models_folder_that_cannot_be_made(hub, catalog, files):
    hub.publish(files)
    (catalog.data / "Vorlin").mkdir(parents=True)
    catalog.models.write_bytes(b"a file")
    assert outcome(catalog).startswith("The models folder cannot be written to: ")
    assert catalog.models.read_bytes() == b"a file"
    catalog.models.unlink()


# --- Proxies --------------------------------------------------------------------------------------


class Proxy:
    """One that connects to the hub, or refuses to."""

    def __init__(self, refuses=False):
        self.refuses = refuses
        self.heads = []
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.address = f"127.0.0.1:{self.listener.getsockname()[1]}"
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                client, _ = self.listener.accept()
            except OSError:
                return
            threading.Thread(target=self.serve, args=(client,), daemon=True).start()

    def serve(self, client):
        head = b""
        while not head.endswith(b"\r\n\r\n"):
            head += client.recv(1)
        self.heads.append(head.decode())
        if self.refuses:
            client.sendall(b"HTTP/1.1 407 Proxy Authentication Required\r\nContent-Length: 0\r\n"
                           b"Proxy-Authenticate: Basic realm=x\r\n\r\n")
            client.close()
            return
        hub = socket.create_connection(("127.0.0.1", 443))
        client.sendall(b"HTTP/1.1 200 Connected\r\n\r\n")
        threading.Thread(target=self.pump, args=(hub, client), daemon=True).start()
        self.pump(client, hub)

    @staticmethod
    def pump(source, target):
        try:
            while piece := source.recv(1 << 16):
                target.sendall(piece)
        except OSError:
            pass
        for each in (source, target):
            try:
                each.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass

    def close(self):
        self.listener.close()


def test_the_desktops_proxy_is_used_and_it_alone_gets_its_password(hub, start, files):
    proxy = Proxy()
    catalog = start(environment={"https_proxy": f"http://person:secret@{proxy.address}"})
    hub.publish(files, redirected=True)
    assert outcome(catalog) == "installed"
    assert {head.splitlines()[0] for head in proxy.heads} == {
        f"CONNECT {HUB}:443 HTTP/1.1", f"CONNECT {CDN}:443 HTTP/1.1"}
    assert all("Proxy-Authorization: Basic" in head for head in proxy.heads)
    for _, _, headers in hub.requests:
        assert set(headers) == {"Host", "User-Agent", "Accept"}
    proxy.close()


def test_a_proxy_that_refuses(hub, start, files):
    proxy = Proxy(refuses=True)
    catalog = start(environment={"HTTPS_PROXY": f"http://{proxy.address}"})
    hub.publish(files)
    assert outcome(catalog) == "The network's proxy did not let the download through."
    assert hub.requests == []
    proxy.close()


def test_a_host_that_needs_no_proxy_is_asked_directly(hub, start, files):
    catalog = start(environment={"https_proxy": "http://127.0.0.1:1", "no_proxy": HUB})
    hub.publish(files)
    assert outcome(catalog) == "installed"
    hub.list_as(redirect(f"https://{CDN}/list"))
    hub.routes[CDN, "/list"] = send(listing(files))
    assert outcome(catalog) == ("There is no network connection. Connect to a network and try "
                                "again.")
    assert hub.paths(CDN) == []
