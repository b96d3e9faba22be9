"""Tests tools/desktop with a display process. Each test has its own machine."""
import json
import os
import pathlib
import subprocess
import time
import xml.etree.ElementTree as tree

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
NOTES = {
    "first": {"title": "Backup", "content": "Done.", "editable": True,
              "position": {"x": 100, "y": 100, "width": 300, "height": 200}},
    "second": {"title": "Reboot", "position": {"x": 500, "y": 100, "width": 300, "height": 200}},
}


class Machine:
    def __init__(self, folder):
        self.folder, self.notes, self.displays = folder / "machine", folder / "notes", []
        for place in [self.notes, self.notes / "other"]:
            place.mkdir()
            for name, note in NOTES.items():
                (place / f"{name}.json").write_text(json.dumps({"id": name, **note}))

    def start(self, *arguments):
        environment = {name: value for name, value in os.environ.items() if not name.startswith("VELLUM_")}
        folder = "Z:" + str(self.notes).replace("/", "\\")
        display = subprocess.Popen(
            [ROOT / "build/native/Vellumd", "--no-autostart", "--folder", folder, *arguments],
            env=environment | {"VELLUM_MACHINE": str(self.folder)}, stderr=subprocess.DEVNULL)
        self.displays.append(display)
        wait_until(lambda: self.list_of(display).count("Vellumd.NoteWindow") == len(NOTES))
        return display

    def run(self, *arguments):
        return subprocess.run([ROOT / "tools/desktop", "--machine", self.folder, *arguments], capture_output=True,
                              text=True, timeout=60)

    def list_of(self, display):
        return self.run("--process", str(display.pid), "list").stdout

    def output(self, *arguments):
        result = self.run(*arguments)
        assert (result.returncode, result.stderr) == (0, "")
        return result.stdout

    def failure(self, *arguments):
        """Runs a command that must fail. Returns its exit code and error line."""
        result = self.run(*arguments)
        assert result.stdout == "" and result.stderr.count("\n") == 1
        return result.returncode, result.stderr.removeprefix("desktop: ").rstrip("\n")


def wait_until(condition):
    end = time.monotonic() + 30
    while not condition():
        assert time.monotonic() < end
        time.sleep(.01)


@pytest.fixture
def machine(tmp_path):
    machine = Machine(tmp_path)
    yield machine
    for display in machine.displays:
        display.kill()
        display.wait()


def saved(machine):
    return json.loads((machine.notes / "first.json").read_text())


def test_shows_the_desktop(machine, tmp_path):
    display = machine.start()
    assert machine.output("processes") == f"{display.pid} session 1\n"
    windows = machine.output("list")
    assert "100,100 300x200" in windows and 'EDIT "Reboot"' in windows
    assert machine.output("text", "Backup") == "Backup\nDone.\n"
    machine.output("picture", tmp_path / "desktop.svg")
    picture = tree.parse(tmp_path / "desktop.svg").getroot()
    assert picture.tag == "{http://www.w3.org/2000/svg}svg"
    assert {"Backup", "Reboot"} <= {text.strip() for text in picture.itertext()}
    assert "windows 2\n" in machine.output("counts")


def test_acts_as_the_user_does(machine):
    display = machine.start()
    machine.output("click", "230", "200")
    machine.output("type", "Again.\nAnd again. ")
    assert machine.output("text", "Backup") == "Backup\nAgain.\nAnd again. Done.\n"
    wait_until(lambda: saved(machine)["content"] == "Again.\nAnd again. Done.")
    number = next(line.split()[0] for line in machine.output("list").splitlines() if "500,100" in line)
    machine.output("drag", "--in", number, "60", "10", "-40", "110")
    assert f"{number} 400,200 300x200" in machine.output("list")
    machine.output("close", "Reboot")
    wait_until(lambda: not (machine.notes / "second.json").exists())
    machine.output("close", "Vellumd.MsgWindow")
    assert display.wait(timeout=30) == 0


def test_breaks_calls_and_mends_them(machine):
    machine.start()
    machine.output("fault", "CreateFileW:every=fail(5)")
    machine.output("click", "--in", "Backup", "130", "100")
    machine.output("type", "--in", "Backup", "lost ")
    log = lambda: "".join(path.read_text() for path in machine.folder.glob("drive_c/ProgramData/*/Logs/*.log"))
    wait_until(lambda: "saveNote failed: id=first" in log())
    assert saved(machine)["content"] == "Done."
    machine.output("mend")
    machine.output("type", "found ")
    wait_until(lambda: saved(machine)["content"] == "lost found Done.")


def test_says_in_one_line_what_is_wrong(machine):
    nobody = f"no such process with windows on {machine.folder}"
    assert machine.failure("list") == (1, f"no such machine: {machine.folder}")
    first = machine.start()
    assert machine.failure("--session", "2", "list") == (1, nobody)
    assert machine.failure("--process", "1", "list") == (1, nobody)
    rows = [
        (1, "no such window: Nobody", ["close", "Nobody"]),
        (1, "not a note: Vellumd.MsgWindow", ["text", "Vellumd.MsgWindow"]),
        (1, "another window has the keyboard", ["type", "--in", "Reboot", "x"]),
        (1, "covered", ["click", "--in", "Reboot", "-300", "50"]),
        (1, "malformed", ["fault", "WriteFile"]),
        (1, "cannot write /: Is a directory", ["picture", "/"]),
        (2, "argument X: invalid int value: 'left'", ["click", "left", "5"]),
        (2, "the following arguments are required: Y", ["click", "5"]),
        (2, "argument TEXT: is empty, or begins with a blank", ["type", " x"]),
    ]
    for code, line, arguments in rows:
        assert machine.failure(*arguments) == (code, line)
    code, line = machine.failure("press", "5")
    assert code == 2 and line.startswith("argument COMMAND: invalid choice: 'press'")

    second = machine.start("-i", "other")
    numbers = sorted([first.pid, second.pid])
    listed = ", ".join(f"{number} (session 1)" for number in numbers)
    assert machine.failure("list") == (1, f"several processes have windows, choose one with --process: {listed}")
    assert machine.output("--process", str(second.pid), "text", "Reboot") == "Reboot\n\n"
