"""Checks the documents: their snippets run, their links work, and the paths and commands that they name exist.

Each fenced block of sh, bash, console or python runs in a fresh copy of the sources with the native build, with its
own machine, home and notes folder, and without a network. In a console block the lines that start with "$ " run. A
block that cannot run here has the line <!-- not run: REASON --> before it. Blocks of data do not need it."""
import os
import pathlib
import re
import shutil
import signal
import subprocess
import textwrap
import time
from dataclasses import dataclass

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = [ROOT / "README.md", ROOT / "CONTRIBUTING.md", ROOT / "CHANGELOG.md",
         *sorted(ROOT.glob("docs/**/*.md")), *sorted(ROOT.glob("samples/**/*.md"))]
DATA = {"ini", "json", "text"}
SHELL = ["bash", "-eu", "-o", "pipefail", "-c"]
RUNNERS = {"sh": SHELL, "bash": SHELL, "console": SHELL, "python": ["/usr/bin/python3", "-c"]}
FENCE = re.compile(r"(?:^ *<!-- not run: (?P<reason>.*) -->\n)?^(?P<indent> *)```(?P<language>.*)\n"
                   r"(?P<text>(?:.*\n)*?)^(?P=indent)```$", re.M)
LINK = re.compile(r"\]\(([^)\s]+)\)")
SOURCES = ("", "src", "platform", "tests")  # prefixes of a path in the documents


@dataclass
class Block:
    page: str
    line: int
    language: str
    reason: str
    text: str

    def __str__(self):
        return f"{self.page}:{self.line}"

    @property
    def runs(self):
        return self.language in RUNNERS and not self.reason


def blocks_of(page, text):
    for match in FENCE.finditer(text):
        line = text.count("\n", 0, match.start("language")) + 1
        yield Block(page, line, match["language"], (match["reason"] or "").strip(), textwrap.dedent(match["text"]))


def without_blocks(text):
    return FENCE.sub("", text)


def anchors_of(text):
    """The anchors that links may use, one for each heading."""
    headings = re.findall(r"^#+ (.*)$", without_blocks(text), re.M)
    return [re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings]


def dead_links(page, text):
    for link in LINK.findall(without_blocks(text)):
        path, _, anchor = link.partition("#")
        if re.match(r"\w+:", link):
            continue
        target = page.parent / path if path else page
        if path and not target.exists():
            yield f"{link}: no such file"
        elif anchor and anchor not in anchors_of(target.read_text(encoding="utf-8") if path else text):
            yield f"{link}: no such heading"


def commands_of_dev():
    return re.findall(r"^    (\w+)\)", (ROOT / "dev.sh").read_text(), re.M)


def exists(path):
    """Whether a path exists. Accepts patterns ("docs/*.md"), and "core/Gate" for core/Gate.h and core/Gate.cpp."""
    path = path.rstrip("/")
    return any(list((ROOT / place).glob(path)) or list((ROOT / place).glob(path + ".*")) for place in SOURCES)


def looks_like_a_path(name):
    first, slash, _ = name.partition("/")
    return slash and re.fullmatch(r"[\w./*-]+", name) and first != "build" and any(
        (ROOT / place / first).is_dir() for place in SOURCES if first not in ("", ".", ".."))


def dead_names(text):
    """The source paths and dev.sh commands that the page names but that do not exist."""
    for name in re.findall(r"`([^`\n]+)`", without_blocks(text)):
        if name.startswith("./dev.sh "):
            if name.split()[1] not in commands_of_dev() + ["COMMAND"]:
                yield f"{name}: no such command"
        elif looks_like_a_path(name.split()[0]) and not exists(name.split()[0]):
            yield f"{name}: no such path"


def dead_cases(text):
    """The test cases that a block runs but that do not exist. GoogleTest would run none and exit with 0."""
    sources = "".join(path.read_text(encoding="utf-8") for path in sorted((ROOT / "tests").rglob("*.cpp")))
    for suite, case in re.findall(r"--gtest_filter=(\w+)\.(\w+)", text):
        if f"({suite}, {case})" not in sources:
            yield f"{suite}.{case}: no such case"


def faulty_blocks(page, text):
    if "```" in without_blocks(text):
        yield f"{page}: a block has no end"
    for block in blocks_of(page, text):
        if block.language == "":
            yield f"{block}: give the block a language, such as text"
        elif block.language not in DATA and not block.runs and not block.reason:
            yield f"{block}: nothing runs {block.language}, say why: <!-- not run: REASON -->"


# --- running

def copy_sources(folder):
    # The sources may belong to another user than the one who runs the tests.
    command = ["git", "-c", "safe.directory=*", "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    listed = subprocess.run(command, cwd=ROOT, check=True, capture_output=True, text=True).stdout
    for name in filter(None, listed.split("\0")):
        if (ROOT / name).is_file():
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, folder / name)
    (folder / "build").mkdir()
    (folder / "build/native").symlink_to(ROOT / "build/native")


def without_network():
    """The command prefix that removes network access, if the system allows it."""
    words = ["unshare", "--net"] if os.geteuid() == 0 else ["unshare", "--net", "--map-root-user"]
    allowed = shutil.which("unshare") and subprocess.run([*words, "true"], stderr=subprocess.DEVNULL).returncode == 0
    return words if allowed else []


def environment_in(folder):
    kept = {name: value for name, value in os.environ.items() if not name.startswith(("VELLUM_", "XDG_"))}
    notes = folder / "Local/Quorvane/Ombrel/Notes"
    for place in (folder / "home", folder / "tmp", notes):
        place.mkdir(parents=True)
    return kept | {"HOME": str(folder / "home"), "TMPDIR": str(folder / "tmp"), "folder": str(notes),
                   "LOCALAPPDATA": str(folder / "Local"), "VELLUM_MACHINE": str(folder / "machine")}


