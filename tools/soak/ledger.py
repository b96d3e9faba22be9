"""What each writer and user did to each note, and what may have come of it."""
import json
import re
import threading
import time
from collections import Counter
from dataclasses import dataclass, field

USERS_LETTERS = re.compile(r"[a-z.]")


def written_text(text):
    """What writers wrote of a text, without what users typed into it."""
    return USERS_LETTERS.sub("", text)


def read(path):
    """The bytes of a file, None if there is none."""
    try:
        return path.read_bytes()
    except FileNotFoundError:
        return None


def as_note(content):
    """The note that a file's content makes, None if it is none."""
    try:
        note = json.loads((content or b"").decode("utf-8-sig"))
    except (ValueError, RecursionError):
        return None
    return note if isinstance(note, dict) and isinstance(note.get("id"), str) and note["id"] else None


@dataclass
class Typed:
    text: str
    pid: int            # the display it was typed into
    at: float = 0       # when the display had it all
    state: str = "typed"  # then saved, waiting (the save failed, the display holds it) or lost (with its process)


@dataclass
class Note:
    name: str
    folder: object
    path: object = None
    expected: bytes = None      # of a note with one writer: what the file holds, None for no file
    since: float = 0            # when it was last changed by a writer
    versions: dict = field(default_factory=dict)   # the title and body of each version that was written
    rubbish: set = field(default_factory=set)
    typed: list = field(default_factory=list)
    hands: set = field(default_factory=set)  # the displays in which a user has worked on it
    shown: bool = False
    made: float = 0             # when it was last made by somebody
    removed: float = 0          # when somebody's last attempt to remove it ended
    removed_by: str = ""

    @property
    def kind(self):
        return "Q" if self.name.startswith("note_") else self.name[0]


class Ledger:
    def __init__(self, say=print):
        self.lock = threading.RLock()
        self.notes = {}
        self.problems = []
        self.counts = Counter()
        self.exits = Counter()
        self.say = say
        self.begun = time.time()

    def problem(self, text):
        with self.lock:
            self.problems.append(f"{time.time() - self.begun:.1f} s: {text}")
        self.say(f"WRONG: {text}")

    def count(self, what, number=1):
        with self.lock:
            self.counts[what] += number

    def note(self, name, folder, path=None):
        with self.lock:
            if name not in self.notes:
                self.notes[name] = Note(name, folder, path or folder / f"{name}.json")
            return self.notes[name]

    def known(self, name):
        with self.lock:
            return self.notes.get(name)

    def all(self, kinds="WUSNQ"):
        with self.lock:
            return [note for note in self.notes.values() if note.kind in kinds]

    # Checks. Each may be made while everything runs, on notes that rest.

    def check_written(self, note):
        """A note with one writer: nobody else has touched it."""
        found = read(note.path)
        if found != note.expected:
            self.problem(f"{note.name} is not as its writer left it: {brief(note.expected)} became {brief(found)}")

    def check_users(self, note, path):
        """A note that one user has worked on: it holds what its maker wrote and all that was saved since."""
        found = read(path) if path else None
        if found is None:
            if not note.removed:
                self.problem(f"{note.name} is lost: nobody removed it")
            return
        content = as_note(found)
        if content is None:
            self.problem(f"{note.name} is half: {brief(found)}")
            return
        if content["id"] != path.stem:
            self.problem(f"{note.name} has the id {content['id']} in {path.name}")
        title, body = texts_of(content)
        if note.versions and not is_a_version(content, note):
            self.problem(f"{note.name} holds another text than was written: {title!r} {body!r}")
        for typed in note.typed:
            times = (title + "\n" + body).count(typed.text)
            if times > 1 or (times == 0 and typed.state in ("saved", "waiting")):
                self.problem(f"{note.name}: {typed.text!r}, {typed.state}, is there {times} times: {title!r} {body!r}")

    def check_shared(self, note):
        """A note that anybody works on: one of the versions that were written, with what users typed into it."""
        found = read(note.path)
        if found is None:
            if note.versions and note.removed < note.made:
                self.problem(f"{note.name} is lost: it was made after the last removal ({note.removed_by})")
            return
        if found in note.rubbish:
            return
        content = as_note(found)
        if content is None:
            self.problem(f"{note.name} is half: {brief(found)}")
        elif not is_a_version(content, note):
            self.problem(f"{note.name} holds no version that was written: {texts_of(content)}")
        elif content["id"] != note.name:
            self.problem(f"{note.name} has the id {content['id']}")


def texts_of(content):
    return content.get("title", ""), content.get("content", "")


def is_a_version(content, note):
    """Whether it is a version that was written, but for what users typed into it."""
    found = [written_text(text) for text in texts_of(content)]
    return any(found == [written_text(text) for text in version] for version in note.versions.values())


def brief(content):
    if content is None:
        return "no file"
    return f"{len(content)} bytes {content[:60]!r}{'...' if len(content) > 60 else ''}"
