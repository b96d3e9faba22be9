"""What each writer and user did to each note, and the checks of what the file may hold then."""
import json
import re
import threading
import time
from collections import Counter
from dataclasses import dataclass, field

USERS_LETTERS = re.compile(r"[a-z.]")


def written_text(text):
    """The part of a text that writers wrote, without what users typed into it."""
    return USERS_LETTERS.sub("", text)


def read(path):
    """The bytes of a file; None if it does not exist."""
    try:
        return path.read_bytes()
    except FileNotFoundError:
        return None


def as_note(content):
    """The note in a file's content; None if it is not a note."""
    try:
        note = json.loads((content or b"").decode("utf-8-sig"))
    except (ValueError, RecursionError):
        return None
    return note if isinstance(note, dict) and isinstance(note.get("id"), str) and note["id"] else None


@dataclass
class Typed:
    text: str
    pid: int            # the display it was typed into
    at: float = 0       # when the display had received all of it
    # "typed", then "saved", "waiting" (the save failed, the display still has it) or "lost" (its process died)
    state: str = "typed"


@dataclass
class Note:
    name: str
    folder: object
    path: object = None
    expected: bytes = None      # of a note with one writer: the content of the file, None for no file
    since: float = 0            # when a writer last changed it
    versions: dict = field(default_factory=dict)   # the title and body of each version that a writer wrote
    rubbish: set = field(default_factory=set)
    typed: list = field(default_factory=list)
    hands: set = field(default_factory=set)  # the displays in which a user has changed it
    shown: bool = False
    made: float = 0             # when it was last created
    removed: float = 0          # when the last attempt to remove it ended
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

    # Checks. They may run at any time, for notes that nobody is changing.

    def check_written(self, note):
        """A note with one writer: nobody else has changed it."""
        found = read(note.path)
        if found != note.expected:
            self.problem(f"{note.name} is not as its writer left it: {brief(note.expected)} became {brief(found)}")

    def check_users(self, note, path):
        """A note that one user has changed: it has what its writer wrote and everything that was saved since."""
        found = read(path) if path else None
        if found is None:
            if not note.removed:
                self.problem(f"{note.name} is lost: nobody removed it")
            return
        content = as_note(found)
        if content is None:
            self.problem(f"{note.name} is incomplete: {brief(found)}")
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
        """A shared note: one of the written versions, plus what users typed into it."""
        found = read(note.path)
        if found is None:
            if note.versions and note.removed < note.made:
                self.problem(f"{note.name} is lost: it was created after the last removal ({note.removed_by})")
            return
        if found in note.rubbish:
            return
        content = as_note(found)
        if content is None:
            self.problem(f"{note.name} is incomplete: {brief(found)}")
        elif not is_a_version(content, note):
            self.problem(f"{note.name} is not one of the written versions: {texts_of(content)}")
        elif content["id"] != note.name:
            self.problem(f"{note.name} has the id {content['id']}")


def texts_of(content):
    return content.get("title", ""), content.get("content", "")


def is_a_version(content, note):
    """Whether the content is a written version, plus what users typed into it."""
    found = [written_text(text) for text in texts_of(content)]
    return any(found == [written_text(text) for text in version] for version in note.versions.values())


def brief(content):
    if content is None:
        return "no file"
    return f"{len(content)} bytes {content[:60]!r}{'...' if len(content) > 60 else ''}"