def kill_processes(folder):
    """Kills the processes of machines in this folder. Returns whether there were any."""
    found = False
    for place in pathlib.Path("/proc").glob("[0-9]*/environ"):
        try:
            if f"VELLUM_MACHINE={folder}/".encode() in place.read_bytes():
                os.kill(int(place.parent.name), signal.SIGKILL)
                found = True
        except OSError:
            continue  # it has ended, or belongs to another user
    return found


def end_processes(folder):
    """Ends the processes that a block left running. A process that is just starting has no environment for a moment."""
    quiet = 0
    while quiet < 3:
        quiet = 0 if kill_processes(folder) else quiet + 1
        time.sleep(.01)


def run(block, folder):
    """Runs a block. Returns its exit code and output."""
    copy_sources(folder / "sources")
    text = block.text
    if block.language == "console":
        text = "\n".join(line[2:] for line in text.splitlines() if line.startswith("$ "))
    with open(folder / "output", "w+", encoding="utf-8") as output:
        try:
            code = subprocess.run([*without_network(), *RUNNERS[block.language], text], cwd=folder / "sources",
                                  env=environment_in(folder), stdin=subprocess.DEVNULL, stdout=output,
                                  stderr=subprocess.STDOUT, timeout=100).returncode
        except subprocess.TimeoutExpired:
            code = "none after 100 seconds"
        finally:
            end_processes(folder)
        output.seek(0)
        return code, output.read()


# --- tests

TEXTS = {page.relative_to(ROOT).as_posix(): page.read_text(encoding="utf-8") for page in PAGES}
BLOCKS = [block for name, text in TEXTS.items() for block in blocks_of(name, text)]


@pytest.mark.parametrize("block", [block for block in BLOCKS if block.runs], ids=str)
def test_snippet_runs(block, tmp_path):
    code, output = run(block, tmp_path)
    assert code == 0, f"{block} ended with {code}:\n{output}"


def findings_in(name, text):
    return [*dead_links(ROOT / name, text), *dead_names(text), *dead_cases(text), *faulty_blocks(name, text)]


@pytest.mark.parametrize("name", TEXTS)
def test_page_names_what_exists_and_says_why_blocks_do_not_run(name):
    assert findings_in(name, TEXTS[name]) == []


def test_testing_page_describes_every_variable():
    sources = [path for folder in ("platform", "tests", "tools") for path in (ROOT / folder).rglob("*.[chs]*")]
    texts = [path.read_text(encoding="utf-8") for path in sources if path.suffix in (".cpp", ".h", ".sh")]
    read = {name for text in texts for name in re.findall(r'"(VELLUM_[A-Z_]+)[="]|\$\{(VELLUM_[A-Z_]+)', text)}
    read = {first or second for first, second in read}
    described = re.findall(r"^\| `(VELLUM_\w+)` \|", TEXTS["docs/testing.md"], re.M)
    assert sorted(described) == sorted(read)


@pytest.mark.parametrize("text, found", [
    ("[a](docs/none.md)", "docs/none.md: no such file"),
    ("![a](docs/images/none.png)", "docs/images/none.png: no such file"),
    ("[a](#none)", "#none: no such heading"),
    ("[a](docs/platform.md#none)", "docs/platform.md#none: no such heading"),
    ("`src/app/None.cpp`", "src/app/None.cpp: no such path"),
    ("`core/None.h`", "core/None.h: no such path"),
    ("`tools/none --help`", "tools/none --help: no such path"),
    ("`docs/*.none`", "docs/*.none: no such path"),
    ("```text\n--gtest_filter=None.atAll\n```", "None.atAll: no such case"),
    ("`./dev.sh none`", "./dev.sh none: no such command"),
    ("```\nx\n```", "page:1: give the block a language, such as text"),
    ("```powershell\nx\n```", "page:1: nothing runs powershell, say why: <!-- not run: REASON -->"),
    ("<!-- not run: -->\n```cmd\nx\n```", "page:2: nothing runs cmd, say why: <!-- not run: REASON -->"),
    ("<!-- not run: Windows -->\n\n```cmd\nx\n```", "page:3: nothing runs cmd, say why: <!-- not run: REASON -->"),
    ("```sh\nx\n", "page: a block has no end"),
    ("- a\n\n  ```cmd\n  x\n  ```", "page:3: nothing runs cmd, say why: <!-- not run: REASON -->"),
    ("# A heading\n[a](#a-heading) [b](docs/platform.md#layers) [c](https://example.com/none)", None),
    ("`src/app/App.cpp` `core/Gate` `docs/*.md` `platform/` `./dev.sh test` `build/none` `tasks/<name>.txt`", None),
    ("<!-- not run: Windows -->\n```powershell\nx\n```", None),
    ("- a\n  <!-- not run: Windows -->\n  ```cmd\n  x\n  ```", None),
    ("```json\n{}\n```", None),
])
def test_finds_what_is_wrong(text, found):
    assert findings_in("page", text + "\n") == ([found] if found else [])


@pytest.mark.parametrize("language, text, expected", [
    ("sh", "true | false | true\n", (1, "")),
    ("bash", "echo $none\n", (1, "bash: line 1: none: unbound variable\n")),
    ("console", "$ echo seen\nignored\n$ exit 3\n", (3, "seen\n")),
    ("python", "raise SystemExit(4)\n", (4, "")),
])
def test_snippet_that_fails_is_seen(language, text, expected, tmp_path):
    assert run(Block("page", 1, language, "", text), tmp_path) == expected
