"""A soak: writers, users, logons and kills at random over one machine, and the accounts of every note in the end.

    ./dev.sh soak [MINUTES] [SEED] [--plan]            the machine of the stand-in, all roles
    ./dev.sh soak wine [MINUTES] [SEED] [--plan]       the plain display under Wine
    python3 -B tools/soak --build build/native 10 7    another build: here with the sanitizers (./dev.sh build native)

The plan is made of the seed and the length alone (plan.py); what comes of it depends on who is first. All processes are
real. Users act through the socket of the display (docs/platform.md), under Wine by messages to its windows. The disk
is full by a fault in the display: its writes fail with error 112, those of others do not.

Watched all the time: what a writer alone has written is shown as it stands, and the file stays as it was left; what a
user does is in the file soon, unless the display is killed, or its log tells of a failed save. In the end: each
note is whole and where it belongs, or somebody removed it; what a display still held comes out with its next save; a
new display shows just the notes of its folder; no file and no lock is where none should be; a temporary file is there
only of a display that was killed; a display that nobody killed, without its notes, has as many handles, objects,
threads and descriptors as before its first note, and its memory is near that of the first minute (counts.py).

Wine tells neither handles nor GDI objects of a process, has no faults, one session, and no private queues: there the
descriptors stand for the handles, and the rest is left out. Whatever is wrong gives exit status 1, the seed and the
folder, which is kept.
"""
import argparse
import os
import pathlib
import shutil
import signal
import sys
import tempfile
import time

import plan
from ledger import Ledger


def say(text):
    print(text, flush=True)


def main():
    options = argparse.ArgumentParser(prog="soak")
    options.add_argument("minutes", nargs="?", type=float, default=3)
    options.add_argument("seed", nargs="?", type=int, default=int(time.time()))
    options.add_argument("--wine", action="store_true", help="the plain display role under Wine")
    options.add_argument("--plan", action="store_true", help="prints the plan and does nothing")
    options.add_argument("--build", default="build/native-release", help="the folder with the built programs")
    options = options.parse_args()
    if options.wine:
        from wine import CAST, Wine as Theatre
    else:
        from standin import CAST, StandIn as Theatre
    seconds = int(options.minutes * 60)
    steps = plan.make(CAST, seconds, options.seed)
    if options.plan:
        for step in steps:
            print(step)
        return 0

    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))  # whatever was started ends first
    folder = pathlib.Path(tempfile.mkdtemp(prefix="soak-"))
    say(f"== {len(steps)} steps in {options.minutes:g} minutes, seed {options.seed}, in {folder}")
    ledger = Ledger(say)
    theatre = Theatre(folder, os.path.realpath(options.build), ledger)
    theatre.run(steps, seconds)

    say("\n== What was done")
    for what, number in sorted(ledger.counts.items()) + sorted(ledger.exits.items()):
        say(f"  {number:7} {what}")
    say("\n== What became of the notes")
    for line in [*theatre.fates, "", "== What processes that live long have open", *theatre.summary()]:
        say(line)
    for problem in ledger.problems:
        say(f"WRONG: {problem}")
    if ledger.problems:
        say(f"\n== seed {options.seed}: {len(ledger.problems)} problems; {folder} is kept")
        return 1
    shutil.rmtree(folder)
    say(f"\n== seed {options.seed}: all is well")
    return 0


if __name__ == "__main__":
    sys.exit(main())
