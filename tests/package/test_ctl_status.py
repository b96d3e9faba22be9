"""Tests `vellumctl status` and `vellumctl log` on a machine with three sessions."""
import datetime
import json
import os
import pathlib
import signal
import subprocess
import time

import pytest

BUILD = pathlib.Path(__file__).resolve().parents[2] / "build/native"
TASK = "Ombrel Agent Display Notes"
DESCRIPTION = r"""
[environment]
PROGRAMDATA = C:\ProgramData
[user dan]
profile = C:\Users\dan
[user ann]
profile = C:\Users\ann
[user eve]
profile = C:\Users\eve
administrator = yes
[session 1]
user = dan
state = disconnected
[session 2]
user = ann
[session 3]
user = eve
elevated = yes
[session 4]
state = connected
"""
SESSIONS = {1: "dan", 2: "ann", 3: "eve"}


class Machine:
    def __init__(self, folder):
        self.folder = folder
        (folder / "machine.txt").write_text(DESCRIPTION)

    def run(self, program, *arguments, token="eve@3 high", **more):
        others = {name: value for name, value in os.environ.items() if not name.startswith("VELLUM_")}
        mine = {"VELLUM_MACHINE": str(self.folder), "VELLUM_TOKEN": token, "TZ": "UTC", **more}
        return subprocess.run([BUILD / program, *arguments], env=others | mine, capture_output=True, text=True,
                              timeout=60, check=False)

    def register(self, *arguments):
        assert self.run("Vellumd", "--register", *arguments).returncode == 0

    def status(self, **more):
        """The exit code and the JSON."""
        result = self.run("vellumctl", "status", "--json", **more)
        assert result.stderr == ""
        return result.returncode, json.loads(result.stdout)

    def displays(self, **more):
        """Of each session and instance, whether its display runs."""
        return {(session["session"], row["instance"]): row["display"]
                for session in self.status(**more)[1]["sessions"] for row in session["displays"]}

    def log(self, *arguments):
        result = self.run("vellumctl", "log", *arguments)
        assert result.returncode == 0
        return result.stdout.splitlines()

    def processes(self, session):
        desktop = self.folder / "desktops" / str(session)
        return [int(path.name) for path in desktop.iterdir() if pathlib.Path("/proc", path.name, "exe").exists()]

    def write_log(self, name, *lines, instance="", end="\r\n"):
        path = self.folder / f"drive_c/ProgramData/OmbrelService_Common{instance}/Logs" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(("\r\n".join(lines) + end).encode())
        return path

    def end(self):
        """Ends the processes of this machine, also those that are only just starting."""
        for _ in range(3):
            for entry in pathlib.Path("/proc").glob("[0-9]*/environ"):
                try:
                    if f"VELLUM_MACHINE={self.folder}".encode() in entry.read_bytes().split(b"\0"):
                        os.kill(int(entry.parent.name), signal.SIGKILL)
                except OSError:
                    continue
            time.sleep(.02)


def wait_until(condition):
    end = time.monotonic() + 30
    while not condition():
        assert time.monotonic() < end
        time.sleep(.02)


@pytest.fixture
def machine(tmp_path):
    machine = Machine(tmp_path)
    yield machine
    machine.end()


def served(instance):
    return {(session, instance): "runs" for session in SESSIONS}


def has_run(machine, name):
    return any(task["name"] == name and task.get("lastResult") == 0 for task in machine.status()[1]["tasks"])


def test_says_that_nothing_is_set_up(machine):
    result = machine.run("vellumctl", "status")
    assert (result.returncode, result.stderr) == (0, "")
    lines = result.stdout.splitlines()
    assert lines[0] == "task: none is registered" and lines[-1] == "all is well"
    assert "  2 ann (active): no display is known" in lines and "versions: no copy runs" in lines


