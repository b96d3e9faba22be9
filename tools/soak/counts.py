"""The resources of a long-lived process, and whether they grow."""
import pathlib
from dataclasses import dataclass

# The allocator keeps freed memory, so the memory of a process may grow by this much.
MEMORY_SLACK_KB = 4096
MEMORY_SLACK_PART = 0.25


@dataclass
class Sample:
    when: str
    counts: dict
    threads: int
    descriptors: int
    memory_kb: int
    is_sanitized: bool  # a sanitizer keeps freed memory for a while: then memory is not compared

    def row(self):
        return {**self.counts, "threads": self.threads, "descriptors": self.descriptors, "memory KB": self.memory_kb}


def take(when, pid, counts):
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    value = {line.split(":")[0]: line.split()[1] for line in status.splitlines() if len(line.split()) > 1}
    return Sample(when, counts, int(value["Threads"]), len(list(pathlib.Path(f"/proc/{pid}/fd").iterdir())),
                  int(value["RssAnon"]), "libasan" in pathlib.Path(f"/proc/{pid}/maps").read_text())


def compare(name, at_rest, after_minute, end, drained, problem):
    """`at_rest` and `drained` are samples without any note: all counts must be equal. The memory at the end is compared
    with that after the first minute."""
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
