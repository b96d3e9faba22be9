"""What writers write: notes and rubbish, each derived from its name and number only."""
import json
import random
import zlib

WORDS = "PRINTER FERRY BACKUP ÜBER 東京 RESTART MONDAY ROOM 12 100% {X} \\Y <Z> \"Q\" NOTE".split()
CELL = 290
COLUMNS, ROWS = 26, 14


def cell(number):
    """The coordinates of a cell of the desktop."""
    return number % COLUMNS * CELL + 10, number // COLUMNS % ROWS * CELL + 10


def title_and_body(name, number):
    dice = random.Random(number)
    lines = dice.choice((1, 1, 2, 5, 5, 200))
    body = "\n".join(" ".join(dice.choices(WORDS, k=dice.randint(1, 9))) for _ in range(lines))
    return f"{name} V{number}", body


def note(name, number):
    dice = random.Random(-number)
    title, body = title_and_body(name, number)
    x, y = cell(zlib.crc32(name.encode()))
    record = {"id": name, "title": title, "content": body, "author": "WRITER", "editable": True, "allowNewNote": True,
              "position": {"x": x, "y": y, "width": 260, "height": dice.choice((200, 260))}}
    if dice.random() < 0.3:
        record["bgColor"] = f"#{dice.randrange(1 << 24):06X}"
    text = json.dumps(record, ensure_ascii=dice.random() < 0.5, indent=dice.choice((None, 2)))
    return (b"\xef\xbb\xbf" if dice.random() < 0.1 else b"") + text.encode()


def rubbish(name, number, kind):
    """Content that is not a note, except "climbing id": a note whose id leads out of the folder; its file name wins."""
    dice = random.Random(number)
    if kind == "climbing id":
        return json.dumps({"id": "..\\victim", "title": f"{name} V{number}", "content": "CLIMBS"}).encode()
    return {
        "empty": b"",
        "cut": note(name, number)[:dice.randint(1, 60)],
        "text": b"This is no note.\r\n",
        "array": b"[1, 2, 3]",
        "no id": b'{"title": "NOBODY", "content": ""}',
        "deep": b"[" * 5000,
        "binary": dice.randbytes(3000),
    }[kind]
