"""The checks at the end: every note, and every file of the machine."""
import re
from collections import Counter

from ledger import as_note, read

GUID = r"[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}"
NOTES = r"drive_c/Users/\w+/AppData/Local/Quorvane/Ombrel/Notes/"
STORE = r"drive_c/Users/ann/AppData/Local/OmbrelAppletNotes/"
NOTE = r"([WUS]\d+|" + GUID + r")\.json"
# The files of a machine: a pattern of those that are allowed, and one of those that killed processes leave.
ON_MACHINE = "|".join((
    r"machine\.txt", r"messages\.txt", r"task(s|-runs)/.*\.txt", r"mutexes/\d+/.*", r"desktops/\d+/\d+", r"registry/.*",
    r"drive_c/ProgramData/OmbrelService_Common/Logs/Vellumd_\d_\w+_\d{8}\.log(\.1)?",
    NOTES + NOTE,
    STORE + r"(\.lifecycle\.lock|\.recovery\.lock|runtime/[0-9A-F]{64}/Vellumd\.exe)",
    STORE + r"runtime/[0-9A-F]{8}\.tmp",  # of a writer that was killed
    STORE + r"applet-[-0-9A-Fr]+/(\.writer\.lock|\.display\.lock|note_q\d+\.json)",
    r".*victim\.(json|txt)",
)), NOTES + NOTE + r"\.tmp|" + STORE + r"applet-[^/]+/\{[-0-9A-F]+\}\.tmp"
UNDER_WINE = r"notes/(kept|killed)/" + NOTE + r"|notes/victim\.json", r"notes/killed/" + NOTE + r"\.tmp"
MAY_BE_LOCKED = re.compile(r"mutexes/.*|.*/\.display\.lock|.*\.log|.*/Vellumd\.exe")


def check_notes(ledger, place_of):
    """`place_of` finds the file of a note in a queue."""
    for note in ledger.all():
        if note.kind == "W":
            ledger.check_written(note)
        elif note.kind == "S":
            ledger.check_shared(note)
        elif note.path:
            ledger.check_users(note, place_of(note) if note.kind == "Q" else note.path)


def check_unfollowed(ledger, folders, authors):
    """New notes whose file no user found must be whole, too, and there must not be more than users asked for."""
    known = {note.path for note in ledger.all("N")}
    unfollowed = [path for folder in folders for path in folder.glob("????????-*.json") if path not in known]
    asked = ledger.counts["new notes asked for"] - len(known - {None})
    if len(unfollowed) > asked:
        ledger.problem(f"{len(unfollowed)} unknown new notes, but only {asked} were asked for")
    for path in unfollowed:
        content = as_note(read(path))
        if content is None or content["id"] != path.stem or content["author"] not in authors:
            ledger.problem(f"a new note is incomplete: {path}")


def check_files(ledger, folder, kinds, lost):
    """No unexpected files. A temporary file is allowed only if its process was killed (`lost`). The name of a note's
    temporary file says which note it is, and so which displays can have written it; in a queue it does not."""
    known, of_killed = kinds
    hands = {note.path.name + ".tmp": note.hands for note in ledger.all("USN") if note.path}
    nameless = 0
    for path in sorted(folder.rglob("*")):
        name = str(path.relative_to(folder))
        if path.is_dir() or re.fullmatch(known, name):
            continue
        if re.fullmatch(of_killed, name) and (hands.get(path.name, lost) & lost):
            ledger.count("temporary files of killed displays")
            nameless += path.name not in hands
        else:
            ledger.problem(f"an unexpected file: {name}")
    if nameless > len(lost):
        ledger.problem(f"{nameless} temporary files in queues, but only {len(lost)} processes were killed")


def check_locks(ledger, machine):
    for path in machine.locked_files(machine.folder):
        if not MAY_BE_LOCKED.fullmatch(str(path.relative_to(machine.folder))):
            ledger.problem(f"a lock is held on {path}")


def check_shown(ledger, folder, display, extra=()):
    """A display that has just started shows each note of its folder once, and nothing else."""
    wanted = Counter(note["title"] for note in map(as_note, map(read, folder.glob("*.json"))) if note)
    shown = Counter(window.title for window in display.notes())
    if wanted != shown:
        ledger.problem(f"process {display.pid} wrongly shows {dict(shown - wanted)} and lacks {dict(wanted - shown)}")


def fates(ledger):
    """A table: how many notes of each kind exist, were removed, and so on."""
    rows = []
    names = {"W": "one writer's", "U": "a user's", "S": "shared", "N": "made by users", "Q": "in queues"}
    for kind, name in names.items():
        notes = [note for note in ledger.all(kind)]
        there = [note for note in notes if note.path and (note.path.exists() or (kind == "Q" and not note.removed))]
        texts = Counter(typed.state for note in notes for typed in note.typed)
        by_users = sum(note not in there and note.removed_by.startswith(("user", "queue")) for note in notes)
        by_writers = sum(note not in there and note.removed_by.startswith("writer") for note in notes)
        rows.append(f"  {name:14} notes {len(notes):5}   there {len(there):5}   closed by users {by_users:5}   "
                    f"deleted by writers {by_writers:5}   texts saved {texts['saved']:5}   "
                    f"lost with a process {texts['lost']:4}")
    return rows
