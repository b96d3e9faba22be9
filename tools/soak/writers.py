"""The writers of notes folders. Each gives orders to its own process (writer.py), which may be killed at any time."""
import json
import pathlib
import subprocess
import sys
import time

import texts
from ledger import as_note, brief, read


class Writer:
    def __init__(self, name, folder, ledger):
        self.name, self.folder, self.ledger = name, folder, ledger
        self.process = None

    def kill(self):
        if self.process:
            self.process.kill()

    def stop(self):
        if self.process:
            self.process.kill()
            self.process.wait()

    def order(self, way, path, content):
        """Sends an order. Returns the answer; None if the process was killed meanwhile."""
        if self.process is None or self.process.poll() is not None:
            program = pathlib.Path(__file__).parent / "writer.py"
            self.process = subprocess.Popen([sys.executable, str(program)], stdin=subprocess.PIPE,
                                            stdout=subprocess.PIPE, text=True)
        try:
            self.process.stdin.write(json.dumps([way, str(path), content.decode("latin-1")]) + "\n")
            self.process.stdin.flush()
            answer = self.process.stdout.readline().strip()
        except OSError:
            answer = ""
        if answer:
            return answer
        self.process.wait()
        self.ledger.count("writers killed")
        return None

    def sweep(self, path):
        """Removes the temporary files of a killed writer."""
        for end in (".part", ".bak"):
            left = path.with_name(path.name + end)
            if left.exists():
                left.unlink()
                self.ledger.count("files of killed writers removed")

    def do(self, step):
        note = self.ledger.note(step.note, self.folder)
        if note.kind == "W" and note.made:
            self.ledger.check_written(note)
        if step.verb == "delete":
            return self.delete(note)
        climbs = step.how == "climbing id"
        is_note = step.verb == "write" or climbs
        content = texts.note(note.name, step.number) if step.verb == "write" else \
            texts.rubbish(note.name, step.number, step.how)
        way = step.how if step.verb == "write" else "in place"
        with self.ledger.lock:
            note.made = note.since = time.time()  # from now on the desktop may not show the present content
            if is_note:
                versions = texts.title_and_body(note.name, step.number)
                note.versions[step.number] = (versions[0], "CLIMBS") if climbs else versions
            else:
                note.rubbish.add(content)
        before = note.expected
        while True:
            answer = self.order(way, note.path, content)
            if answer == "done":
                break
            if answer is None:
                self.sweep(note.path)
                if note.kind == "W":
                    return self.take_stock(note, before, content)
                if note.kind == "U" and note.path.exists():
                    break  # the note is written, and the user may have changed it
                continue  # repeat the order with a new process
            self.ledger.problem(f"{self.name} cannot write {note.name}: {answer}")
            return
        with self.ledger.lock:
            note.expected, note.since = content, time.time()
        self.ledger.count(f"notes written {way}" if is_note else "rubbish written")

    def delete(self, note):
        with self.ledger.lock:
            note.since = time.time()
        answer = self.order("delete", note.path, b"")
        if answer is None:
            if note.kind == "W":
                return self.take_stock(note, note.expected, None)
        elif answer != "done" and note.kind == "W" and note.expected is not None:
            self.ledger.problem(f"{self.name} cannot delete {note.name}: {answer}")
        with self.ledger.lock:
            note.expected, note.since = None, time.time()
            note.removed, note.removed_by = time.time(), self.name
        self.ledger.count("notes deleted by writers")

    def take_stock(self, note, before, after):
        """The writer was killed during an order: the file is unchanged, as ordered, or a part of that."""
        found = read(note.path)
        is_begun = after is not None and found is not None and after.startswith(found)
        if found not in (before, after, None) and not is_begun:
            self.ledger.problem(f"{note.name} has content that its killed writer cannot have left: {brief(found)}")
        with self.ledger.lock:
            note.expected, note.since = found, time.time()
            if found is not None and as_note(found) is None:
                note.rubbish.add(found)
