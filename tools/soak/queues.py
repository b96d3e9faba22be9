"""Private queues: a writer fills them, recovery passes start displays for them, users change the notes there."""
import json
import pathlib
import subprocess
import tempfile
import time

from ledger import read
from users import User

TRIES = 100
EXPECTED_EXITS = 0, 15, 16, 17, -9


class QueueSite:
    def __init__(self, machine):
        self.machine = machine

    def displays(self, _):
        return [display for session in ("1", "2") for display in self.machine.displays(session, of_queues=True)]

    def is_alive(self, pid):
        return self.machine.is_alive(pid)

    def told_of_end(self, _):
        return 0

    def is_hindered(self, *_):
        return True  # a pass that uses the store can make a save fail, and queue displays have no log file


class QueueActor(User):
    """`kept` is the process id of a display that is never killed."""

    def __init__(self, name, machine, ledger, kept):
        super().__init__(name, machine.store(), QueueSite(machine), ledger)
        self.machine, self.kept, self.session = machine, kept, name.split()[-1]
        self.staged = ""

    @property
    def token(self):
        return f"ann@{self.session}"

    def do(self, step):
        if step.verb in ("write", "pass", "kill"):
            return getattr(self, step.verb.replace("pass", "recover"))(step)
        super().do(step)

    def path(self, note):
        """The present path of the note: a pass may have renamed its queue."""
        for _ in range(5):
            found = list(self.folder.glob(f"applet-*/{note.name}.json"))
            if len(found) > 1:
                self.ledger.problem(f"{note.name} is in two queues: {found}")
            if found and found[0].exists():
                return found[0]
            time.sleep(0.01)  # the queue may be renamed at this moment
        return note.path

    def writer(self, *files, faults=""):
        """Runs the writer, which prints the name of its queue."""
        return self.machine.run("vellum-queue-writer", "--no-display", self.machine.build / "Vellumd", *files,
                                token=self.token, faults=faults)

    def stage(self):
        self.writer()
        staged = next(self.folder.glob("runtime/*/Vellumd.exe"))
        staged.chmod(0o700)
        return str(staged)

    def queue_of_writer(self, *files):
        """The writer waits for locks for two seconds only, so repeat the command until it succeeds."""
        for _ in range(TRIES):
            if self.session not in self.machine.logons:
                return None
            status, said = self.writer(*files)
            if status == 0:
                return said.strip()
            time.sleep(0.05)
        self.ledger.problem(f"the writer of queues failed: {said}")
        return None

    def write(self, step):
        queue = self.queue_of_writer()
        if not queue:
            return self.ledger.count("steps in a session without a logon")
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / f"{step.note}.json"
            body = f"QUEUED {step.number}"
            file.write_text(json.dumps({"id": step.note, "title": step.note, "content": body, "editable": True}))
            self.write_note(step, queue, file, body)

    def write_note(self, step, queue, file, body):
        if step.how == "dying":
            self.writer(file, faults="WriteFile:1=kill")
        note = self.ledger.note(step.note, self.folder, self.folder / queue / f"{step.note}.json")
        with self.ledger.lock:
            note.made, note.versions[step.number] = time.time(), (step.note, body)
        if self.queue_of_writer(file) is None:
            with self.ledger.lock:  # the logon ended before the note was written
                note.removed, note.removed_by = time.time(), "nobody: it was never whole"
            if self.path(note).exists():
                self.path(note).unlink()
        self.ledger.count("notes written to queues")

    def recover(self, step):
        if self.session not in self.machine.logons:
            return self.ledger.count("steps in a session without a logon")
        holder = None
        if step.how == "held":
            holder = self.machine.start("vellum-queue-writer", "--no-display", "--hold", self.machine.build / "Vellumd",
                                        token=self.token, stdin=subprocess.PIPE, output=subprocess.PIPE)
            holder.stdout.readline()  # it has the lock, or has failed
        status, said = self.machine.run(self.staged, "--applet-recover", token=self.token,
                                        faults=f"*:{step.number}=kill" if step.how == "dying" else "")
        if holder:
            holder.communicate()
        self.ledger.exits[f"--applet-recover: {status}"] += 1
        if status not in EXPECTED_EXITS and self.session in self.machine.logons:
            self.ledger.problem(f"a recovery pass ended with {status}: {said[-300:]}")

    def recovers_all(self):
        return self.machine.run(self.staged, "--applet-recover", token=self.token)[0] == 0

    def kill(self, _):
        for display in self.machine.displays(self.session, of_queues=True):
            if display.pid != self.kept:
                self.machine.kill(display.pid)
                self.ledger.count("queue displays killed")

    def close(self, step, note, display, window):
        """A removal does not wait for locks either, so the user may have to close the note again."""
        for _ in range(5):
            answer = display.click(window, window.width - 15, 13)
            if answer != "done":
                break
            if self.wait(display, lambda: read(self.path(note)) is None, 1):
                break
        self.removed(note)
        return answer
