"""A machine of the stand-in: its folder, its sessions, and the processes on it."""
import os
import pathlib
import signal
import subprocess
import tempfile
import threading
import time

from desktop import Gone, SocketDesktop

TASK = "Ombrel Agent Display Notes"
NOTES = "AppData/Local/Quorvane/Ombrel/Notes"
STORE = "AppData/Local/OmbrelAppletNotes"
USERS = {"1": "ann", "2": "ann", "3": "bob"}
FIRST_LOGON_TIME = 0x1DC2F6A5B3C4D10


class Machine:
    def __init__(self, folder, build):
        self.folder, self.build = pathlib.Path(folder), pathlib.Path(build)
        self.lock = threading.Lock()
        self.logons = {}  # session -> number of the logon
        self.last_logon = 0x1000
        self.lost = set()  # processes that the soak killed
        self.seen = set()  # displays that must live until the soak kills them
        self.left = {}     # process -> when it was told that its session ends
        for session in USERS:
            self.begin(session)
        for user in set(USERS.values()):
            self.notes(user).mkdir(parents=True, exist_ok=True)

    # Places

    def user_folder(self, user):
        return self.folder / "drive_c/Users" / user

    def notes(self, user):
        return self.user_folder(user) / NOTES

    def store(self, user="ann"):
        return self.user_folder(user) / STORE

    def log_text(self):
        return "".join(path.read_text(errors="replace") for path in
                       sorted(self.folder.glob("drive_c/ProgramData/*/Logs/*.log*")))

    # Logons

    def describe(self):
        text = ("[environment]\nPROGRAMDATA = C:\\ProgramData\n"
                "[monitor DISPLAY1]\nbounds = 0 0 7680 4320\nprimary = yes\n")
        for user in ("ann", "bob", "eve"):
            text += f"[user {user}]\nprofile = C:\\Users\\{user}\n"
        text += "administrator = yes\n"
        for session, number in sorted(self.logons.items()):
            text += (f"[session {session}]\nuser = {USERS[session]}\nlogon = {number:#x}\n"
                     f"logon time = {FIRST_LOGON_TIME + number:#x}\n")
        new = self.folder / "new-machine.txt"
        new.write_text(text)
        new.replace(self.folder / "machine.txt")

    def begin(self, session):
        with self.lock:
            self.last_logon += 1
            self.logons[session] = self.last_logon
            self.describe()

    def end(self, session, politely=False):
        """Ends the logon and, like Windows, every process in it. `politely` first tells processes with windows that the
        session ends."""
        for display in self.displays(session) + self.displays(session, of_queues=True) if politely else ():
            told = time.time()
            try:
                display.ask("end-session")
                self.left[display.pid] = told
            except Gone:
                pass  # it was killed meanwhile
        with self.lock:
            self.logons.pop(session, None)
            self.describe()
        for _ in range(2):
            for pid, token in self.processes():
                if f"@{session}" in token.split(" ")[0]:
                    self.kill(pid)
            time.sleep(0.1)

    # Processes

    def processes(self):
        """The processes on this machine: they have its folder in their environment."""
        mark = f"VELLUM_MACHINE={self.folder}".encode()
        for place in pathlib.Path("/proc").glob("[0-9]*/environ"):
            try:
                variables = place.read_bytes().split(b"\0")
            except OSError:
                continue
            if mark in variables:
                token = next((value[13:] for value in variables if value.startswith(b"VELLUM_TOKEN=")), b"")
                yield int(place.parent.name), token.decode()

    def start(self, program, *arguments, token, faults="", output=subprocess.DEVNULL, stdin=subprocess.DEVNULL):
        environment = {name: value for name, value in os.environ.items() if not name.startswith("VELLUM_")}
        environment |= {"VELLUM_MACHINE": str(self.folder), "VELLUM_TOKEN": token}
        if faults:
            environment["VELLUM_FAULTS"] = faults
        path = program if "/" in str(program) else self.build / program
        return subprocess.Popen([path, *arguments], env=environment, stdin=stdin, stdout=output, stderr=output)

    def run(self, program, *arguments, token, faults="", patience=60):
        """The exit status and the output. A file takes the output, since child processes could keep a pipe open."""
        with tempfile.TemporaryFile() as output:
            process = self.start(program, *arguments, token=token, faults=faults, output=output)
            try:
                status = process.wait(patience)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
                status = "no end"
            output.seek(0)
            return status, output.read().decode(errors="replace")

    def kill(self, pid):
        self.lost.add(pid)
        try:
            os.kill(pid, signal.SIGKILL)
        except ProcessLookupError:
            return
        while self.is_alive(pid):
            time.sleep(0.01)

    def is_alive(self, pid):
        try:
            state = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()[0]
        except OSError:
            return False
        return state not in "ZX"

    def displays(self, session, of_queues=False):
        """The display processes of a session: those of the plain role, or of private queues."""
        found = []
        for socket in (self.folder / "desktops" / session).glob("[0-9]*"):
            try:
                arguments = pathlib.Path(f"/proc/{socket.name}/cmdline").read_bytes()
                if self.is_alive(int(socket.name)) and (b"--applet-queue" in arguments) == of_queues:
                    found.append(SocketDesktop(socket))
            except (OSError, Gone):
                continue
        return found

    def died_unexpectedly(self):
        """The displays that have ended although the soak did not kill them."""
        for session in USERS:
            for display in self.displays(session) + self.displays(session, of_queues=True):
                try:
                    if b"VELLUM_FAULTS" not in pathlib.Path(f"/proc/{display.pid}/environ").read_bytes():
                        self.seen.add(display.pid)
                except OSError:
                    continue
        gone = {pid for pid in self.seen if not self.is_alive(pid)}
        self.seen -= gone
        return gone - self.lost

    def stop(self):
        for _ in range(3):
            for pid, _ in self.processes():
                self.kill(pid)
            time.sleep(0.1)

    # Locks

    def locked_files(self, folder):
        """The files below a folder on which some process holds a lock."""
        held = set()
        for line in pathlib.Path("/proc/locks").read_text().splitlines():
            words = line.split()
            if words[1] == "OFDLCK":
                major, minor, inode = words[5].split(":")
                held.add((int(major, 16), int(minor, 16), int(inode)))
        status = ((path, path.stat()) for path in folder.rglob("*") if path.is_file())
        return [path for path, of in status if (os.major(of.st_dev), os.minor(of.st_dev), of.st_ino) in held]
