"""The plan of a soak: who does what to which note, and when. It depends on the seed and the length only.

Writers write upper-case letters and digits, users type lower-case letters: so each letter of a text shows who wrote it.

The kinds of notes, by the first letter of their names:
    W  changed by one writer only: the file is always as that writer left it
    U  created by a writer, then changed by one user only
    S  shared: writers and users change it at the same time
    N  created by a user with the button of another note
    Q  in a private queue (the name is note_q and a number)
"""
import random
from dataclasses import dataclass

WRITES = ("in place", "rename", "replace")
RUBBISH = ("empty", "cut", "text", "array", "no id", "deep", "binary", "climbing id")


@dataclass(frozen=True)
class Step:
    at: float
    actor: str
    verb: str
    note: str = ""
    how: str = ""
    number: int = 0

    def __str__(self):
        return f"{self.at:8.2f}  {self.actor:9} {self.verb:9} {self.note:10} {self.how:12} {self.number}"


@dataclass(frozen=True)
class Cast:
    """The actors: writers and users with their folders, and what else may happen."""
    writers: dict  # name -> folder
    users: dict    # name -> folder
    logons: tuple = ()   # sessions that are ended without warning and begin again
    leaving: tuple = ()  # users who log off normally
    killed: tuple = ()   # users whose displays are killed
    filled: tuple = ()   # users whose disk is full for a while
    queues: tuple = ()   # sessions with private queues
    dispatcher: bool = False


def letters(number):
    """A number as four lower-case letters and a dot, for texts that a user types. No such text contains another one."""
    return "".join(chr(ord("a") + number // 26 ** place % 26) for place in (3, 2, 1, 0)) + "."


class Planner:
    def __init__(self, cast, seconds, seed):
        self.cast, self.seconds = cast, seconds
        self.random = random.Random(f"{seed} {seconds}")
        self.steps = []
        self.count = 0

    def add(self, at, actor, verb, note="", how="", number=0):
        self.steps.append(Step(round(at, 2), actor, verb, note, how, number))

    def next(self):
        self.count += 1
        return self.count

    def times(self, pause, start=0.0):
        """Times until the end, `pause` seconds apart on average."""
        at = start + self.random.uniform(0, pause)
        while at < self.seconds:
            yield at
            at += self.random.uniform(0.2 * pause, 1.8 * pause)

    def plan(self):
        shared = {folder: [f"S{self.next()}" for _ in range(5)] for folder in sorted(set(self.cast.writers.values()))}
        for actor, folder in self.cast.users.items():
            self.user(actor, folder, shared[folder])
        first = set()
        for actor, folder in self.cast.writers.items():
            self.writer(actor, shared[folder], makes_shared=folder not in first)
            first.add(folder)
        for actor in self.cast.killed:
            for at in self.times(20, 8):
                self.add(at, "killer", "kill", actor, self.random.choice(("at once", "in a save")))
        for actor in self.cast.writers if self.cast.killed else ():
            for at in self.times(30, 5):
                self.add(at, "killer", "kill", actor, "at once")
        for actor in self.cast.filled:
            for at in self.times(40, 10):
                self.add(at, "disk", "fill", actor, "", self.random.randint(2, 7))
        for session in self.cast.logons:
            for at in self.times(40, 15):
                self.add(at, "logons", "reset", session, "", self.random.randint(2, 8))
        if self.cast.dispatcher:
            for at in self.times(6):
                self.add(at, "dispatcher", self.random.choice(("fire", "launch")))
        for session in self.cast.queues:
            self.queue(session)
        return sorted(self.steps, key=lambda step: (step.at, step.actor))

    def writer(self, actor, shared, makes_shared):
        here, gone, broken = [], [], set()
        if makes_shared:
            for note in shared:
                self.add(0.1, actor, "write", note, "rename", self.next())
        for at in self.times(0.8):
            dice = self.random.random()
            if dice < 0.2:  # shared notes
                note = self.random.choice(shared)
                if self.random.random() < 0.2:
                    self.add(at, actor, "delete", note)
                else:
                    self.add(at, actor, "write", note, self.random.choice(WRITES), self.next())
            elif len(here) < 4 or (dice < 0.4 and len(here) < 10):
                again = gone and self.random.random() < 0.3
                note = gone.pop() if again else f"W{self.next()}"
                here.append(note)
                self.add(at, actor, "write", note, self.random.choice(WRITES), self.next())
            elif dice < 0.55:
                note = here.pop(self.random.randrange(len(here)))
                gone.append(note)
                broken.discard(note)
                self.add(at, actor, "delete", note)
            elif dice < 0.67:
                note = self.random.choice(here)
                broken.add(note)
                self.add(at, actor, "rubbish", note, self.random.choice(RUBBISH), self.next())
            else:
                note = self.random.choice(sorted(broken)) if broken and dice < 0.75 else self.random.choice(here)
                broken.discard(note)
                self.add(at, actor, "write", note, self.random.choice(WRITES), self.next())

    def user(self, actor, folder, shared):
        writer = next(name for name, place in self.cast.writers.items() if place == folder)
        own = []
        for at in self.times(2.5, 2):
            dice = self.random.random()
            if len(own) < 3 or (dice < 0.15 and len(own) < 8):
                offering = [other for other in own if other[0] == "U"]  # a user's own notes have no new-note button
                if offering and self.random.random() < 0.5:
                    note = f"N{self.next()}"
                    self.add(at, actor, "new", note, self.random.choice(offering), self.next())
                else:
                    note = f"U{self.next()}"
                    self.add(at, writer, "write", note, "rename", self.next())
                own.append(note)
            elif dice < 0.27:
                self.add(at, actor, "close", own.pop(self.random.randrange(len(own))))
            else:
                note = self.random.choice(shared if dice < 0.45 else own)
                verb = self.random.choice(("type", "type", "type", "title", "drag", "size"))
                if note in shared and self.random.random() < 0.1:
                    verb = "close"
                leaves = verb == "type" and actor in self.cast.leaving and self.random.random() < 0.15
                self.add(at, actor, verb, note, "then leaves" if leaves else "", self.next())

    def queue(self, session):
        actor, own = f"queue {session}", []
        for at in self.times(3, 3):
            dice = self.random.random()
            if len(own) < 2 or (dice < 0.25 and len(own) < 10):
                own.append(f"note_q{self.next()}")
                self.add(at, actor, "write", own[-1], "dying" if self.random.random() < 0.15 else "whole", self.next())
            elif dice < 0.5:
                how = self.random.choice(("alone", "alone", "held", "dying"))
                self.add(at, actor, "pass", "", how, self.random.randint(1, 400))
            elif dice < 0.6:
                self.add(at, actor, "close", own.pop(self.random.randrange(len(own))))
            elif dice < 0.65:
                self.add(at, actor, "kill")
            else:
                self.add(at, actor, self.random.choice(("type", "drag")), self.random.choice(own), "", self.next())


def make(cast, seconds, seed):
    return Planner(cast, seconds, seed).plan()
