"""What a user sees and does: the notes on the desktop of one display process, through the requests that
docs/platform.md describes. WineUser.cpp answers in the same format."""
import re
import socket
from dataclasses import dataclass

LINE = re.compile(r'^( *)([0-9a-f]+) (-?\d+),(-?\d+) (\d+)x(\d+) style=([0-9a-f]+) ex=[0-9a-f]+ \S+ (\S+) "', re.M)


class Gone(Exception):
    """The process does not answer."""


@dataclass
class Window:
    handle: str
    left: int
    top: int
    width: int
    height: int
    title: str = ""
    body: str = ""

    @property
    def place(self):
        return {"x": self.left, "y": self.top, "width": self.width, "height": self.height}


def parse(text):
    """The notes in a list of windows, the topmost first."""
    notes = []
    found = list(LINE.finditer(text))
    for match, after in zip(found, found[1:] + [None]):
        rest = text[match.end():after.start() if after else len(text)]
        content, kind = rest[:rest.rindex('"')], match[8]
        if kind == "Vellumd.NoteWindow":
            notes.append(Window(match[2], *(int(match[group]) for group in range(3, 7))))
        elif notes and match[1] and kind.upper() == "EDIT":
            notes[-1].title = content
        elif notes and match[1]:
            notes[-1].body = content
    return notes


class Desktop:
    """Subclasses have ask(request), which raises Gone."""

    def notes(self):
        return parse(self.ask("list"))

    def counts(self):
        return {kind: int(count) for kind, count in (line.split() for line in self.ask("counts").splitlines())}

    def click(self, window, x, y):
        return self.ask(f"in {window.handle} click {x} {y}").strip()

    def drag(self, window, x, y, to_x, to_y):
        return self.ask(f"in {window.handle} drag {x} {y} {to_x} {to_y}").strip()

    def type(self, window, text):
        return self.ask(f"in {window.handle} type {text}").strip()


class SocketDesktop(Desktop):
    PATIENCE = 15

    def __init__(self, path):
        self.path, self.pid = path, int(path.name)
        try:
            self.since = path.stat().st_mtime
        except OSError as error:
            raise Gone from error

    def ask(self, request):
        # A socket's path is limited to 107 bytes, so use a short path through its folder's descriptor.
        import os
        folder = os.open(self.path.parent, os.O_RDONLY | os.O_DIRECTORY)
        try:
            with socket.socket(socket.AF_UNIX) as connection:
                connection.settimeout(self.PATIENCE)
                connection.connect(f"/proc/self/fd/{folder}/{self.path.name}")
                connection.sendall(request.encode() + b"\n")
                answer = b"".join(iter(lambda: connection.recv(65536), b"")).decode(errors="replace")
        except OSError as error:
            raise Gone from error
        finally:
            os.close(folder)
        if not answer:
            raise Gone
        return answer
