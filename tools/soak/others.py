"""Other events on the machine: displays are killed, the disk is full for a while, logons end and begin, the dispatcher
runs."""
import datetime
import re
import time

from desktop import Gone
from machine import TASK

DISK_FULL = "WriteFile:every=fail(112)"
DIES_AT = "FlushFileBuffers:1=kill", "MoveFileExW:1=kill", "WriteFile:1=kill"


class Site:
    """What the users of a soak need to know about the machine."""

    def __init__(self, machine):
        self.machine = machine
        self.full = {}  # user -> when the disk was last full

    def displays(self, user):
        return self.machine.displays(session_of(user))

    def is_alive(self, pid):
        return self.machine.is_alive(pid)

    def told_of_end(self, pid):
        """When a process was told that its session ends; 0 if it was not."""
        return self.machine.left.get(pid, 0)

    def leave(self, user):
        """The user logs off and on again."""
        self.machine.end(session_of(user), politely=True)
        time.sleep(1)
        self.machine.begin(session_of(user))

    def is_hindered(self, user, since, path):
        """Whether the disk was full, or the log has a failed save of the note."""
        return self.full.get(user, 0) >= since or has_failed_save(self.machine.log_text(), since, path)


def has_failed_save(log, since, path):
    lines = re.findall(rf"^(\S+)Z .*saveNote failed: id={re.escape(path.stem)} ", log, re.M)
    times = (datetime.datetime.fromisoformat(text + "+00:00").timestamp() for text in lines)
    return any(time >= since - 1.5 for time in times)


def session_of(user):
    return user.split()[-1]


class Others:
    def __init__(self, machine, site, ledger, writers, stopping):
        self.machine, self.site, self.ledger, self.writers, self.stopping = machine, site, ledger, writers, stopping

    def do(self, step):
        getattr(self, step.verb)(step)

    def kill(self, step):
        victim = self.writers.get(step.note)
        if victim:
            return victim.kill()
        for display in self.site.displays(step.note):
            if step.how == "at once":
                self.machine.kill(display.pid)
                self.ledger.count("displays killed")
            else:
                self.kill_in_save(display, DIES_AT[int(step.at * 100) % len(DIES_AT)])

    def kill_in_save(self, display, fault):
        self.machine.lost.add(display.pid)
        try:
            display.ask(f"fault {fault}")
            for _ in range(100):
                if not self.machine.is_alive(display.pid):
                    break
                time.sleep(0.1)
            else:
                display.ask("faults clear")
                self.machine.lost.discard(display.pid)
        except Gone:
            pass
        if not self.machine.is_alive(display.pid):
            self.ledger.count("displays killed in a save")

    def fill(self, step):
        def each(request):
            for display in self.site.displays(step.note):
                try:
                    display.ask(request)
                except Gone:
                    pass

        self.site.full[step.note] = time.time() + 3600
        each(f"fault {DISK_FULL}")
        self.stopping.wait(step.number)
        each("faults clear")
        self.site.full[step.note] = time.time()
        self.ledger.count("times the disk was full")

    def reset(self, step):
        self.machine.end(step.note)
        self.stopping.wait(step.number)
        self.machine.begin(step.note)
        self.ledger.count("sessions reset")

    def launch(self, _):
        status, said = self.machine.run("Vellumd", "--launch-user-sessions", token="SYSTEM@0")
        self.ledger.exits[f"--launch-user-sessions: {status}"] += 1
        if status != 0:
            self.ledger.problem(f"the dispatcher ended with {status}: {said[-300:]}")

    def fire(self, _):
        status, said = self.machine.run("vellum-fire-task", TASK, token="SYSTEM@0")
        self.ledger.exits[f"fired task: {status}"] += 1
        if status != 0:
            self.ledger.problem(f"the task cannot be fired: {said}")
