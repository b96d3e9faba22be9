"""Runs a plan: one thread for each actor, one that watches, and a line of progress every few seconds."""
import collections
import threading
import time
import traceback

from desktop import Gone
from ledger import as_note, written_text

PROGRESS_SECONDS = 10
SHOWN_AFTER = 15  # seconds until a display must show what a writer did
START_SLACK = 10   # seconds; a note that is written while a display starts may not appear before its next change


class Stage:
    def __init__(self, steps, seconds, ledger, stopping):
        self.seconds, self.ledger, self.stopping = seconds, ledger, stopping
        self.steps = collections.defaultdict(list)
        for step in steps:
            self.steps[step.actor].append(step)
        self.left = len(steps)

    def play(self, actors, watch, at_minute):
        """`actors` do the steps, by name. `watch` is called repeatedly, `at_minute` once after the first minute."""
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
                self.ledger.problem("an actor does not finish")

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
                self.ledger.problem(f"step {step} failed in the soak itself:\n{traceback.format_exc()}")
            self.left -= 1

    def tell(self):
        ledger = self.ledger
        with ledger.lock:
            there = sum(note.removed < note.made for note in ledger.notes.values())
            shown = sum(note.shown for note in ledger.notes.values())
            ledger.say(f"{time.time() - self.begun:6.0f} s  steps left {self.left:5}  "
                       f"notes so far {len(ledger.notes):5}  seen {shown:5}  now {there:4}  "
                       f"problems {len(ledger.problems)}")


def watch_written(ledger, folder, display):
    """Notes that only writers change are shown as written, and not shown once deleted."""
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
                note.since = time.time()  # report it once
    with ledger.lock:
        for name in titles:
            if name in ledger.notes:
                ledger.notes[name].shown = True
