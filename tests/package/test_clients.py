"""samples/clients as processes beside a running display. PowerShell: only its syntax, where npm has put the grammar:
npm install --prefix build/npm web-tree-sitter tree-sitter-powershell"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/native"
CLIENTS = ROOT / "samples/clients"


class Machine:
    def __init__(self, folder):
        self.folder, self.notes = folder / "machine", folder / "notes"
        self.title, self.processes = "Backup", []
        kept = {name: value for name, value in os.environ.items() if not name.startswith("VELLUM_")}
        self.environment = kept | {"VELLUM_MACHINE": str(self.folder), "PATH": f"{BUILD}:{os.environ['PATH']}"}

    def windows_name(self):
        return "Z:" + str(self.notes).replace("/", "\\")

    def start_display(self):
        self.start(BUILD / "Vellumd", "--no-autostart", "--log-level", "debug", "--folder", self.windows_name())
        assert eventually(lambda: "Vellumd.MsgWindow" in self.desktop("list"))
        assert eventually(lambda: "Worker started on" in self.log())

    def start(self, *arguments):
        self.processes.append(subprocess.Popen(arguments, env=self.environment, stdout=subprocess.PIPE,
                                               stderr=subprocess.DEVNULL, text=True))
        return self.processes[-1]

    def run(self, *arguments):
        result = subprocess.run(arguments, env=self.environment, capture_output=True, text=True, timeout=60)
        assert result.stderr == "", result.stderr
        return result.returncode, result.stdout

    def desktop(self, *arguments):
        return subprocess.run([ROOT / "tools/desktop", "--machine", self.folder, *arguments], capture_output=True,
                              text=True, timeout=60).stdout

    def log(self):
        return "".join(path.read_text() for path in self.folder.glob("drive_c/ProgramData/*/Logs/*.log"))

    def type(self, text):
        self.desktop("click", "--in", self.title, "150", "100")
        self.desktop("type", "--in", self.title, text)

    def file(self, identifier):
        return self.notes / f"{identifier}.json"

    def note(self, identifier):
        return json.loads(self.file(identifier).read_text(encoding="utf-8"))


def eventually(condition, seconds=30):
    end = time.monotonic() + seconds
    while not condition() and time.monotonic() < end:
        time.sleep(.02)
    return condition()


@pytest.fixture
def machine(tmp_path):
    made = Machine(tmp_path)
    yield made
    for process in made.processes:
        process.kill()
        process.wait()


@pytest.fixture(scope="session")
def notes_exe(tmp_path_factory):
    program = tmp_path_factory.mktemp("mono") / "Notes.exe"
    subprocess.run(["mcs", "-langversion:5", "-warnaserror", "-r:System.Runtime.Serialization", f"-out:{program}",
                    CLIENTS / "Notes.cs"], check=True)
    return program


class PythonClient:
    def __init__(self, machine):
        self.command = [sys.executable, "-B", CLIENTS / "vellum_notes.py", "--folder", machine.notes]

    def post(self, identifier, text):
        return [*self.command, "post", "--id", identifier, "--title", "Backup", "--content", text, "--editable"]

    def update(self, identifier, text):
        return [*self.command, "post", "--id", identifier, "--content", text]

    def other(self, name, *identifier):
        return [*self.command, name, *identifier]


class CSharpClient(PythonClient):
    def __init__(self, machine, program):
        self.command = ["mono", program, machine.notes]

    def post(self, identifier, text):
        return [*self.command, "post", identifier, "Backup", text]

    def update(self, identifier, text):
        return [*self.command, "update", identifier, text]


@pytest.fixture(params=["Python", "C#"])
def client(request, machine):
    if request.param == "Python":
        return PythonClient(machine)
    return CSharpClient(machine, request.getfixturevalue("notes_exe"))


def test_writes_whole_files_into_a_folder_that_it_makes(machine, client):
    assert machine.run(*client.post("n", 'Größe "1"\n\U0001f4cc'))[0] == 0
    assert machine.run(*client.update("n", "second"))[0] == 0
    note = machine.note("n")
    assert (note["title"], note["content"], note["editable"]) == ("Backup", "second", True)
    assert [path.name for path in machine.notes.iterdir()] == ["n.json"]
    content = machine.file("n").read_bytes()
    assert content.startswith(b"{") and content.endswith(b"\n")
    good = machine.run(BUILD / "vellumctl", "validate", machine.windows_name() + "\\n.json")
    assert good[0] == 0, good
    assert machine.run(*client.other("get", "none"))[0] in (1, 4)
    machine.file("bad").write_text("{")
    assert "Backup" in machine.run(*client.other("list"))[1]


def test_change_keeps_the_place_and_all_other_values(machine, client):
    machine.notes.mkdir()
    shutil.copy(ROOT / "samples/format/good/whole.json", machine.file("whole"))
    before = machine.note("whole")
    assert machine.run(*client.update("whole", "new\n\U0001f4cc"))[0] == 0
    after = machine.note("whole")
    assert after.pop("modified") > before.pop("modified")
    assert before.pop("contentRtf") and before | {"content": "new\n\U0001f4cc"} == after


def test_change_and_removal_right_after_the_user_typed_are_seen(machine, client):
    machine.start_display()
    assert machine.run(*client.post("n", "Running."))[0] == 0
    assert eventually(lambda: machine.desktop("text", "Backup") == "Backup\nRunning.\n")
    machine.desktop("drag", "--in", "Backup", "9", "14", "-91", "214")
    machine.type("typed ")
    assert eventually(lambda: "contentRtf" in machine.note("n"))
    assert "typed Running." in machine.run(*client.other("get", "n"))[1]
    place = machine.note("n")["position"]
    assert place["y"] > 200
    assert machine.run(*client.update("n", "Done."))[0] == 0
    assert eventually(lambda: machine.desktop("text", "Backup") == "Backup\nDone.\n")
    assert machine.note("n")["position"] == place
    machine.type("again ")
    assert eventually(lambda: machine.note("n")["content"] == "again Done.")
    assert machine.run(*client.other("remove", "n"))[0] == 0
    assert eventually(lambda: "NoteWindow" not in machine.desktop("list"))
    assert not machine.file("n").exists()


def test_learns_what_the_user_did(machine, client):
    machine.start_display()
    assert machine.run(*client.post("n", "Running."))[0] == 0
    assert eventually(lambda: machine.desktop("text", "Backup"))
    waiting = machine.start(*client.other("wait", "n"))
    for _ in range(20):  # it does not see an edit before its first look
        machine.type("x")
        if eventually(lambda: waiting.poll() is not None, seconds=1.5):
            break
    output = waiting.communicate(timeout=1)[0]
    assert waiting.returncode == 0 and output.startswith("x") and output.endswith("xRunning.\n")
    waiting = machine.start(*client.other("wait", "n"))
    machine.desktop("close", "Backup")
    assert (waiting.communicate(timeout=30)[0], waiting.returncode) == ("", 4)


@pytest.mark.parametrize("answer, printed", [
    (lambda machine: machine.type("19:00? "), "the user wrote: 19:00? Reboot at 18:00."),
    (lambda machine: machine.desktop("close", "Reboot"), "the user agrees\n"),
    (None, "no answer\n")], ids=["edits", "closes", "does nothing"])
def test_script_asks_the_user(machine, answer, printed):
    machine.title = "Reboot"
    machine.environment["TIMEOUT"] = "60" if answer else "1"
    machine.start_display()
    script = machine.start("sh", CLIENTS / "post.sh", "--folder", machine.windows_name())
    assert eventually(lambda: "close this note" in machine.desktop("text", "Reboot").lower())
    if answer:
        answer(machine)
    assert script.communicate(timeout=60)[0].startswith(printed)
    assert script.returncode == 0 and not list(machine.notes.glob("*.json"))
    assert eventually(lambda: "NoteWindow" not in machine.desktop("list"))


def snippet(language):
    page = (ROOT / "docs/note-format.md").read_text(encoding="utf-8")
    found, = re.findall(rf"```{language}\n(.*?)```", page, re.DOTALL)
    return found


def test_snippet_of_vellumctl(machine):
    *post, remove = snippet("bat").splitlines()
    folder = machine.folder / "drive_c/Users/operator/AppData/Local/Quorvane/Ombrel/Notes"
    assert machine.run("sh", "-euc", "\n".join(post)) == (0, "backup\nbackup\n")
    note = json.loads((folder / "backup.json").read_text(encoding="utf-8"))
    assert (note["title"], note["content"], note["editable"]) == ("Backup", "Done.", True)
    assert machine.run("sh", "-euc", remove) == (0, "") and not list(folder.iterdir())


def test_snippet_of_csharp(machine, tmp_path):
    source, program = tmp_path / "Snippet.cs", tmp_path / "Snippet.exe"
    source.write_text("using System; class Snippet { static void Main() { " + snippet("csharp") + " } }")
    subprocess.run(["mcs", "-langversion:5", "-main:Snippet", "-r:System.Runtime.Serialization", f"-out:{program}",
                    CLIENTS / "Notes.cs", source], check=True)
    machine.environment["XDG_DATA_HOME"] = str(tmp_path)
    assert machine.run("mono", program) == (0, "")
    written, = (tmp_path / "Quorvane/Ombrel/Notes").iterdir()
    note = json.loads(written.read_text(encoding="utf-8"))
    assert (note["id"], note["title"], note["content"]) == (written.stem, "Backup", "Done.")


def test_good_samples_give_no_warnings(machine):
    shutil.copytree(ROOT / "samples/format/good", machine.notes)
    machine.start_display()
    count = len(list(machine.notes.glob("*.json")))
    assert eventually(lambda: machine.desktop("list").count("Vellumd.NoteWindow") == count)
    assert "[WARN" not in machine.log() and "[ERROR" not in machine.log()


def test_powershell_module_has_no_syntax_errors(tmp_path):
    modules = ROOT / "build/npm/node_modules"
    if not shutil.which("node") or not (modules / "tree-sitter-powershell").is_dir():
        pytest.skip("needs node and: npm install --prefix build/npm web-tree-sitter tree-sitter-powershell")
    (tmp_path / "node_modules").symlink_to(modules)
    (tmp_path / "check.mjs").write_text("""
        import { Parser, Language } from 'web-tree-sitter';
        import { readFileSync } from 'fs';
        await Parser.init();
        const parser = new Parser();
        parser.setLanguage(await Language.load('node_modules/tree-sitter-powershell/tree-sitter-powershell.wasm'));
        const lineOf = node => {
            const faulty = node.children.find(child => child.hasError);
            return faulty ? lineOf(faulty) : node.startPosition.row + 1;
        };
        for (const text of JSON.parse(readFileSync(0))) {
            const root = parser.parse(text).rootNode;
            console.log(root.hasError ? `error in line ${lineOf(root)}` : 'good');
        }""")
    module = (CLIENTS / "VellumNotes.psm1").read_text(encoding="utf-8")
    texts = [module, snippet("powershell"), module.replace("param(", "param", 1)]
    result = subprocess.run(["node", "check.mjs"], input=json.dumps(texts), cwd=tmp_path, capture_output=True,
                            text=True, timeout=60, check=True)
    *good, damaged = result.stdout.splitlines()
    assert good == ["good", "good"] and damaged.startswith("error"), result.stdout
