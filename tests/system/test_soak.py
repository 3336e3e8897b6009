"""Many dictations in one run of the program, and what they leave behind in its process.

`scripts/soak` sets TARQ_SOAK to the count, and gives the release build, which is what the
memory figures are for. Without it the count is small and the memory isn't judged: the
sanitizers keep what was freed.
"""

import os
import unittest
from pathlib import Path
from typing import NamedTuple

from harness.testcase import DictationTestCase

COUNT = int(os.environ.get("TARQ_SOAK", "0"))
SMALL_COUNT = 10
SAMPLES = 10

HISTORY_KEEPS = 100

# Of resident memory, from the first sample to the last. What is in use doesn't grow (so says
# malloc_info), but the heap of a drawing thread keeps freed blocks of a MiB, and the interface's
# scripts have one that swings by half a MiB between collections: a thousand dictations were seen
# to end four MiB above the start. A recording left behind with each would be thirty or more.
GROWTH_LIMIT_KIB = 8 * 1024


class Sample(NamedTuple):
    """What a process holds."""

    descriptors: int
    sockets: int
    threads: int
    rss_kib: int
    pss_kib: int


class SoakTest(DictationTestCase):
    def test_dictations_leave_nothing_behind_in_the_process(self):
        count = COUNT or SMALL_COUNT
        every = max(1, count // SAMPLES)
        texts = [f"<dictation {number}>" for number in range(1, count + 1)]
        samples = []
        print("\ndictations descriptors sockets threads   RSS KiB   PSS KiB", flush=True)
        for number in range(1, count + 1):
            self.backend.set_transcript(texts[number - 1])
            self.record()
            self.editor.wait_for_text("".join(texts[:number]))
            if number % every == 0:
                samples.append(sample := self.sample())
                print("{:10} {:11} {:7} {:7} {:9} {:9}".format(number, *sample), flush=True)

        self.assertEqual([request["status"] for request in self.backend.requests()], [200] * count)
        self.assertEqual(self.tarq.history(), texts[:-HISTORY_KEEPS - 1:-1])
        self.assertEqual(self.tarq.recordings(), [])
        self.assertEqual({sample[:3] for sample in samples}, {samples[0][:3]})
        if COUNT:
            self.assertLess(samples[-1].rss_kib - samples[0].rss_kib, GROWTH_LIMIT_KIB)

    def sample(self) -> Sample:
        """Taken once none of the tools is left that a dictation and the focus poll start."""
        process = Path(f"/proc/{self.tarq.process.pid}")

        def at_rest() -> Sample | None:
            if children(process):
                return None
            try:
                threads = len(list((process / "task").iterdir()))
                sample = Sample(*descriptors(process), threads, *memory_kib(process))
            except FileNotFoundError:  # closed meanwhile, so not at rest yet
                return None
            return None if children(process) else sample

        return self.desktop.wait_until(at_rest, "a moment without child processes")


def children(process: Path) -> str:
    """Of its first thread, which starts them all."""
    return (process / "task" / process.name / "children").read_text()


def descriptors(process: Path) -> tuple[int, int]:
    """All of them, and the sockets among them."""
    targets = [os.readlink(link) for link in (process / "fd").iterdir()]
    return len(targets), sum(target.startswith("socket:") for target in targets)


def memory_kib(process: Path) -> tuple[int, int]:
    """Resident, and the share of it that is this process's own."""
    lines = (process / "smaps_rollup").read_text().splitlines()[1:]
    fields = {name: value for name, value in (line.split(":") for line in lines)}
    rss, pss = (int(fields[name].split()[0]) for name in ("Rss", "Pss"))
    return rss, pss


if __name__ == "__main__":
    unittest.main()
