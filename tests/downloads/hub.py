"""A model hub on this machine's port 443, which does what a test says."""

import contextlib
import http.server
import json
import os
import pathlib
import re
import socket
import socketserver
import ssl
import struct
import threading

FOLDER = pathlib.Path(os.environ.get("HUB_FOLDER", "."))
HUB = "huggingface.co"
CDN = "cdn.hub.test"
REPOSITORY = "FluidInference/parakeet-ultra-coreml"
OTHER_REPOSITORY = "FluidInference/parakeet-redux-coreml"


def model(scale=1):
    """The files of a model, of some kilobytes times `scale`."""
    names = [f"{name}.mlmodelc/{part}"
             for name in ("Preprocessor", "Encoder", "Decoder", "JointDecisionv3")
             for part in ("model.mil", "coremldata.bin", "weights/weight.bin")]
    return {name: (name.encode() + b" ") * 100 * scale
            for name in (*names, "parakeet_v3_vocab.json")}


def listing(files, sizes=True):
    """The hub's list of files, with others beside them."""
    entries = [{"type": "directory", "oid": "0", "size": 0, "path": "Encoder.mlmodelc"},
               {"type": "file", "oid": "1", "size": 12, "path": "README.md"}]
    for path, content in files.items():
        entry = {"type": "file", "oid": "2", "path": path}
        entries.append({**entry, "size": len(content)} if sizes else entry)
    return json.dumps(entries).encode()


# --- What a server can do with a request: functions of its handler -------------------------------


def send(content, status=200, headers=None, length=None):
    """An answer with a body."""
    def answer(handler):
        handler.begin(status, {"Content-Length": len(content) if length is None else length,
                               **(headers or {})})
        handler.wfile.write(content)
        if length is not None:
            handler.close_connection = True
    return answer


def redirect(target):
    return send(b"elsewhere", 302, {"Location": target})


def resumable(content, tag='"one"', breaks_at=None):
    """A file whose rest can be asked for; the connection is reset once it has given so much."""
    def answer(handler):
        wanted = re.fullmatch(r"bytes=(\d+)-", handler.headers.get("Range", ""))
        start = 0
        if wanted and handler.headers.get("If-Range") == tag:
            start = int(wanted[1])
        headers = {"ETag": tag, "Accept-Ranges": "bytes", "Content-Length": len(content) - start}
        if start:
            headers["Content-Range"] = f"bytes {start}-{len(content) - 1}/{len(content)}"
        handler.begin(206 if start else 200, headers)
        end = len(content) if breaks_at is None else max(breaks_at, start)
        handler.wfile.write(content[start:end])
        if end < len(content):
            handler.reset()
    return answer


def broken(content, at):
    """The connection is reset in the middle."""
    def answer(handler):
        handler.begin(200, {"Content-Length": len(content)})
        handler.wfile.write(content[:at])
        handler.reset()
    return answer


def held(content, gate, at=0):
    """Some bytes, and the rest once the gate is open."""
    def answer(handler):
        handler.begin(200, {"Content-Length": len(content)})
        handler.wfile.write(content[:at])
        handler.wfile.flush()
        gate.wait()
        handler.wfile.write(content[at:])
    return answer


def in_turn(*answers):
    """One answer after the other; the last one repeats."""
    left = list(answers)

    def answer(handler):
        (left.pop(0) if len(left) > 1 else left[0])(handler)
    return answer


# --- The server -----------------------------------------------------------------------------------


class Handler(http.server.BaseHTTPRequestHandler):
    """One connection."""
    protocol_version = "HTTP/1.1"
    # An answer's head and its body would wait for each other's acknowledgement.
    wbufsize = 1 << 16

    def do_GET(self):  # pylint: disable=invalid-name
        hub = self.server.hub
        with hub.counted(self):
            answer = hub.routes.get((self.headers["Host"], self.path), send(b"nothing", 404))
            answer(self)
            self.wfile.flush()

    def begin(self, status, headers):
        self.send_response_only(status)
        for name, value in headers.items():
            self.send_header(name, value)
        self.end_headers()

    def reset(self):
        """Breaks the connection, once what was written had time to arrive."""
        self.wfile.flush()
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.close_connection = True
        self.server.hub.await_read(self)
        os.close(self.connection.detach())
        raise ConnectionResetError

    def log_message(self, *_):  # pylint: disable=arguments-differ
        pass


