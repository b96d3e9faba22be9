"""The run of a plan: one thread for each actor, one that watches, and a line of progress now and then."""
import collections
import threading
import time
import traceback

from desktop import Gone
from ledger import as_note, written_text

PROGRESS_SECONDS = 10
SHOWN_AFTER = 15  # seconds that a display has for what a writer does
START_SLACK = 10   # what is written while a display starts may wait for the next change


class Stage:
    def __init__(self, steps, seconds, ledger, stopping):
        self.seconds, self.ledger, self.stopping = seconds, ledger, stopping
        self.steps = collections.defaultdict(list)
        for step in steps:
            self.steps[step.actor].append(step)
        self.left = len(steps)

    def play(self, actors, watch, at_minute):
        """`actors` do steps by name; `watch` is called again and again, `at_minute` once."""
        self.begun = time.time()
        threads = [threading.Thread(target=self.act, args=(self.steps[name], actor), daemon=True)
                   for name, actor in actors.items()]
        for thread in threads:
            thread.start()
        told, minute = self.begun, False
        while any(thread.is_alive() for thread in threads) and not self.stopping.is_set():
            if not minute and time.time() > self.begun + min(60, self.seconds / 3):
                minute = True
                at_minute()
            try:
                watch()
            except Gone:
                pass
            if time.time() > told + PROGRESS_SECONDS:
                told = time.time()
                self.tell()
            self.stopping.wait(2)
        for thread in threads:
            thread.join(120)
            if thread.is_alive():
                self.ledger.problem("an actor does not come to its end")

    def act(self, steps, actor):
        for step in steps:
            while time.time() < self.begun + step.at and not self.stopping.is_set():
                self.stopping.wait(min(1, max(0.01, self.begun + step.at - time.time())))
            if self.stopping.is_set():
                return
            if time.time() > self.begun + self.seconds + 30:
                self.ledger.count("steps not reached in time")
                continue
            try:
                actor.do(step)
            except Exception:
                self.ledger.problem(f"step {step} broke the soak itself:\n{traceback.format_exc()}")
            self.left -= 1

    def tell(self):
        ledger = self.ledger
        with ledger.lock:
            there = sum(note.removed < note.made for note in ledger.notes.values())
            shown = sum(note.shown for note in ledger.notes.values())
            ledger.say(f"{time.time() - self.begun:6.0f} s  steps left {self.left:5}  "
                       f"notes ever {len(ledger.notes):5}  seen {shown:5}  there now {there:4}  "
                       f"problems {len(ledger.problems)}")


def watch_written(ledger, folder, display):
    """What writers alone have written is shown as it stands, and what they have deleted is not."""
    with ledger.lock:
        rested = [(note, note.since, note.expected) for note in ledger.notes.values()
                  if note.folder == folder and note.kind == "W" and
                  display.since + START_SLACK < note.since < time.time() - SHOWN_AFTER]
    titles = collections.defaultdict(list)
    for window in display.notes():
        titles[written_text(window.title).split(" ")[0]].append(window.title)
    for note, since, expected in rested:
        content = as_note(expected)
        shown = titles.get(note.name, [])
        wanted = [content["title"]] if content else [] if expected is None else shown
        with ledger.lock:
            if note.since == since and shown != wanted:
                ledger.problem(f"process {display.pid} shows {note.name} as {shown} instead of {wanted}")
                note.since = time.time()  # once is enough
    with ledger.lock:
        for name in titles:
            if name in ledger.notes:
                ledger.notes[name].shown = True
