"""samples/queue-writer as a process, with the displays that show its queues. It shares no code with them."""
import json
import os
import pathlib
import shutil
import signal
import subprocess
import time

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/native"
QUEUE = "applet-00000001-0000000700001A10-01DC2F6A5B3C4D10"
MACHINE = """[user ann]
profile = C:\\Users\\ann
[session 1]
user = ann
logon = 0x700001A10
logon time = 0x1DC2F6A5B3C4D10
"""
PLACE = r"C:\Users\ann\AppData\Local\OmbrelAppletNotes"
USER_ALONE = {False: 0o1600, True: 0o1700}  # with a protected list


class Machine:
    def __init__(self, folder):
        self.folder, self.files = folder / "machine", folder / "files"
        self.store = self.folder / "drive_c/Users/ann/AppData/Local/OmbrelAppletNotes"
        self.queue = self.store / QUEUE
        self.folder.mkdir()
        self.files.mkdir()
        self.small = self.file("small", b"instead of a program")
        self.describe(MACHINE)

    def describe(self, text):
        (self.folder / "machine.txt").write_text(text)

    def file(self, name, content):
        (self.files / name).write_bytes(content)
        return self.files / name

    def note(self, identifier):
        return self.file(f"{identifier}.json", json.dumps({"id": identifier, "title": identifier.title()}).encode())

    def start(self, *arguments, token="ann@1", faults=""):
        """The process, and the file with its output: a display that it starts would keep a pipe open."""
        environment = {name: value for name, value in os.environ.items() if not name.startswith("VELLUM_")}
        environment |= {"VELLUM_MACHINE": str(self.folder), "VELLUM_TOKEN": token}
        environment |= {"VELLUM_FAULTS": faults} if faults else {}
        output = self.files / f"output {time.monotonic_ns()}"
        with output.open("w") as file:
            return subprocess.Popen([BUILD / "vellum-queue-writer", *arguments], env=environment,
                                    stdin=subprocess.PIPE, stdout=file, stderr=subprocess.STDOUT), output

    def write(self, *arguments, **how):
        """The exit code, and the lines that the writer itself printed."""
        process, output = self.start(*arguments, **how)
        code, lines = process.wait(60), output.read_text(encoding="utf-8").splitlines()
        return code, [line for line in lines if not line.startswith("20")]  # those of a display begin with the year

    def notes(self):
        return {path.name: path.read_bytes() for path in self.queue.glob("*.json")}

    def value(self):
        values = list(self.folder.glob("registry/HKEY_USERS/ann/Software/Microsoft/Windows/CurrentVersion/Run/*"))
        return {path.name: path.read_text() for path in values}

    def desktop(self, *arguments):
        return subprocess.run([ROOT / "tools/desktop", "--machine", self.folder, *arguments], capture_output=True,
                              text=True, timeout=60).stdout

    def processes(self):
        for place in pathlib.Path("/proc").glob("[0-9]*/environ"):
            try:
                if f"VELLUM_MACHINE={self.folder}".encode() in place.read_bytes().split(b"\0"):
                    yield int(place.parent.name)
            except OSError:
                continue

    def stop(self):
        while processes := list(self.processes()):
            for process in processes:
                os.kill(process, signal.SIGKILL)
            time.sleep(.01)


@pytest.fixture
def machine(tmp_path):
    made = Machine(tmp_path)
    yield made
    made.stop()


def eventually(condition):
    end = time.monotonic() + 30
    while not condition() and time.monotonic() < end:
        time.sleep(.01)
    return condition()


def is_private(path):
    mode = path.stat().st_mode & 0o7777
    # Linux runs a file only with the bit for it.
    return mode & ~(0o100 if path.name == "Vellumd.exe" else 0) == USER_ALONE[path.is_dir()]


def test_queue_is_shown_and_recovered_until_it_is_empty(machine):
    first, second = machine.note("note_first"), machine.note("note_second")
    assert machine.write(BUILD / "Vellumd", first) == (0, [QUEUE])
    assert eventually(lambda: '"Note_First"' in machine.desktop("list"))
    assert machine.notes() == {"note_first.json": first.read_bytes()}
    staged, = machine.store.glob("runtime/*/*")
    digits = staged.parent.name
    assert staged.read_bytes() == (BUILD / "Vellumd").read_bytes() and len(digits) == 64 and int(digits, 16)
    value = {"OmbrelAppletNotes.REG_SZ": f'"{PLACE}\\runtime\\{digits}\\Vellumd.exe" --applet-recover'}
    assert machine.value() == value
    assert [path for path in [machine.store, *machine.store.rglob("*")] if not is_private(path)] == []

    # The display that runs shows the next note as well.
    assert machine.write(BUILD / "Vellumd", second) == (0, [QUEUE])
    assert eventually(lambda: '"Note_Second"' in machine.desktop("list"))
    assert machine.desktop("processes").count("session") == 1
    (machine.queue / "note_first.json").unlink()
    (machine.store / "runtime/left.tmp").touch()
    assert eventually(lambda: '"Note_First"' not in machine.desktop("list")) and machine.value() == value
    (machine.queue / "note_second.json").unlink()
    assert eventually(lambda: not machine.value()), "a file in runtime keeps nothing"


