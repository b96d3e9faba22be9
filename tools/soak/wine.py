"""The soak of the plain display role under Wine, in a session of tools/wine-session.sh. There are two instances: one is
killed now and then, the other never. Writers are Linux processes; users send messages to the windows."""
import getpass
import os
import pathlib
import subprocess
import threading
import time

import accounts
from desktop import Desktop, Gone
from others import has_failed_save
from plan import Cast, Step
from stage import Stage, watch_written
from theatre import Theatre
from users import User
from writers import Writer

CAST = Cast(writers={"writer 1": "killed", "writer 2": "killed", "writer 3": "kept"},
            users={"user 1": "killed", "user 2": "killed", "user 3": "kept"}, killed=("user 1",), dispatcher=True)
VICTIM = b'{"id": "victim", "title": "VICTIM"}'


class Helper:
    """The program that acts on the windows (WineUser.cpp). One request at a time."""

    def __init__(self, build):
        self.lock = threading.Lock()
        self.process = subprocess.Popen(["wine", f"{build}/vellum-soak-user.exe"], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)

    def ask(self, request):
        with self.lock:
            self.process.stdin.write(request.encode() + b"\n")
            self.process.stdin.flush()
            lines = []
            for line in iter(self.process.stdout.readline, b""):
                line = line.decode(errors="replace").replace("\r", "")
                if line == ".\n":
                    return "".join(lines)
                lines.append(line)
        raise Gone


class WineDesktop(Desktop):
    def __init__(self, helper, process, number, since):
        self.helper, self.process, self.number, self.since = helper, process, number, since
        self.pid = process.pid

    def ask(self, request):
        if self.process.poll() is not None:
            raise Gone
        return self.helper.ask(f"list {self.number}" if request == "list" else request)

    def counts(self):
        """Wine does not report handles or GDI objects: the file descriptors of the process are counted instead."""
        return {"windows": len(self.notes())}


class WineSite:
    """The displays, by the folder that each one shows."""

    def __init__(self, helper, build, folder):
        self.helper, self.build, self.folder = helper, build, folder
        self.shown, self.lock, self.ended = {}, threading.Lock(), set()

    def begin(self, name):
        return subprocess.Popen(["wine", f"{self.build}/Vellumd.exe", "--no-autostart", "--folder",
                                 "Z:" + str(self.folder).replace("/", "\\"), "-i", name],
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def start(self, name):
        """Starts a process. Returns its exit status if it exits at once because a display is running. Otherwise it is
        the display now."""
        with self.lock:
            # The list can miss a display while another one ends, so known displays count, too.
            before, since = self.helper.ask("displays").split(), time.time()
            before += [display.number for other in self.shown for display in self.displays_of(other)]
            process = self.begin(name)
            for _ in range(600):
                new = [number for number in self.helper.ask("displays").split() if number not in before]
                if new:
                    self.shown[name] = WineDesktop(self.helper, process, new[0], since)
                    return None
                if process.poll() is not None:
                    return process.returncode
                time.sleep(0.1)
            process.kill()
            process.wait()
            return "no display"

    def displays_of(self, name):
        display = self.shown.get(name)
        return [display] if display and display.process.poll() is None else []

    def displays(self, user):
        return self.displays_of(CAST.users[user])

    def is_alive(self, pid):
        return any(display.pid == pid for name in self.shown for display in self.displays_of(name))

    def told_of_end(self, _):
        return 0

    def is_hindered(self, _, since, path):
        logs = pathlib.Path(os.environ["WINEPREFIX"]).glob("drive_c/ProgramData/OmbrelService_Common*/Logs/*.log*")
        return any(has_failed_save(log.read_text(errors="replace"), since, path) for log in logs)


class Others:
    def __init__(self, site, writers, ledger):
        self.site, self.writers, self.ledger, self.lost = site, writers, ledger, set()

    def do(self, step):
        if step.verb != "kill":
            status = self.site.start("killed")
            self.ledger.exits[f"second process: {status}" if status is not None else "displays started"] += 1
            if status not in (None, 0):
                self.ledger.problem(f"a second process ended with {status}")
        elif step.note in self.writers:
            self.writers[step.note].kill()
        else:
            for display in self.site.displays(step.note):
                self.lost.add(display.pid)
                display.process.kill()
                display.process.wait()
                self.ledger.count("displays killed")


class Wine(Theatre):
    def __init__(self, folder, build, ledger):
        super().__init__(ledger)
        self.folder, self.notes = folder, folder / "notes"
        self.helper = Helper(build)
        self.site = WineSite(self.helper, build, self.notes)
        self.folders = {name: self.notes / name for name in ("kept", "killed")}
        self.writers = {name: Writer(name, self.folders[place], ledger) for name, place in CAST.writers.items()}
        self.users = {name: User(name, self.folders[place], self.site, ledger) for name, place in CAST.users.items()}
        self.others = Others(self.site, self.writers, ledger)
        self.victim = self.notes / "victim.json"

    def run(self, steps, seconds):
        try:
            self.prepare()
            actors = {**self.writers, **self.users, "killer": self.others, "dispatcher": self.others}
            Stage(steps, seconds, self.ledger, self.stopping).play(actors, self.watch, lambda: self.sample("minute 1"))
            self.site.start("killed")
            self.bring_out_all(lambda _: self.users.values())
            self.account(self.others.lost)
            self.drain()
        finally:
            self.stopping.set()
            for writer in self.writers.values():
                writer.stop()
            for display in self.site.shown.values():
                display.process.kill()
            self.helper.process.kill()

    def prepare(self):
        for folder in self.folders.values():
            folder.mkdir(parents=True)
        self.victim.write_bytes(VICTIM)
        for name in self.folders:
            self.expect(self.site.start(name) is None, f"no display of {name}")
        self.long_lived = {"display": self.site.shown["kept"]}
        writer, user = self.writers["writer 3"], self.users["user 3"]
        writer.do(Step(0, writer.name, "write", "U0", "rename", 1))
        self.expect(self.until(lambda: self.shows("display", 1)), "a note is not shown")
        self.do_everything_once(user, "U0")
        self.expect(self.until(lambda: self.shows("display", 0)), "the note does not close")
        self.sample("at rest")

    def watch(self):
        for name, folder in self.folders.items():
            for display in self.site.displays_of(name):
                watch_written(self.ledger, folder, display)
        for display in list(self.site.shown.values()):
            if display.process.poll() is not None and display.pid not in self.others.lost:
                self.others.lost.add(display.pid)
                self.ledger.problem(f"process {display.pid}, which the soak did not kill, has ended")

    def account(self, lost):
        self.expect(self.victim.read_bytes() == VICTIM, "a file outside of the folders was changed")
        accounts.check_notes(self.ledger, None)
        accounts.check_unfollowed(self.ledger, self.folders.values(), (getpass.getuser(),))
        accounts.check_files(self.ledger, self.folder, accounts.UNDER_WINE, lost)
        self.fates = accounts.fates(self.ledger)
        self.sample("end")
        self.site.shown["killed"].process.kill()
        self.site.shown["killed"].process.wait()
        self.site.start("killed")
        time.sleep(2)
        accounts.check_shown(self.ledger, self.folders["killed"], self.site.shown["killed"])

    def drain(self):
        for path in self.folders["kept"].glob("*.json"):
            path.unlink()
        self.expect(self.until(lambda: self.closes_all("display")), "the display does not let go of its notes")
        self.sample("drained")
        self.compare()
        display = self.long_lived["display"]
        self.end(display)
        self.expect(display.process.wait(30) == 0, "the display does not end with 0")
