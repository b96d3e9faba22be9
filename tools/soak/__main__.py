"""A soak test: random writers, users, logons and kills on one machine; in the end every note is checked.

    ./dev.sh soak [MINUTES] [SEED] [--plan]            the machine of the stand-in, all roles
    ./dev.sh soak wine [MINUTES] [SEED] [--plan]       the plain display role under Wine
    python3 -B tools/soak --build build/native 10 7    another build, here with sanitizers (./dev.sh build native)

The plan depends on the seed and the length only (plan.py); its outcome depends on timing. All processes are real.
Users act through the socket of the display (docs/platform.md), under Wine by messages to its windows. A full disk is
simulated by a fault in the display: its writes fail with error 112, those of other processes do not.

Checked all the time:
- A note that only its writer changes is shown as it was written, and its file does not change.
- What a user does reaches the file soon, unless the display is killed or logs a failed save.

Checked in the end:
- Each note is whole and in its place, unless somebody removed it.
- A change that a display still holds is written by its next save.
- A new display shows exactly the notes of its folder.
- There are no unexpected files and no locks. Temporary files are left only by displays that were killed.
- A display that was never killed has, without its notes, as many handles, objects, threads and file descriptors as
  before its first note. Its memory is close to that of the first minute (counts.py).

Wine does not report handles or GDI objects of a process, and has no faults, no second session and no private queues.
There the file descriptors are checked instead of the handles, and the rest is left out.

On a problem the exit status is 1, and the seed and the folder, which is kept, are printed.
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
    options.add_argument("--plan", action="store_true", help="print the plan and exit")
    options.add_argument("--build", default="build/native-release", help="folder with the built programs")
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

    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))  # ends every process that was started
    folder = pathlib.Path(tempfile.mkdtemp(prefix="soak-"))
    say(f"== {len(steps)} steps in {options.minutes:g} minutes, seed {options.seed}, in {folder}")
    ledger = Ledger(say)
    theatre = Theatre(folder, os.path.realpath(options.build), ledger)
    theatre.run(steps, seconds)

    say("\n== Actions")
    for what, number in sorted(ledger.counts.items()) + sorted(ledger.exits.items()):
        say(f"  {number:7} {what}")
    say("\n== Notes in the end")
    for line in [*theatre.fates, "", "== Resources of the long-lived processes", *theatre.summary()]:
        say(line)
    for problem in ledger.problems:
        say(f"WRONG: {problem}")
    if ledger.problems:
        say(f"\n== seed {options.seed}: {len(ledger.problems)} problems; {folder} is kept")
        return 1
    shutil.rmtree(folder)
    say(f"\n== seed {options.seed}: no problems")
    return 0


if __name__ == "__main__":
    sys.exit(main())
