"""Writes notes in a separate process, so that the soak can kill it. Each line of the input is an order: a JSON array of
the way of writing, the path and the text. The answer to each order is one line."""
import json
import os
import sys
import time


def in_place(path, content):
    with open(path, "wb", buffering=0) as file:
        third = len(content) // 3 + 1
        for start in range(0, len(content), third):
            file.write(content[start:start + third])
            time.sleep(0.002)


def by_renaming(path, content):
    with open(path + ".part", "wb") as file:
        file.write(content)
    os.replace(path + ".part", path)


def by_replacing(path, content):
    if os.path.exists(path):
        os.rename(path, path + ".bak")
    by_renaming(path, content)
    if os.path.exists(path + ".bak"):
        os.unlink(path + ".bak")


def delete(path, _):
    os.unlink(path)


WAYS = {"in place": in_place, "rename": by_renaming, "replace": by_replacing, "delete": delete}

if __name__ == "__main__":
    for line in sys.stdin:
        way, path, text = json.loads(line)
        try:
            WAYS[way](path, text.encode("latin-1"))
            print("done", flush=True)
        except OSError as error:
            print(error, flush=True)
