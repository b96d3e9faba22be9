"""A soak: random writers, users, logons and kills over one machine, and the accounts of every note in the end.

    python3 tools/soak [--wine] [--plan] [--build FOLDER] [MINUTES] [SEED]
"""
import argparse
import os
import pathlib
import shutil
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
    say(f"\n== seed {options.seed}: " + (f"{len(ledger.problems)} problems; {folder} is kept" if ledger.problems else "all is well"))
    if not ledger.problems:
        shutil.rmtree(folder)
    return 1 if ledger.problems else 0


if __name__ == "__main__":
    sys.exit(main())