def test_sees_each_display_and_misses_the_one_that_was_killed(machine):
    machine.register()
    machine.register("-i", "blue")
    wait_until(lambda: machine.displays() == served("") | served("blue"))
    wait_until(lambda: has_run(machine, TASK) and has_run(machine, TASK + " - blue"))
    code, status = machine.status()
    assert (code, status["findings"]) == (0, [])
    now = datetime.datetime.now(datetime.timezone.utc)
    for task in status["tasks"]:
        ran = datetime.datetime.fromisoformat(task["lastRun"].replace("Z", "+00:00"))
        assert abs((now - ran).total_seconds()) < 60
    assert [(session["session"], session["user"], session["state"]) for session in status["sessions"]] == [
        (1, "dan", "disconnected"), (2, "ann", "active"), (3, "eve", "active")]
    assert sorted((copy["session"], copy["version"]) for copy in status["copies"]) == [
        (session, "0.1.0.0") for session in SESSIONS for _ in range(2)]

    for process in machine.processes(2):
        os.kill(process, signal.SIGKILL)
    wait_until(lambda: not machine.processes(2))
    code, status = machine.status()
    assert code == 1
    assert status["findings"] == ["session 2 (ann) has no display", "session 2 (ann) has no display of instance blue"]
    result = machine.run("vellumctl", "status")
    assert result.returncode == 1 and "  2 ann (active), instance blue: NO DISPLAY\n" in result.stdout

    machine.run("vellum-fire-task", TASK)
    wait_until(lambda: machine.displays() == served("") | served("blue") | {(2, "blue"): "missing"})


def test_does_not_call_a_display_without_a_log_missing(machine):
    data = machine.folder / "drive_c/ProgramData"
    data.mkdir(parents=True)
    (data / "OmbrelService_Common").write_text("a file in the way")
    machine.register()
    wait_until(lambda: machine.displays() == {(session, ""): "unknown" for session in SESSIONS})
    wait_until(lambda: has_run(machine, TASK))
    assert machine.status()[0] == 0


def test_shows_the_failure_of_the_last_run(machine):
    machine.register()
    wait_until(lambda: machine.displays() == served("") and has_run(machine, TASK))
    description = DESCRIPTION.replace("user = ann\n", "user = ann\nuser token = ann@1\n")
    (machine.folder / "machine.txt").write_text(description)  # the token is of another session
    machine.run("vellum-fire-task", TASK)
    failed = f'the last run of the task "{TASK}" failed with 13'
    wait_until(lambda: machine.status()[1]["findings"] == [failed])
    code, status = machine.status()
    assert code == 1 and status["logs"]["failures"] == 1
    assert status["logs"]["lastFailure"].endswith("[ERROR] SessionLauncher: Token does not target session 2")


def test_tells_an_ordinary_user_what_he_may_not_read(machine):
    machine.register()
    wait_until(lambda: machine.displays() == served("") and has_run(machine, TASK))
    code, status = machine.status(token="ann@2")
    assert (code, status["tasks"], status["tasksProblem"]) == (0, [], "cannot be read (hr=0x80070005)")
    problems = {copy["session"]: copy.get("problem") for copy in status["copies"]}
    assert problems == {1: "cannot be read (Windows error 5)", 2: None, 3: "cannot be read (Windows error 5)"}


@pytest.mark.parametrize("call, place", [
    ("WTSEnumerateProcessesW", "copiesProblem"), ("WTSEnumerateSessionsW", "sessionsProblem"),
    ("CoInitializeEx", "tasksProblem"), ("CoCreateInstance", "tasksProblem")])
def test_goes_on_where_a_call_fails(machine, call, place):
    code, status = machine.status(VELLUM_FAULTS=f"{call}:1=fail(5)")
    assert code == 0 and status[place].startswith("cannot be read (")
    assert [key for key in status if key.endswith("Problem")] == [place]


def test_counts_refused_notes_and_failures_of_today(machine):
    refused = machine.folder / "drive_c/Users/ann/AppData/Local/Quorvane/Ombrel/Notes/bad.json"
    refused.parent.mkdir(parents=True)
    refused.write_text('{"id": ')
    today = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d")
    again = "Failed to load note after 3 retries: C:\\other.json (invalid note structure)"
    machine.write_log("Vellumd_1_dan_20200101.log",
                      "2020-01-01T10:00:00.000Z [ERROR] App: of another day",
                      f"{today}T00:00:00.000Z [ERROR] App: CreateMutex failed; err=5",
                      f"{today}T00:00:00.001Z [WARN ] App: {again}", f"{today}T00:00:00.002Z [WARN ] App: {again}",
                      f"{today}T00:00:00.003Z [INFO ] App: {again}")
    machine.register()
    wait_until(lambda: machine.displays() == served(""))
    wait_until(lambda: len(machine.status()[1]["logs"]["refused"]) == 2)
    code, status = machine.status()
    assert code == 1 and status["findings"] == ["2 notes were refused today"]
    assert status["logs"]["failures"] == 1
    assert status["logs"]["lastFailure"] == f"{today}T00:00:00.000Z [ERROR] App: CreateMutex failed; err=5"
    assert any(r"Notes\bad.json (" in note for note in status["logs"]["refused"])


