"""The users at the desktop. A user does a step, waits for its result and records it."""
import time

import plan
import texts
from desktop import Gone
from ledger import Typed, as_note, read, written_text

PATIENCE = 20
BODY, TITLE, CAPTION = (30, 80), (20, 12), (60, 24)  # points of a note, at 96 DPI


def is_of(window, note):
    """Whether a window shows a note: its title has the note's name, or for a user's new note the first text typed."""
    if note.kind == "N":
        return note.typed[0].text in window.title
    if note.kind == "Q":
        return window.title.endswith(note.name)  # users type at the start
    return written_text(window.title).split(" ")[0] == note.name


class User:
    """`site` knows the displays of this user, which processes live, and whether a save may fail now (`is_hindered`)."""

    def __init__(self, name, folder, site, ledger):
        self.name, self.folder, self.site, self.ledger = name, folder, site, ledger
        self.to_close = []  # steps whose note could not be closed yet

    def do(self, step):
        if step.verb == "new":
            return self.make(step)
        if step.verb == "close":
            self.to_close = [late for late in self.to_close if not self.tried(late)]
        if not self.tried(step) and step.verb == "close":
            self.to_close.append(step)

    def tried(self, step):
        note = self.ledger.known(step.note)
        if note is None or note.path is None:
            self.ledger.count("steps without their note")
            return True
        try:
            return self.on_window(step, note)
        except Gone:
            self.ledger.count("steps cut off by the end of a display")
            if step.verb == "close":
                self.removed(note)
            return True

    def on_window(self, step, note):
        """Does the step. False if no display shows the note."""
        display, window = self.find(note)
        if display is None:
            self.ledger.count("steps without a display" if window is None else "steps without a window")
            return False
        note.hands.add(display.pid)
        answer = getattr(self, step.verb)(step, note, display, window)
        self.ledger.count(f"user: {step.verb}" if answer == "done" else f"steps answered: {answer}")
        return True

    def find(self, note):
        """The display and the window that show a note. Without them: None, and None or the displays there are."""
        displays = self.site.displays(self.name)
        for display in displays:
            for window in display.notes():
                if is_of(window, note):
                    return display, window
        return None, displays or None

    # What a user does

    def type(self, step, note, display, window, point=BODY):
        answer = display.click(window, *point)
        if answer != "done":
            return answer
        typed = Typed(plan.letters(step.number), display.pid)
        with self.ledger.lock:
            note.typed.append(typed)
        answer = display.type(window, typed.text)
        typed.at = time.time()
        if answer != "done":
            note.typed.remove(typed)
            return answer
        if step.how == "then leaves":
            self.site.leave(self.name)
        if note.kind == "S":
            note.typed.remove(typed)  # somebody else may overwrite it
        else:
            self.settle(note, display, typed)
        return answer

    def title(self, step, note, display, window):
        return self.type(step, note, display, window, TITLE)

    def drag(self, step, note, display, window):
        x, y = texts.cell(step.number * 7)
        answer = display.drag(window, *CAPTION, CAPTION[0] + x - window.left, CAPTION[1] + y - window.top)
        return answer if answer != "done" else self.placed(note, display, answer)

    def size(self, step, note, display, window):
        corner = window.width - 3, window.height - 3
        to = 240 + step.number % 40, 200 + step.number % 60
        answer = display.drag(window, *corner, *to)
        return answer if answer != "done" else self.placed(note, display, answer)

    def close(self, step, note, display, window):
        answer = display.click(window, window.width - 15, 13)
        if answer != "done":
            return answer
        self.wait(display, lambda: read(self.path(note)) is None, 3 if note.kind == "S" else PATIENCE)
        self.removed(note)
        return answer

    def make(self, step):
        """Creates a note with the button of another one. It has no title, so the user types one."""
        source = self.ledger.known(step.how)
        try:
            display, window = self.find(source) if source and source.path else (None, None)
            if display is None:
                return self.ledger.count("steps without a window")
            before = {other.handle for other in display.notes()}
            if display.click(window, window.width - 39, 13) != "done":
                return self.ledger.count("steps answered: covered")
            self.ledger.count("new notes asked for")
            made = []
            self.wait(display, lambda: made.extend(other for other in display.notes() if not other.title and
                                                   other.handle not in before) or made, PATIENCE)
            if len(made) != 1:
                return self.ledger.count(f"new notes not followed: {len(made)} windows")
            note = self.ledger.note(step.note, self.folder)
            typed = Typed(plan.letters(step.number), display.pid)
            note.path, note.typed, note.hands = None, [typed], {display.pid}
            answers = display.click(made[0], *TITLE), display.type(made[0], typed.text)
            if answers != ("done", "done"):
                return self.ledger.count(f"new notes not followed: {', '.join(answers)}")
            self.wait(display, lambda: self.look_for(note, typed.text), PATIENCE)
            if note.path:
                typed.state = "saved"
            self.ledger.count("user: new" if note.path else "new notes not followed: not saved")
        except Gone:
            self.ledger.count("new notes not followed: the display ended")

    def look_for(self, note, tag):
        for path in self.folder.glob("????????-*.json"):
            content = as_note(read(path))
            if content and tag in content.get("title", ""):
                note.path, note.made = path, time.time()
        return note.path

    # The result of a step

    def path(self, note):
        return note.path

    def wait(self, display, condition, patience):
        """Waits for the condition while the display lives. Returns whether it became true in time."""
        end = time.time() + patience
        while time.time() < end:
            if condition():
                return True
            if not self.site.is_alive(display.pid):
                return condition()
            time.sleep(0.05)
        return False

    def settle(self, note, display, typed):
        def is_saved():
            content = as_note(read(self.path(note)))
            return content and typed.text in content["title"] + "\n" + content["content"]

        begun = time.time()
        if self.wait(display, is_saved, PATIENCE):
            typed.state = "saved"
            for other in note.typed:
                other.state = "saved" if other.state == "waiting" and other.pid == display.pid else other.state
        elif not self.site.is_alive(display.pid):
            self.forget(note, display.pid)
        else:
            typed.state = "waiting"
            self.explain(note, display, begun, f"{typed.text!r} was not saved in {note.name}")

    def placed(self, note, display, answer):
        if note.kind == "S":
            return answer
        window = next((each for each in display.notes() if is_of(each, note)), None)
        if window is None:
            return answer

        def is_saved():
            content = as_note(read(self.path(note)))
            return content and content.get("position") == window.place

        begun = time.time()
        if self.wait(display, is_saved, PATIENCE):
            for typed in note.typed:
                typed.state = "saved" if typed.state == "waiting" and typed.pid == display.pid else typed.state
        elif self.site.is_alive(display.pid):
            self.explain(note, display, begun, f"the new place of {note.name} was not saved")
        return answer

    def explain(self, note, display, begun, what):
        """A failed save is allowed if there was a reason for it and it was logged."""
        if self.site.is_hindered(self.name, begun, note.path):
            self.ledger.count("saves that failed for a known reason")
        else:
            self.ledger.problem(f"{what} by process {display.pid} in {PATIENCE} s")

    def forget(self, note, pid):
        """Text that waited in a dead process is lost, or saved if the process was told that its session ends."""
        for typed in note.typed:
            if typed.pid == pid and typed.state in ("typed", "waiting"):
                told = typed.at < self.site.told_of_end(pid)
                kept = told and not self.site.is_hindered(self.name, typed.at, note.path)
                typed.state = "saved" if kept else "lost"
                self.ledger.count("texts saved by the end of a session" if kept else "texts lost with a killed display")

    def removed(self, note):
        with self.ledger.lock:
            note.removed, note.removed_by = time.time(), self.name
        self.ledger.count("notes closed by users")
