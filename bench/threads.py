"""Measures how well the work of each plug-in divides among threads.

threads.py BENCH PACK SCAN DOCUMENT EDGE [PLUGIN ...]

BENCH is the program ThreadsBench, PACK the library of plug-ins and SCAN a cube of 8-bit values. Volumes have EDGE^3 pixels: a
foam where a plug-in takes binary images, else the enlarged scan. The table in DOCUMENT is replaced; of other plug-ins than the
named ones, rows stay.

Speed-ups with two threads are measured. Those with more are computed, because they would otherwise depend on the number of
processors and on what else these do: each job of a plug-in is divided as for so many threads, but runs on one, which times its
items. Items are then assigned in order, each to the thread that is free first, as the threads themselves take them.
"""

import heapq
import subprocess
import sys
from pathlib import Path

from cases import CASES, title
from document import replace_table
from wanted import require_known

THREADS = [4, 8, 16]
# The busiest thread may have so many times the mean work.
GOAL = 1.15
# A plug-in that spends a smaller share of its time in jobs than this has no balance worth reporting.
LEAST_SHARE = 0.01
HEADING = ["| plug-in | 2 threads, measured | outside | balance: 4 | 8 | 16 | speed-up: 4 | 8 | 16 |",
           "|---|" + "---:|" * 8]


def busiest(items, thread_count):
    """The work of the thread that has most of it, if each item goes to the thread that is free first."""
    work = [0.0] * thread_count
    for seconds in items:
        heapq.heapreplace(work, work[0] + seconds)
    return max(work)


class Runs:
    """The lines that the program prints for one plug-in."""

    def __init__(self, text):
        self.walls = {}  # seconds by number of threads
        self.runs = {}  # rounds by number of threads, each the seconds of the run and its jobs
        for line in text.splitlines():
            kind, *words = line.split()
            if kind == "wall":
                self.walls.setdefault(int(words[0]), []).append(float(words[1]))
            elif kind == "run":
                self.runs.setdefault(int(words[0]), []).append((float(words[1]), []))
                jobs = self.runs[int(words[0])][-1][1]
            else:
                jobs.append([float(word) for word in words])

    def measured_speed_up(self):
        return min(self.walls[1]) / min(self.walls[2])

    def outside(self, thread_count):
        """Seconds outside of jobs: the least of all rounds, because other programs only add to it."""
        return min(seconds - sum(map(sum, jobs)) for seconds, jobs in self.runs[thread_count])

    def jobs(self, thread_count):
        """The items of each job, and of each item the fastest round."""
        return [[min(item) for item in zip(*rounds)]
                for rounds in zip(*(jobs for _, jobs in self.runs[thread_count]))]

    def balance_and_speed_up(self, thread_count):
        jobs = self.jobs(thread_count)
        work = sum(map(sum, jobs))
        slowest = sum(busiest(items, thread_count) for items in jobs)
        outside = self.outside(thread_count)
        return (slowest * thread_count / work if work else 1.0), (outside + work) / (outside + slowest)

    def share_outside(self):
        outside = self.outside(THREADS[0])
        return outside / (outside + sum(map(sum, self.jobs(THREADS[0]))))


def row(case, runs):
    outside = runs.share_outside()
    balances, speed_ups = zip(*(runs.balance_and_speed_up(count) for count in THREADS))
    texts = [f"{balance:.2f}" if balance <= GOAL else f"**{balance:.2f}**" for balance in balances]
    if outside > 1 - LEAST_SHARE:
        texts = [""] * len(THREADS)
    cells = [title(case), f"{runs.measured_speed_up():.2f}", f"{100 * outside:.0f} %", *texts,
             *(f"{speed_up:.1f}" for speed_up in speed_ups)]
    return f"| {' | '.join(cells)} |"


def place(line):
    """Where a row of the table belongs."""
    return [title(case) for case in CASES].index(line.split("|")[1].strip())


def main():
    bench, pack, scan, document, edge, *wanted = sys.argv[1:]
    require_known(wanted, [case[0] for case in CASES])
    print("\n".join(HEADING))
    lines = []
    for case in CASES:
        plugin, _, kind, arguments_for = case
        if wanted and plugin not in wanted:
            continue
        structure = "foam" if kind == "binary" else "scan"
        command = [bench, pack, scan, structure, edge, kind, plugin, *arguments_for(int(edge))]
        end = subprocess.run(command, capture_output=True, text=True, check=False)
        if end.returncode != 0:
            sys.exit(f"threads: {' '.join(command)}: {end.stderr.strip()}")
        lines.append(row(case, Runs(end.stdout)))
        print(lines[-1], flush=True)
    replace_table(Path(document), "threads", HEADING, lines, place)


if __name__ == "__main__":
    if len(sys.argv) < 6:
        sys.exit(__doc__)
    main()
