"""Checks the documented note format: the schema, `vellumctl validate`, the samples and the page agree."""
import json
import os
import pathlib
import random
import re
import subprocess

import jsonschema
import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/native"
SCHEMA = json.loads((ROOT / "docs/note.schema.json").read_text(encoding="utf-8"))
SCHEMA_CHECK = jsonschema.Draft202012Validator(SCHEMA)
SAMPLES = ROOT / "samples/format"
PAGE = (ROOT / "docs/note-format.md").read_text(encoding="utf-8")
EXAMPLES = re.findall(r"```json\n(.*?)```", PAGE, re.DOTALL)
KEYS = [key for key in SCHEMA["properties"] if key != "$schema"]


def samples(folder):
    found = sorted((ROOT / "samples").glob(f"{folder}/*.json"))
    assert found, f"no samples in {folder}"
    return found


def is_good_to_schema(path):
    try:
        return SCHEMA_CHECK.is_valid(json.loads(path.read_bytes().decode("utf-8")))
    except ValueError:
        return False


class Machine:
    """A machine of the stand-in. Its drive keeps the paths below the 260 characters of Windows."""

    def __init__(self, folder):
        self.folder, self.drive, self.count = folder, folder / "drive_c", 0
        kept = {name: value for name, value in os.environ.items() if not name.startswith("VELLUM_")}
        self.environment = kept | {"VELLUM_MACHINE": str(folder)}

    def write(self, name, content):
        self.count += 1
        place = self.drive / str(self.count)
        place.mkdir(parents=True)
        (place / name).write_bytes(content)
        return place / name

    def validate(self, paths):
        """What vellumctl says about each of the files on the drive: "good", or its findings."""
        names = ["C:\\" + str(path.relative_to(self.drive)).replace("/", "\\") for path in paths]
        result = subprocess.run([BUILD / "vellumctl", "validate", *names], env=self.environment, capture_output=True,
                                text=True, timeout=60)
        lines = result.stdout.split("\n")
        found = [[line[len(name) + 2:] for line in lines if line.startswith(name + ": ")] for name in names]
        assert (result.returncode, result.stderr) == (0 if all(each == ["good"] for each in found) else 1, ""), found
        return found


@pytest.fixture
def machine(tmp_path):
    return Machine(tmp_path)


def test_schema_is_valid():
    jsonschema.Draft202012Validator.check_schema(SCHEMA)


@pytest.mark.parametrize("path", samples("format/good") + samples("notes"), ids=lambda path: path.name)
def test_good_samples_are_good(path, machine):
    assert is_good_to_schema(path)
    assert machine.validate([machine.write(path.name, path.read_bytes())]) == [["good"]]


@pytest.mark.parametrize("path", samples("format/bad"), ids=lambda path: path.name)
def test_bad_samples_are_bad(path, machine):
    assert machine.validate([machine.write(path.name, path.read_bytes())]) not in ([["good"]], [[]])
    assert is_good_to_schema(path) == (path.name == "wrong-name.json"), "the schema does not see the name"


# Good and bad values of each key, as JSON.
TEXTS = ['""', '"x"', '"\\u00e9\\n"'], ["null", "1", "[]"]
TIMES = (['"2026-03-14T09:26:53Z"', '"1999-12-31T23:59:59Z"', '"2026-01-01T00:00:00Z"'],
         ['"2026-3-14T09:26:53Z"', '"2026-13-14T09:26:53Z"', '"2026-00-14T09:26:53Z"', '"2026-03-32T09:26:53Z"',
          '"2026-03-00T09:26:53Z"', '"2026-03-14T24:00:00Z"', '"2026-03-14T09:60:53Z"', '"2026-03-14T09:26:60Z"',
          '"2026-03-14T09:26:53"', '"2026-03-14T09:26:53.5Z"', '"2026-03-14T09:26:53+01:00"',
          '"2026-03-14T09:26:53Z\\n"', '"2026-03-14t09:26:53z"', '"2026-03-14 09:26:53Z"', '"\\u0662026-03-14T09:26:53Z"',
          "1773480413", '""'])
COLORS = (['"#FFCC00"', '"#ffcc00"', '"#abc"'],
          ['"yellow"', '"#FFCC0"', '"#FFCC0000"', '"FFCC00"', '"#GGGGGG"', '" #FFCC00"', '"#FFCC00\\n"', '""', "1677"])
FLAGS = ["true", "false"], ['"true"', "1", "null"]
PIXELS = (["0", "-2147483648", "2147483647", "7.0", "1e3", "-0"],
          ["0.5", "2147483648", "-2147483649", '"100"', "null", "1e300"])
