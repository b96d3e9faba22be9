"""Checks the documented note format: the schema, the samples and the examples of the page agree."""
import json
import pathlib
import re

import jsonschema
import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCHEMA = json.loads((ROOT / "docs" / "note.schema.json").read_text(encoding="utf-8"))
SAMPLES = ROOT / "samples" / "format"
PAGE = (ROOT / "docs" / "note-format.md").read_text(encoding="utf-8")
EXAMPLES = re.findall(r"```json\n(.*?)```", PAGE, re.DOTALL)


def samples(kind):
    found = sorted((SAMPLES / kind).glob("*.json"))
    assert found, f"no samples in {kind}"
    return found


def check(value):
    jsonschema.Draft202012Validator(SCHEMA).validate(value)


def test_schema_is_valid():
    jsonschema.Draft202012Validator.check_schema(SCHEMA)


@pytest.mark.parametrize("path", samples("good"), ids=lambda path: path.name)
def test_good_samples_match_the_schema(path):
    note = json.loads(path.read_bytes().decode("utf-8"))
    check(note)
    assert note["id"] == path.stem
    assert "logo" not in note or (path.parent / "Resources" / "logos" / note["logo"]).is_file()


@pytest.mark.parametrize("path", samples("bad"), ids=lambda path: path.name)
def test_bad_samples_are_refused(path):
    with pytest.raises((UnicodeDecodeError, json.JSONDecodeError, jsonschema.ValidationError)):
        check(json.loads(path.read_bytes().decode("utf-8")))


@pytest.mark.parametrize(
    "member",
    [
        '"bgColor": "yellow"',
        '"bgColor": "#FFCC0"',
        '"created": "2026-3-14T09:26:53Z"',
        '"position": {"width": 119}',
        '"position": {"height": "300"}',
        '"editable": "true"',
        '"content": null',
    ],
)
def test_schema_refuses_invalid_values(member):
    with pytest.raises(jsonschema.ValidationError):
        check(json.loads('{"id": "a", %s}' % member))


def test_examples_of_the_page_match_and_show_every_key():
    assert len(EXAMPLES) == 2
    for example in EXAMPLES:
        check(json.loads(example))
    assert list(json.loads(EXAMPLES[1])) == list(SCHEMA["properties"])
    assert json.loads(EXAMPLES[1]) == json.loads((SAMPLES / "good" / "whole.json").read_text(encoding="utf-8"))
    table = re.findall(r"^\| `(\w+)` \|", PAGE, re.MULTILINE)
    assert table == list(SCHEMA["properties"])
