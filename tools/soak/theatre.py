"""What the soak on the stand-in and the soak under Wine share."""
import threading
import time

import counts
from desktop import Gone
from plan import Step


class Theatre:
    """Subclasses have `users` (actors by name) and `long_lived` (by name, the displays that are never killed)."""

    def __init__(self, ledger):
        self.ledger = ledger
        self.stopping = threading.Event()
        self.long_lived = {}
        self.samples = {}
        self.fates = []

    def expect(self, holds, otherwise):
        if not holds:
            self.ledger.problem(otherwise)

    def until(self, condition, patience=60):
        end = time.time() + patience
        while time.time() < end:
            try:
                if condition():
                    return True
            except (Gone, IndexError):
                pass
            time.sleep(0.2)
        return False

    def shows(self, name, number):
        return len(self.long_lived[name].notes()) == number

    def closes_all(self, name):
        for window in self.long_lived[name].notes():
            self.long_lived[name].ask(f"close {window.handle}")
        return self.shows(name, 0)

    @staticmethod
    def end(display):
        line = next(line for line in display.ask("list").splitlines() if "MsgWindow" in line)
        display.ask(f"close {line.split()[0]}")

    def do_everything_once(self, user, note):
        """After this, everything that a display creates once and keeps exists."""
        for number, verb in enumerate(("type", "title", "drag", "size", "close")):
            user.do(Step(0, user.name, verb, note, "", number))

    def sample(self, when):
        for name, display in self.long_lived.items():
            try:
                self.samples.setdefault(name, []).append(counts.take(when, display.pid, display.counts()))
            except (Gone, OSError):
                self.ledger.problem(f"the {name} that is never killed has ended")

    def compare(self):
        for name, samples in self.samples.items():
            if len(samples) == 4:
                counts.compare(name, *samples, self.ledger.problem)

    def bring_out_all(self, users_of):
        """Saves every text that waits for a save. `users_of` gives the users who may change a note."""
        for note in self.ledger.all("UNQ"):
            if any(typed.state == "waiting" for typed in note.typed):
                self.expect(self.until(lambda: self.bring_out(note, users_of(note))),
                            f"what was typed into {note.name} is never saved")

    def bring_out(self, note, users):
        """Moves the note, which saves it with all waiting text."""
        for user in users:
            for pid in {typed.pid for typed in note.typed if not user.site.is_alive(typed.pid)}:
                user.forget(note, pid)
            waiting = {typed.pid for typed in note.typed if typed.state == "waiting"}
            if any(display.pid in waiting for display in user.site.displays(user.name)):
                user.do(Step(0, user.name, "drag", note.name, "", len(note.typed) + int(time.time()) % 50))
        return note.removed or not any(typed.state == "waiting" for typed in note.typed)

    def summary(self):
        for name, samples in self.samples.items():
            yield from counts.table(name, samples)