def test_killed_writer_leaves_whole_notes_and_a_value_for_them(machine):
    note = machine.note("note_a")
    for calls in range(1, 150):
        shutil.rmtree(machine.store, ignore_errors=True)
        shutil.rmtree(machine.folder / "registry", ignore_errors=True)
        code, _ = machine.write("--no-display", machine.small, note, faults=f"*:{calls}=kill")
        assert code in (0, -signal.SIGKILL)
        assert machine.notes() in ({}, {"note_a.json": note.read_bytes()})
        assert not machine.notes() or machine.value(), "a note that no logon would recover"
        assert {path.name for path in machine.queue.glob("*")} <= {".writer.lock", "note_a.json"}
        if code == 0:
            break
    assert 30 < calls < 149


def test_writer_tries_again_while_another_one_has_the_lock(machine):
    holder, output = machine.start("--no-display", "--hold", machine.small)
    assert eventually(lambda: output.read_text() == "held\n")
    arguments, begun = ("--no-display", machine.small, machine.note("note_a")), time.monotonic()
    assert machine.write(*arguments) == (3, ["vellum-queue-writer: the queue is in use: Windows error 32"])
    assert machine.notes() == {} and time.monotonic() - begun > 1
    late, _ = machine.start(*arguments)
    assert late.poll() is None
    holder.communicate()
    assert (holder.returncode, late.wait(60)) == (0, 0) and machine.notes()


def test_limits_of_a_queue(machine):
    many = [machine.note(f"note_{number}") for number in range(128)]
    assert machine.write("--no-display", machine.small, *many)[0] == 0
    assert machine.write("--no-display", machine.small, machine.file("note_0.json", b"{} "))[0] == 0, "replaced"
    full = 2, ["vellum-queue-writer: the queue would have more than 128 notes or 32 MiB"]
    assert machine.write("--no-display", machine.small, machine.note("note_128")) == full
    assert len(machine.notes()) == 128 and machine.notes()["note_0.json"] == b"{} "


def test_what_cannot_work_is_refused_with_a_reason(machine):
    large = machine.file("note_large.json", b" " * 0x200001)
    usage, small = "usage: vellum-queue-writer", machine.small
    rows = [
        ([], 1, usage),
        (["--unknown", small], 1, usage),
        ([small, "--queue"], 2, "--queue: a private note cannot have this name"),
        (["--queue", "runtime", small], 1, usage),
        (["--no-display", "--queue", "applet-none", small], 2, r"applet-none\.writer.lock: Windows error 3"),
        (["--no-display", "none"], 2, "none: Windows error 2"),
        ([small, machine.file("Note_a.json", b"{}")], 2, "Note_a.json: a private note cannot have this name"),
        ([small, machine.file("note_a..json", b"{}")], 2, "note_a..json: a private note cannot have this name"),
        ([small, machine.file("note_\u00e9.json", b"{}")], 2, "note_\u00e9.json: a private note cannot have this name"),
        ([small, machine.file("note_empty.json", b"")], 2, "note_empty.json: empty, or not read to its end"),
        ([small, large], 2, "note_large.json: larger than 2 MiB"),
        (["--no-display", machine.files], 2, "Windows error 5"),
        ([small], 2, "this process is in no logon of a user", "SYSTEM@0"),
    ]
    for arguments, code, reason, *token in rows:
        ended, lines = machine.write(*arguments, token=token[0] if token else "ann@1")
        assert ended == code and reason in lines[0], f"{arguments}: {ended}, {lines}"
        assert machine.notes() == {} and not machine.value(), arguments


@pytest.mark.parametrize("token, more", [("ann@1 high", "elevated = yes"), ("ann@1", "shell = no")])
def test_queue_that_no_display_can_show(machine, token, more):
    machine.describe(MACHINE.replace("[session", "administrator = yes\n[session" if "high" in token else "[session") + more)
    code, lines = machine.write(BUILD / "Vellumd", machine.note("note_a"), token=token)
    assert code == 2 and "the queue is written, but its display exits" in lines[-1]
