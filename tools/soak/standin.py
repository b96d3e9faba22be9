"""A soak of the whole machine on the stand-in."""
import time

import accounts
from machine import USERS, Machine
from others import Others, Site
from plan import Cast, Step
from queues import QueueActor
from stage import Stage, watch_written
from theatre import Theatre
from users import User
from writers import Writer

CAST = Cast(writers={"writer 1": "ann", "writer 2": "ann", "writer 3": "bob"},
            users={"user 1": "ann", "user 2": "ann", "user 3": "bob"},
            logons=("2", "3"), leaving=("user 2", "user 3"), killed=("user 2", "user 3"),
            filled=("user 1", "user 2", "user 3"), queues=("1", "2"), dispatcher=True)
LONG_LIVED = "1"  # the session whose displays are never killed
VICTIM = b'{"id": "victim", "title": "VICTIM"}'


class StandIn(Theatre):
    def __init__(self, folder, build, ledger):
        super().__init__(ledger)
        self.machine = Machine(folder, build)
        self.site = Site(self.machine)
        self.folders = {user: self.machine.notes(user) for user in ("ann", "bob")}
        self.writers = {name: Writer(name, self.folders[place], ledger) for name, place in CAST.writers.items()}
        self.users = {name: User(name, self.folders[place], self.site, ledger) for name, place in CAST.users.items()}
        self.victims = [path for folder in self.folders.values() for path in
                        (folder.parent / "victim.json", folder.parent.parent / "victim.json")]

    # Steps of the soak

    def run(self, steps, seconds):
        try:
            self.prepare()
            others = Others(self.machine, self.site, self.ledger, self.writers, self.stopping)
            actors = {**self.writers, **self.users, **self.queues,
                      **{name: others for name in ("killer", "disk", "logons", "dispatcher")}}
            Stage(steps, seconds, self.ledger, self.stopping).play(actors, self.watch, lambda: self.sample("minute 1"))
            self.settle()
            self.account()
            self.drain()
        finally:
            self.stopping.set()
            for writer in self.writers.values():
                writer.stop()
            self.machine.stop()

    def prepare(self):
        for path in self.victims:
            path.write_bytes(VICTIM)
        status, said = self.machine.run("Vellumd", "--register", token="eve@9 high")
        self.expect(status == 0, f"--register ended with {status}: {said}")
        self.expect(self.until(lambda: self.is_served()), "not every session has one display")
        self.long_lived = {"display": self.machine.displays(LONG_LIVED)[0]}
        first = QueueActor("queue 1", self.machine, self.ledger, 0)
        first.staged = first.stage()
        first.write(Step(0, "queue 1", "write", "note_q0", "whole", 0))
        first.recover(Step(0, "queue 1", "pass"))
        self.expect(self.until(lambda: self.machine.displays("1", of_queues=True)), "no queue is displayed")
        self.long_lived["queue display"] = self.machine.displays("1", of_queues=True)[0]
        kept = self.long_lived["queue display"].pid
        self.queues = {f"queue {session}": QueueActor(f"queue {session}", self.machine, self.ledger, kept)
                       for session in CAST.queues}
        for actor in self.queues.values():
            actor.staged = first.staged
        self.warm_up()
        self.sample("at rest")

    def warm_up(self):
        writer = self.writers["writer 1"]
        writer.do(Step(0, writer.name, "write", "U0", "rename", 1))
        self.expect(self.until(lambda: self.shows("display", 1)), "a note is not shown")
        self.expect(self.until(lambda: self.shows("queue display", 1)), "a note of a queue is not shown")
        self.do_everything_once(self.users["user 1"], "U0")
        self.do_everything_once(self.queues["queue 1"], "note_q0")
        self.expect(self.until(lambda: self.shows("display", 0) and self.shows("queue display", 0)),
                    "notes do not close")

    def watch(self):
        for session, user in USERS.items():
            for display in self.machine.displays(session):
                watch_written(self.ledger, self.folders[user], display)
        for pid in self.machine.died_unexpectedly():
            self.ledger.problem(f"process {pid}, which the soak did not kill, has ended")

    # The end

    def settle(self):
        """Restores all sessions and displays, and gets waiting changes saved."""
        for session in set(USERS) - set(self.machine.logons):
            self.machine.begin(session)
        self.expect(self.until(self.serve), "not every session has a display in the end")
        self.expect(self.until(self.queues_are_recovered),
                    f"the passes leave notes in queues: {self.wrongly_shown_in_queues()}")
        self.bring_out_all(lambda note: [self.queues["queue 1"]] if note.kind == "Q" else self.users.values())

    def account(self):
        for path in self.victims:
            self.expect(path.read_bytes() == VICTIM, f"{path} was changed")
        accounts.check_notes(self.ledger, self.queues["queue 1"].path)
        accounts.check_unfollowed(self.ledger, self.folders.values(), ("ann", "bob"))
        accounts.check_files(self.ledger, self.machine.folder, accounts.ON_MACHINE, self.machine.lost)
        accounts.check_locks(self.ledger, self.machine)
        self.fates = accounts.fates(self.ledger)
        self.sample("end")
        for session in set(USERS) - {LONG_LIVED}:  # so that new displays start
            for display in self.machine.displays(session):
                self.machine.kill(display.pid)
        self.expect(self.until(self.serve), "a killed display does not come back")
        time.sleep(1)
        for session in set(USERS) - {LONG_LIVED}:
            accounts.check_shown(self.ledger, self.folders[USERS[session]], self.machine.displays(session)[0])
        self.expect(self.until(lambda: not self.wrongly_shown_in_queues(), 1),
                    f"notes in queues not shown once: {self.wrongly_shown_in_queues()}")

    def wrongly_shown_in_queues(self):
        """The notes in queues that are not shown exactly once, and how often each is shown."""
        titles = [window.title for session in CAST.queues for display in
                  self.machine.displays(session, of_queues=True) for window in display.notes()]
        times = {note.name: sum(title.endswith(note.name) for title in titles) for note in self.ledger.all("Q")
                 if self.queues["queue 1"].path(note).exists()}
        return {name: number for name, number in times.items() if number != 1}

    def queues_are_recovered(self):
        """Whether all queues are displayed. A display that starts while a pass uses the store exits; the next pass
        starts it again."""
        passes = [self.queues[f"queue {session}"].recovers_all() for session in CAST.queues]
        return all(passes) and self.until(lambda: not self.wrongly_shown_in_queues(), 2)

    def drain(self):
        """Without notes, the long-lived displays must have the same resources as at rest."""
        for path in list(self.folders["ann"].glob("*.json")):
            path.unlink()
        for name in self.long_lived:
            self.expect(self.until(lambda: self.closes_all(name)), f"the {name} does not close its notes")
        self.sample("drained")
        self.compare()
        display = self.long_lived["display"]
        self.end(display)
        self.expect(self.until(lambda: not self.machine.is_alive(display.pid)), "the display does not end")
        self.expect(self.until(lambda: not display.path.exists()), "its socket stays")

    def closes_all(self, name):
        for window in self.long_lived[name].notes():
            self.long_lived[name].ask(f"close {window.handle}")
        return self.shows(name, 0)

    # Conditions

    def is_served(self):
        return all(len(self.machine.displays(session)) == 1 for session in USERS)

    def serve(self):
        if not self.is_served():
            self.machine.run("Vellumd", "--launch-user-sessions", token="SYSTEM@0")
        return self.is_served()