class Server(socketserver.ThreadingTCPServer):
    """A thread a connection."""
    allow_reuse_address = True
    daemon_threads = True
    request_queue_size = 64
    hub = None

    def finish_request(self, request, client_address):
        with self.hub.connected(), contextlib.suppress(OSError, ssl.SSLError):
            request = self.hub.context.wrap_socket(request, server_side=True)
            Handler(request, client_address, self)
            request.close()

    def handle_error(self, request, client_address):
        pass  # who is asked for goes away in many tests


class Hub:
    """The hub and whom it redirects to. `routes` says what is done, by host and path."""

    def __init__(self, certificate="hub"):
        self.routes = {}
        self.requests = []
        self.connections = 0
        self.open = 0
        self.most_open = 0
        self.in_flight = {}
        self.most_in_flight = {}
        self.lock = threading.Lock()
        self.context = self.context_of(certificate)
        others = self.context_of("cdn")

        def choose(connection, name, _):
            if name == CDN:
                connection.context = others
        self.context.sni_callback = choose

    @staticmethod
    def context_of(certificate):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(FOLDER / f"{certificate}.pem")
        return context

    def __enter__(self):
        self.server = Server(("127.0.0.1", 443), Handler)
        self.server.hub = self
        threading.Thread(target=self.server.serve_forever, args=(0.05,), daemon=True).start()
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.server.server_close()

    def publish(self, files, repository=REPOSITORY, sizes=True, redirected=False):
        """Has files to give, straight from here or from another host."""
        self.list_as(send(listing(files, sizes)), repository)
        for path, content in files.items():
            if redirected:
                self.serve(path, redirect(f"https://{CDN}/{repository}/{path}?signed=yes"),
                           repository)
                self.routes[CDN, f"/{repository}/{path}?signed=yes"] = send(content)
            else:
                self.serve(path, send(content), repository)

    def list_as(self, answer, repository=REPOSITORY):
        self.routes[HUB, f"/api/models/{repository}/tree/main?recursive=true"] = answer

    def serve(self, path, answer, repository=REPOSITORY):
        self.routes[HUB, f"/{repository}/resolve/main/{path}"] = answer

    def hold_everything(self, files, gate, repository=REPOSITORY, at=0):
        for path, content in files.items():
            self.serve(path, held(content, gate, at), repository)

    @contextlib.contextmanager
    def connected(self):
        """Counts connections: all, and those that are open."""
        with self.lock:
            self.connections += 1
            self.open += 1
            self.most_open = max(self.most_open, self.open)
        try:
            yield
        finally:
            with self.lock:
                self.open -= 1

    @contextlib.contextmanager
    def counted(self, handler):
        """Counts what is in flight, by repository."""
        found = re.match(r"/([^/]+/[^/]+)/resolve/", handler.path)
        key = found[1] if found else "other"
        with self.lock:
            self.requests.append((handler.headers["Host"], handler.path, dict(handler.headers)))
            self.in_flight[key] = self.in_flight.get(key, 0) + 1
            self.most_in_flight[key] = max(self.most_in_flight.get(key, 0), self.in_flight[key])
        try:
            yield
        finally:
            with self.lock:
                self.in_flight[key] -= 1

    @staticmethod
    def await_read(handler):
        """Until the other side has read what was written: a reset would take it back."""
        raw = handler.connection.fileno()
        import fcntl  # pylint: disable=import-outside-toplevel
        import termios  # pylint: disable=import-outside-toplevel
        import time  # pylint: disable=import-outside-toplevel
        deadline = time.monotonic() + 20
        while time.monotonic() < deadline:
            left = struct.unpack("i", fcntl.ioctl(raw, termios.TIOCOUTQ, b"\0" * 4))[0]
            if left == 0:
                return
            time.sleep(0.005)

    def paths(self, host=HUB):
        with self.lock:
            return [path for asked, path, _ in self.requests if asked == host]