DEVICES = ["CON", "con", "Aux.txt", "nul .a", "prn", "conin$", "CONOUT$", "com1", "LPT9.x.y", "com\u00b9", "lpt\u00b3 "]
IDS = (["a", "A b", "a.b", ".a", "...", "a,b;c=d+[e]", "\u00e4\u6f22\U0001f4cc", "con1", "com", "com0", "com10", "xnul",
        "a nul", "nulx.a", "conin", "$", "\x7f", "x" * 200, "\U0001f4cc" * 60],
       ["", ".", "..", "a/b", "a\\b", "a:b", "a*b", "a?b", 'a"b', "a<b", "a>b", "a|b", "a\0", "a\nb",
        "a\n", "a\x1fb", "x" * 201, *DEVICES])
VALUES = {
    "$schema": TEXTS, "title": TEXTS, "content": TEXTS, "contentRtf": TEXTS, "author": TEXTS, "created": TIMES,
    "modified": TIMES, "bgColor": COLORS, "titleBarBGColor": COLORS, "noteTitleColor": COLORS, "noteBodyColor": COLORS,
    "editable": FLAGS, "allowNewNote": FLAGS,
    "logo": (['""', '"logo.png"', '"data:image/png;base64,AA=="'], ['"my logo.png"', '"AA\\nAA"', '"a\\tb"', "null"]),
    "tittle": ([], ['"x"']), "Title": ([], ['"x"']), "position": ([], ["[]", "null", '{"z": 1}']),
    "monitor": ([], ['"x"', '{"name": "x"}', '{"bounds": []}', '{"bounds": {"width": 1}}', '{"device": 1}']),
}
MEMBERS = {
    "x": PIXELS, "y": PIXELS, "width": (["120", "8000"], ["119", "8001", "200.5"]),
    "height": (["100", "8000"], ["99", "8001", '"300"'])}
BOUNDS = {name: PIXELS for name in ("left", "top", "right", "bottom")}
SHAPES = [(VALUES, "%s"), (MEMBERS, '"position": {%s}'), (BOUNDS, '"monitor": {"device": "x", "bounds": {%s}}')]



def verdicts(machine, notes):
    """What the schema and vellumctl make of notes. A file has its id as the name, if there can be such a file; what
    vellumctl says about the name does not count, because the schema does not see it."""
    paths = [machine.write((identifier if identifier in IDS[0] else "note") + ".json", text.encode())
             for identifier, text in notes]
    found = [[line for line in lines if "is not the name of the file" not in line] for lines in machine.validate(paths)]
    return [(is_good_to_schema(path), lines in ([], ["good"])) for path, lines in zip(paths, found)]


def test_schema_and_vellumctl_agree_on_each_value(machine):
    rows = [(identifier, f'{{"id": {json.dumps(identifier)}}}', ids is IDS[0]) for ids in IDS for identifier in ids]
    rows += [("a", '{"id": "a", ' + shape % f'"{key}": {value}' + "}", choices is kinds[0])
             for values, shape in SHAPES for key, kinds in values.items() for choices in kinds for value in choices]
    assert len(rows) > 200
    found = verdicts(machine, [row[:2] for row in rows])
    assert [(text, both) for (_, text, good), both in zip(rows, found) if both != (good, good)] == []


def test_schema_and_vellumctl_agree_on_random_notes(machine):
    source = random.Random(5)

    def random_note():
        identifier = source.choice(source.choices(IDS, [19, 1])[0])
        members = [f'"id": {json.dumps(identifier)}']
        for values, shape in SHAPES:
            chosen = [f'"{key}": {source.choice(source.choices(kinds, [19, 1])[0])}' for key, kinds in values.items()
                      if kinds[0] and source.random() < .5]
            members += [shape % ", ".join(chosen)] if chosen else []
        return identifier, "{" + ", ".join(source.sample(members, len(members))) + "}"

    notes = [random_note() for _ in range(100)]
    found = verdicts(machine, notes)
    assert [(text, both) for (_, text), both in zip(notes, found) if both[0] != both[1]] == []
    assert min(found.count((True, True)), found.count((False, False))) > 20


def test_examples_of_the_page_match_and_show_every_key():
    assert len(EXAMPLES) == 2
    for example in EXAMPLES:
        SCHEMA_CHECK.validate(json.loads(example))
    assert list(json.loads(EXAMPLES[1])) == KEYS
    assert json.loads(EXAMPLES[1]) == json.loads((SAMPLES / "good" / "whole.json").read_text(encoding="utf-8"))
    assert re.findall(r"^\| `(\w+)` \|", PAGE, re.MULTILINE) == KEYS