def write_logs(machine):
    machine.write_log("Vellumd_2_ann_smith_20260102.log.1",
                      "2026-01-02T08:00:00.000Z [DEBUG] App: first",
                      "2026-01-02T09:00:00.000Z [WARN ] App: two", "lines", "")
    machine.write_log("Vellumd_2_ann_smith_20260102.log",
                      "2026-01-02T09:00:00.000Z [INFO ] App: at the same time, later in the file",
                      "2026-01-03T07:00:00.000Z [ERROR] App: last", "2026-01-03T07:0", end="")
    machine.write_log("Vellumd_1_dan_20260101.log",
                      "2026-01-02T08:30:00.000Z [INFO ] App: between", instance="_blue")
    machine.write_log("other.log", "2026-01-02T08:30:00.000Z [INFO ] App: not of the program")


def test_log_merges_all_files_by_time(machine):
    write_logs(machine)
    assert machine.log() == [
        "2026-01-02T08:00:00.000Z 2:ann_smith [DEBUG] App: first",
        "2026-01-02T08:30:00.000Z 1:dan:blue [INFO ] App: between",
        "2026-01-02T09:00:00.000Z 2:ann_smith [WARN ] App: two", "lines", "",
        "2026-01-02T09:00:00.000Z 2:ann_smith [INFO ] App: at the same time, later in the file",
        "2026-01-03T07:00:00.000Z 2:ann_smith [ERROR] App: last", "2026-01-03T07:0"]


@pytest.mark.parametrize("arguments, words", [
    (["--since", "2026-01-03"], ["last"]),
    (["--since", "2026-01-02T09:00:00Z"], ["two", "later", "last"]),
    (["--since", "2026-01-02T08:00:00.001Z", "--level", "INFO"], ["between", "two", "later", "last"]),
    (["--since", "1d"], []),
    (["--since", "36500d"], ["first", "between", "two", "later", "last"]),
    (["--level", "info"], ["between", "two", "later", "last"]),
    (["--level", "warn"], ["two", "last"]),
    (["--level", "error"], ["last"]),
    (["-i", "BLUE"], ["between"]),
    (["-i", ""], ["first", "two", "later", "last"]),
])
def test_log_shows_what_is_asked_for(machine, arguments, words):
    write_logs(machine)
    heads = [line for line in machine.log(*arguments) if "App:" in line]
    assert len(heads) == len(words) and all(word in line for word, line in zip(words, heads))


def test_log_measures_a_span_from_now(machine):
    now = datetime.datetime.now(datetime.timezone.utc)
    lines = [(now - datetime.timedelta(seconds=age)).strftime("%Y-%m-%dT%H:%M:%S.000Z") + f" [INFO ] App: {age} old"
             for age in (7100, 1700, 80)]
    machine.write_log("Vellumd_1_dan_20260101.log", *lines)
    assert [len(machine.log("--since", span)) for span in ("90s", "20m", "30m", "1h", "2h", "1d")] == [1, 1, 2, 2, 3, 3]


@pytest.mark.parametrize("option, text", [
    ("--since", "2026-02-29"), ("--since", "2026-01-02T25:00:00Z"), ("--since", "2026-1-2"), ("--since", "3w"),
    ("--since", "h"), ("--since", "-1h"), ("--since", "99999999999d"), ("--since", ""), ("--level", "loud")])
def test_log_refuses_a_time_or_a_level_that_is_none(machine, option, text):
    write_logs(machine)
    result = machine.run("vellumctl", "log", f"{option}={text}")
    assert (result.returncode, result.stdout) == (2, "")
    assert result.stderr.startswith(f"vellumctl: {option}") and result.stderr.count("\n") == 1


def test_log_names_the_file_that_it_cannot_read(machine):
    write_logs(machine)
    result = machine.run("vellumctl", "log", VELLUM_FAULTS="CreateFileW:1=fail(5)")
    assert result.returncode == 0 and "last" in result.stdout and "first" not in result.stdout
    assert result.stderr == (r"vellumctl: cannot read C:\ProgramData\OmbrelService_Common\Logs"
                             "\\Vellumd_2_ann_smith_20260102.log.1: access denied (Windows error 5)\n")
    result = machine.run("vellumctl", "log", "-i", "nobody")
    assert (result.returncode, result.stdout, result.stderr) == (1, "", "vellumctl: there are no log files\n")


def test_reads_the_log_of_a_running_display(machine):
    machine.register()
    wait_until(lambda: machine.displays() == served(""))
    text = "\n".join(machine.log("--since", "1h"))
    assert all(f"Z {session}:{user} [INFO ] App: Vellumd starting; pid=" in text for session, user in SESSIONS.items())
