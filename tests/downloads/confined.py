#!/usr/bin/python3
"""Runs a command where the model hub is at home: in a network of its own without a way out, where
the hub's name leads to this machine, port 443 is free to serve, and the only authority for
certificates is one made here.

    confined.py -- COMMAND...

The command finds in $HUB_FOLDER: hub.pem and cdn.pem (certificates with their keys), stranger.pem
(for the hub's name, from an authority that nobody trusts), and small (a disk of 2 MB).
"""

import os
import pathlib
import subprocess
import sys
import tempfile

HUB = "huggingface.co"
CDN = "cdn.hub.test"
# Asked for every other name. Nobody is there unless a test is, whose silence is waited for longer
# than for anything else.
NAMES = "nameserver 127.0.0.1\noptions timeout:30 attempts:5\n"
HOSTS = f"127.0.0.1 localhost {HUB} {CDN}\n"
TRUSTED = "/etc/ssl/certs/ca-certificates.crt"
SMALL_DISK = 2_000_000
# A display server takes the first number that is free in its network, and this folder's socket of
# that number from whichever server has it outside.
DISPLAYS = pathlib.Path("/tmp/.X11-unix")


def openssl(*arguments):
    subprocess.run(["openssl", *map(str, arguments)], check=True, capture_output=True)


def make_authority(folder, name):
    """A key and a certificate that may sign others."""
    openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
            "-days", "2", "-subj", f"/CN={name}", "-addext", "basicConstraints=critical,CA:TRUE",
            "-keyout", folder / f"{name}.key", "-out", folder / f"{name}.crt")


def make_certificate(folder, authority, name, host):
    """A certificate for a host, with its key in one file."""
    request, extensions = folder / "request", folder / "extensions"
    extensions.write_text(f"subjectAltName=DNS:{host}\n")
    key, certificate = folder / f"{name}.key", folder / f"{name}.crt"
    openssl("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
            "-subj", f"/CN={host}", "-keyout", key, "-out", request)
    openssl("x509", "-req", "-in", request, "-days", "2", "-CAcreateserial",
            "-CA", folder / f"{authority}.crt", "-CAkey", folder / f"{authority}.key",
            "-extfile", extensions, "-out", certificate)
    (folder / f"{name}.pem").write_text(key.read_text() + certificate.read_text())


def bubble(folder):
    """bwrap and its options."""
    command = ["bwrap", "--die-with-parent", "--dev-bind", "/", "/", "--unshare-net"]
    for ours, theirs in (("hosts", "/etc/hosts"), ("resolv.conf", "/etc/resolv.conf"),
                         ("authority.crt", TRUSTED)):
        command += ["--ro-bind", folder / ours, os.path.realpath(theirs)]
    command += ["--size", str(SMALL_DISK), "--tmpfs", folder / "small",
                "--perms", "1777", "--tmpfs", DISPLAYS, "--setenv", "HUB_FOLDER", folder]
    if os.getuid() != 0:
        command += ["--unshare-user", "--uid", "0", "--gid", "0"]
    # Nothing but the port: with a superuser's rights no file would be refused.
    return [*command, "--cap-drop", "ALL", "--cap-add", "CAP_NET_BIND_SERVICE"]


def main():
    if sys.argv[1:2] != ["--"]:
        sys.exit(__doc__)
    with tempfile.TemporaryDirectory(prefix="vorlin-hub-") as name:
        folder = pathlib.Path(name)
        (folder / "small").mkdir()
        if not DISPLAYS.exists():
            DISPLAYS.mkdir()
            DISPLAYS.chmod(0o1777)
        (folder / "hosts").write_text(HOSTS)
        (folder / "resolv.conf").write_text(NAMES)
        make_authority(folder, "authority")
        make_authority(folder, "nobody")
        make_certificate(folder, "authority", "hub", HUB)
        make_certificate(folder, "authority", "cdn", CDN)
        make_certificate(folder, "nobody", "stranger", HUB)
        status = subprocess.run([*bubble(folder), "--", *sys.argv[2:]], check=False).returncode
    sys.exit(status)


if __name__ == "__main__":
    main()
