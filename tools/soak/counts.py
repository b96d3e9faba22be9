"""What a process that lives long has open, and whether that grows."""
import pathlib
from dataclasses import dataclass

# The allocator keeps what it has got; what a note took comes and goes in other sizes.
MEMORY_SLACK_KB = 4096
MEMORY_SLACK_PART = 0.25


@dataclass
class Sample:
    when: str
    counts: dict
    threads: int
    descriptors: int
    memory_kb: int
    is_sanitized: bool  # then what was freed is kept for a while, and memory tells nothing

    def row(self):
        return {**self.counts, "threads": self.threads, "descriptors": self.descriptors, "memory KB": self.memory_kb}


def take(when, pid, counts):
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    value = {line.split(":")[0]: line.split()[1] for line in status.splitlines() if len(line.split()) > 1}
    return Sample(when, counts, int(value["Threads"]), len(list(pathlib.Path(f"/proc/{pid}/fd").iterdir())),
                  int(value["RssAnon"]), "libasan" in pathlib.Path(f"/proc/{pid}/maps").read_text())


def compare(name, at_rest, after_minute, end, drained, problem):
    """At rest and drained the process shows no note: whatever is counted is equal then. Its memory at the end is held
    against the first minute."""
    for kind, count in drained.row().items():
        if kind != "memory KB" and count != at_rest.row()[kind]:
            problem(f"{name}: {kind} grew from {at_rest.row()[kind]} to {count}")
    most = after_minute.memory_kb * (1 + MEMORY_SLACK_PART) + MEMORY_SLACK_KB
    if end.memory_kb > most and not end.is_sanitized:
        problem(f"{name}: memory grew from {after_minute.memory_kb} KB to {end.memory_kb} KB")


def table(name, samples):
    yield f"{name:22}" + "".join(f"{sample.when:>18}" for sample in samples)
    for kind in samples[0].row():
        yield f"  {kind:20}" + "".join(f"{sample.row().get(kind, 0):>18}" for sample in samples)
