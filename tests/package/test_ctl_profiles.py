"""Tests what vellumctl does in the profiles of other users. Each test has its own machine of the stand-in."""
import json
import os
import pathlib
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
USERS = ["ann", "bob", "eve"]
BELOW_PROFILE = "AppData/Local/Quorvane/Ombrel/Notes"
MACHINE = "".join(f"[user {name}]\nprofile = C:\\Users\\{name}\n{'administrator = yes' * (name == 'ann')}\n"
                  for name in USERS) + "[session 1]\nuser = ann\n"


class Machine:
    def __init__(self, folder):
        self.folder = folder
        folder.mkdir()
        (folder / "machine.txt").write_text(MACHINE)
        self.ctl("list")  # makes the profiles

    def ctl(self, *arguments):
        """The exit code of vellumctl, and what it wrote to the two streams."""
        environment = {name: value for name, value in os.environ.items() if not name.startswith("VELLUM_")}
        result = subprocess.run(
            [ROOT / "build/native/vellumctl", *arguments], capture_output=True, text=True, timeout=60,
            env=environment | {"VELLUM_MACHINE": str(self.folder), "VELLUM_TOKEN": "ann@1 high"})
        return result.returncode, result.stdout, result.stderr

    def profile(self, name):
        return self.folder / "drive_c/Users" / name

    def notes(self, name):
        return self.profile(name) / BELOW_PROFILE

    def texts(self, file):
        """The content of this note in each profile that has it."""
        found = {name: self.notes(name) / file for name in USERS + ["Default"]}
        return {name: json.loads(path.read_text())["content"] for name, path in found.items() if path.exists()}


@pytest.fixture
def machine(tmp_path):
    return Machine(tmp_path / "machine")


def test_posts_to_everybody_lists_and_removes(machine):
    assert machine.ctl("post", "--all-users", "--id", "n", "--text", "hello") == (0, "n\n", "")
    assert machine.texts("n.json") == {name: "hello" for name in USERS}
    (machine.notes("bob") / "n.json").unlink()  # he has closed his copy
    assert machine.ctl("post", "--new-users", "--id", "n", "--text", "welcome")[0] == 0
    assert machine.texts("n.json") == {"ann": "hello", "eve": "hello", "Default": "welcome"}
    code, output, _ = machine.ctl("list", "--all-users")
    assert (code, [line.split("\t")[:2] for line in output.splitlines()]) == (0, [["ann", "n"], ["eve", "n"]])
    assert [item["user"] for item in json.loads(machine.ctl("list", "--all-users", "--json")[1])] == ["ann", "eve"]
    assert machine.ctl("remove", "--all-users", "--new-users", "n") == (0, "", "")
    assert machine.texts("n.json") == {}
    assert machine.ctl("remove", "--all-users", "n") == (1, "", "vellumctl: no note n\n")


def test_posts_to_one_user_and_instance(machine):
    assert machine.ctl("post", "--user", "MACHINE\\Bob", "-i", "a/b", "--id", "n", "--text", "x")[0] == 0
    assert machine.texts("a_b/n.json") == {"bob": "x"}
    assert "x\n" in machine.ctl("show", "n", "--user", "bob", "-i", "a/b")[1]
    assert machine.ctl("post", "--user", "nobody", "--text", "x")[::2] == (
        1, "vellumctl: no user 'nobody' has a profile on this computer\n")


@pytest.mark.parametrize("link", ["AppData", "AppData/Local/Quorvane", BELOW_PROFILE])
def test_refuses_links_and_names_them(machine, tmp_path, link):
    target = tmp_path / "target"
    (target / BELOW_PROFILE.removeprefix(link).strip("/")).mkdir(parents=True)
    place = machine.profile("bob") / link
    if place.exists():
        place.rename(place.with_name("old"))
    place.parent.mkdir(parents=True, exist_ok=True)
    place.symlink_to(target)
    code, _, errors = machine.ctl("post", "--all-users", "--id", "n", "--text", "x")
    name = "C:\\Users\\bob\\" + link.replace("/", "\\")
    assert (code, errors) == (
        3, f"vellumctl: bob: {name} is a link, which is not followed in another user's profile\n")
    assert machine.texts("n.json") == {"ann": "x", "eve": "x"}, "the others have it"
    assert not list(target.rglob("*.*"))


def test_writes_beside_planted_links(machine, tmp_path):
    machine.notes("bob").mkdir(parents=True)
    secret = tmp_path / "secret"
    secret.write_text("secret")
    for name in ["n.json", "n.vellumctl"]:
        (machine.notes("bob") / name).symlink_to(secret)
    code, _, errors = machine.ctl("post", "--user", "bob", "--id", "n", "--text", "x")
    assert (code, secret.read_text()) == (3, "secret") and "n.json: access denied" in errors
    (machine.notes("bob") / "n.json").unlink()
    assert machine.ctl("post", "--user", "bob", "--id", "n", "--text", "x")[0] == 0
    assert (machine.texts("n.json"), secret.read_text()) == ({"bob": "x"}, "secret")
    assert [file.name for file in machine.notes("bob").iterdir()] == ["n.json"]
