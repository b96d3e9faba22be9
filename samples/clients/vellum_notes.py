#!/usr/bin/env python3
"""Puts notes of Vellumd on the screen, changes them, takes them away, and learns what the user did with them.

    import vellum_notes as notes
    note_id = notes.post(title="Backup", content="Running.", editable=True)
    notes.post(note_id, content="Done.")     # the note keeps its place and its other values
    note = notes.wait(note_id, timeout=600)  # edited by the user: the note; closed: None
    notes.remove(note_id)

Values have the names of docs/note-format.md. Python 3.8 or later, nothing else. The same from a command line:
python vellum_notes.py --help
"""
import argparse
import datetime
import json
import os
import pathlib
import sys
import time
import uuid

# For three seconds after Vellumd has saved a note it takes no notice of the file. File times can lag a little.
OWN_SAVE_SECONDS = 3.2


def default_folder():
    return pathlib.Path(os.environ["LOCALAPPDATA"], "Quorvane", "Ombrel", "Notes")


def post(note_id=None, folder=None, **values):
    """Writes a new note, or new values of an existing one. Returns its id.

    Take a new id for each message: Vellumd can miss a note whose id the user has closed a moment ago."""
    note_id = note_id or str(uuid.uuid4())
    path = _path(note_id, folder)
    _wait_for_own_save(path)
    note = get(note_id, folder) or {"id": note_id, "created": _now()}  # with the place where the user has moved it
    if "content" in values:
        note.pop("contentRtf", None)  # the old text with its formats would hide the new one
    _write(path, {**note, **values, "modified": _now()})
    return note_id


def remove(note_id, folder=None):
    """Takes a note away. Returns whether there was one."""
    path = _path(note_id, folder)
    _wait_for_own_save(path)
    try:
        _try_again(path.unlink)
    except FileNotFoundError:
        return False
    return True


def get(note_id, folder=None):
    """The note with what the user has typed, or None if he has closed it."""
    path = _path(note_id, folder)
    try:
        return json.loads(_try_again(lambda: path.read_text(encoding="utf-8-sig")))
    except FileNotFoundError:
        return None


def list(folder=None):
    """The notes of the folder. Files that are not notes are left out."""
    notes = []
    for path in sorted((folder or default_folder()).glob("*.json")):
        try:
            notes.append(json.loads(path.read_text(encoding="utf-8-sig")))
        except (OSError, ValueError):
            pass
    return notes


def wait(note_id, folder=None, timeout=float("inf")):
    """Waits until the user changes the text (returns the note) or closes the note (returns None).

    It opens the file only when that has changed: Vellumd cannot save a note that another program has open."""
    path, end = _path(note_id, folder), time.monotonic() + timeout
    before = note = get(note_id, folder)
    seen = None
    while note is not None and _texts(note) == _texts(before):
        if time.monotonic() > end:
            raise TimeoutError(f"the user has done nothing with note {note_id}")
        time.sleep(.2)
        written = _write_time(path)
        if written != seen:
            seen, note = written, get(note_id, folder)
    return note


def _texts(note):
    return note.get("title", ""), note.get("content", "")  # a note that is moved or resized is saved as well


def _path(note_id, folder):
    return pathlib.Path(folder or default_folder(), note_id + ".json")


def _write_time(path):
    try:
        return path.stat().st_mtime
    except FileNotFoundError:
        return 0


def _now():
    return datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")


def _write(path, note):
    """Replaces the whole file: nobody reads half a note. The line end at the end marks it as ours."""
    path.parent.mkdir(parents=True, exist_ok=True)
    part = path.with_suffix(".part")
    part.write_text(json.dumps(note, ensure_ascii=False, indent=2) + "\n", encoding="utf-8")
    _try_again(lambda: os.replace(part, path))


def _wait_for_own_save(path):
    """Waits until Vellumd looks at the file again. The files that it writes do not end with a line end."""
    for _ in range(10):
        age = time.time() - _write_time(path)
        try:
            if age > OWN_SAVE_SECONDS or _try_again(path.read_bytes).endswith(b"\n"):
                return
        except FileNotFoundError:
            return
        time.sleep(OWN_SAVE_SECONDS - max(age, 0))
    raise TimeoutError(f"the user is still typing in {path}")


def _try_again(action):
    """Windows refuses while another program has the file open; Vellumd and virus scanners have it for moments."""
    for _ in range(100):
        try:
            return action()
        except PermissionError:
            time.sleep(.02)
    return action()


def main():
    parser = argparse.ArgumentParser(description="Notes of Vellumd.")
    parser.add_argument("--folder", type=pathlib.Path, help="the notes folder (default: that of the user)")
    commands = parser.add_subparsers(dest="command", required=True)
    command = commands.add_parser("post", help="write a note and print its id")
    command.add_argument("--id")
    for key in ("title", "content", "author", "bgColor"):
        command.add_argument("--" + key)
    command.add_argument("--editable", action="store_true", default=None)
    for name, text in (("remove", "take a note away"), ("get", "print a note"),
                       ("wait", "wait for the user; print the new text, or exit with 4 if the note is closed")):
        commands.add_parser(name, help=text).add_argument("id")
    commands.add_parser("list", help="print all notes")
    options = vars(parser.parse_args())
    name, folder, note_id = options.pop("command"), options.pop("folder"), options.pop("id", None)
    if name == "post":
        print(post(note_id, folder, **{key: value for key, value in options.items() if value is not None}))
    elif name == "remove":
        return 0 if remove(note_id, folder) else 1
    elif name == "list":
        print(json.dumps(list(folder), indent=2))
    elif name == "get":
        note = get(note_id, folder)
        print(json.dumps(note, indent=2))
        return 1 if note is None else 0
    else:
        note = wait(note_id, folder)
        if note is None:
            return 4
        print(note.get("content", ""))
    return 0


if __name__ == "__main__":
    sys.exit(main())
