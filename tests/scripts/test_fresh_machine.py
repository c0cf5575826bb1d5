"""What scripts/fresh-machine refuses before it makes anything."""

import pathlib
import shutil
import subprocess

import pytest

SCRIPTS = pathlib.Path(__file__).resolve().parent.parent.parent / "scripts"


@pytest.fixture(name="checkout")
def a_checkout(tmp_path):
    """A committed checkout that has the script."""
    (tmp_path / "scripts").mkdir()
    for name in ("fresh-machine", "debian-sources"):
        shutil.copy(SCRIPTS / name, tmp_path / "scripts" / name)
    git(tmp_path, "init", "--quiet")
    commit(tmp_path)
    return tmp_path


def git(folder, *arguments):
    subprocess.run(["git", "-c", "user.name=A", "-c", "user.email=a@b", "-C", folder, *arguments],
                   check=True, stdout=subprocess.DEVNULL)


def commit(folder):
    git(folder, "add", "--all")
    git(folder, "commit", "--quiet", "--message", "Begin")


def fresh_machine(checkout, *arguments):
    """Runs the script as somebody who is not root, so far as it can tell."""
    cache = checkout.with_name(checkout.name + "-cache")
    programs = checkout.with_name(checkout.name + "-programs")
    programs.mkdir()
    (programs / "id").write_text("#!/bin/sh\necho 1000\n")
    (programs / "id").chmod(0o755)
    done = subprocess.run([checkout / "scripts" / "fresh-machine", *arguments], cwd="/",
                          env={"PATH": f"{programs}:/usr/bin:/bin", "XDG_CACHE_HOME": str(cache)},
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    assert not cache.exists(), "it has begun to make something"
    return done


def assert_refused(done, *words):
    """One line that says why, and a status that is no success."""
    assert done.returncode != 0
    assert done.stdout == ""
    assert len(done.stderr.splitlines()) == 1, done.stderr
    for word in words:
        assert word in done.stderr


@pytest.mark.parametrize("arguments, words", [
    ([], ["usage"]),
    (["--suite"], ["usage"]),
    (["--suite", "trixie"], ["usage"]),
    (["--suite", "sid", "true"], ["sid", "usage"]),
    (["--suite=", "true"], ["usage"]),
    (["--shell", "true"], ["--shell", "usage"]),
    (["--with"], ["usage"]),
    (["--keep"], ["usage"]),
    (["--keep", "/etc", "true"], ["/etc", "inside the checkout"]),
    (["--with", "a/../../b", "true"], ["a/../../b", "inside the checkout"]),
])
def test_says_in_one_line_how_it_is_used(checkout, arguments, words):
    done = fresh_machine(checkout, *arguments)
    assert_refused(done, "fresh-machine: ", *words)
    assert done.returncode == 2


def test_help_is_no_failure(checkout):
    done = fresh_machine(checkout, "--help")
    assert done.returncode == 0
    assert done.stdout.startswith("usage: fresh-machine")


@pytest.mark.parametrize("change", [
    lambda checkout: (checkout / "scripts" / "debian-sources").write_text("changed"),
    lambda checkout: (checkout / "scripts" / "debian-sources").unlink(),
    lambda checkout: (checkout / "forgotten").write_text("never added"),
], ids=["changed", "removed", "never added"])
@pytest.mark.parametrize("suite", ["bookworm", "trixie"])
def test_refuses_what_a_clone_would_not_have(checkout, change, suite):
    change(checkout)
    assert_refused(fresh_machine(checkout, "--suite", suite, "true"), "uncommitted")


def test_what_is_to_be_taken_along_is_there(checkout):
    assert_refused(fresh_machine(checkout, "--with", "build/nothing", "true"), "build/nothing")


def test_wants_root(checkout):
    assert_refused(fresh_machine(checkout, "--suite", "trixie", "true"), "needs root")


def test_ignored_files_are_no_changes(checkout):
    (checkout / ".gitignore").write_text("build/\n")
    commit(checkout)
    (checkout / "build").mkdir()
    (checkout / "build" / "result").write_text("built")
    assert_refused(fresh_machine(checkout, "--suite", "trixie", "true"), "needs root")


def test_wants_a_checkout(checkout):
    shutil.rmtree(checkout / ".git")
    assert_refused(fresh_machine(checkout, "--suite", "trixie", "true"), "no git checkout")
