"""Measures how time and memory of each plug-in grow with a volume whose structures grow along.

growth.py BENCH PACK SCAN DOCUMENT EDGES SECONDS STRUCTURES [PLUGIN ...]

BENCH is the program PluginBench, PACK the library of plug-ins and SCAN a cube of 8-bit values. EDGES are those of the volumes,
such as "64 128 256", and STRUCTURES what they contain, such as "foam scan" or "all". Each measurement is a child process of its
own. A run that would take more than SECONDS, judging by the next smaller volume, is left out, and so are larger ones; one that
takes much longer nevertheless is stopped. The figures go to the table between the markers in DOCUMENT, in which other figures
stay, and to the pages of the plug-ins beside it.
"""

import dataclasses
import math
import resource
import subprocess
import sys
from pathlib import Path

from cases import CASES, title
from document import between_markers, measured_on, replace_content
from wanted import require_known

STRUCTURES = ["spheres", "solid", "foam", "scan"]
# Structures that grow by a factor of 4 in length may take 1.5 times as long per pixel.
GOAL = 1 + math.log(1.5) / math.log(4**3)


@dataclasses.dataclass
class Row:
    """A row of the table, as it is written there."""

    times: dict = dataclasses.field(default_factory=dict)  # ns per pixel, or what kept a run from ending, by edge
    memory: str = ""
    pause: str = ""

    def add(self, edge, figures):
        if isinstance(figures, str):
            self.times[edge] = figures
            return
        seconds, memory, pause = figures
        if edge >= max(self.times, default=0):
            self.memory = f"{memory / edge**3:.1f}"
        self.times[edge] = f"{1e9 * seconds / edge**3:.2f}"
        self.pause = f"{max(float(self.pause or 0), pause):.0f}"

    def exponent(self):
        """The slope of a line through the logarithms of pixels and times, by least squares."""
        points = [(3 * math.log(edge), 3 * math.log(edge) + math.log(float(time))) for edge, time in self.times.items()
                  if edge >= 128 and time.replace(".", "").isdigit() and float(time) > 0]
        if len(points) < 2:
            return ""
        mean_x, mean_y = (sum(values) / len(points) for values in zip(*points))
        slope = (sum((x - mean_x) * (y - mean_y) for x, y in points)
                 / sum((x - mean_x) ** 2 for x, y in points))
        return f"{slope:.2f}" if slope <= GOAL else f"**{slope:.2f}**"

    def cells(self, edges):
        return [*(self.times.get(edge, "") for edge in edges), self.exponent(), self.memory, self.pause]


def available_bytes():
    with open("/proc/meminfo", encoding="ascii") as file:
        return next(int(line.split()[1]) * 1024 for line in file if line.startswith("MemAvailable:"))


def measure(bench, pack, scan, structure, edge, case, limit):
    """Seconds, bytes and the longest stretch in ms; or what kept the run from ending."""
    plugin, _, kind, arguments_for = case
    memory = available_bytes()
    command = [bench, pack, scan, structure, str(edge), kind, plugin, *arguments_for(edge)]
    # Not a limit of processor time: a process under one is timed by the ticks of the kernel, in steps of milliseconds.
    most_seconds = math.ceil(60 + 30 * limit)

    def limit_memory():
        resource.setrlimit(resource.RLIMIT_DATA, (memory, memory))

    try:
        end = subprocess.run(command, capture_output=True, text=True, check=False, timeout=most_seconds, preexec_fn=limit_memory)
    except subprocess.TimeoutExpired:
        return f"> {most_seconds} s"
    if end.returncode != 0:
        print(f"growth: {' '.join(command)}: {end.stderr.strip()}", file=sys.stderr)
        return "memory" if "bad_alloc" in end.stderr or "memory" in end.stderr else "fails"
    return [float(word) for word in end.stdout.split()]


def read_table(document):
    """The rows of the table by name of the case and structure."""
    lines = [[word.strip() for word in line.strip("|").split("|")]
             for line in between_markers(document, "growth")[1].splitlines() if line.startswith("| ")]
    if not lines:
        return {}
    edges = [int(word[:-2]) for word in lines[0] if word.endswith("^3")]
    return {(line[0], line[1]): Row({edge: time for edge, time in zip(edges, line[2:]) if time}, *line[-2:]) for line in lines[1:]}


def table(first_columns, rows, edges):
    """Lines of a table; `rows` are pairs of the first cells and a `Row`."""
    columns = [*(f"{edge}^3" for edge in edges), "exponent", "bytes", "ms"]
    return ["| " + " | ".join(first_columns + columns) + " |", "|" + "---|" * len(first_columns) + "---:|" * len(columns),
            *("| " + " | ".join([*names, *row.cells(edges)]) + " |" for names, row in rows)]


def write(document, rows):
    """Writes the rows to the table, and those of each plug-in to its page."""
    names = [title(case) for case in CASES]
    edges = sorted({edge for row in rows.values() for edge in row.times})
    ordered = sorted(rows.items(), key=lambda item: (names.index(item[0][0]), STRUCTURES.index(item[0][1])))
    replace_content(document, "growth", [measured_on(), "", *table(["plug-in", "structure"], ordered, edges)])
    for plugin in dict.fromkeys(case[0] for case in CASES):
        lines = ["CPU time on one thread in ns per pixel, while structures grow with the volume, the memory beyond the input in bytes per",
                 "pixel, and the longest time without a check for cancellation in ms ([Growth](performance.md#growth)):"]
        for case in (case for case in CASES if case[0] == plugin):
            of_case = [([structure], row) for (name, structure), row in ordered if name == title(case)]
            lines += ["", *table([case[1] or "structure"], of_case, edges)]
        replace_content(document.parent / f"{plugin}.md", "growth", lines)


def main():
    bench, pack, scan, document, edges, limit, structures, *wanted = sys.argv[1:]
    require_known(wanted, [case[0] for case in CASES])
    document = Path(document)
    limit = float(limit)
    edges = [int(edge) for edge in edges.split()]
    structures = STRUCTURES if structures == "all" else structures.split()
    for case in CASES:
        if wanted and case[0] not in wanted:
            continue
        for structure in structures:
            rows = read_table(document)
            row = rows.setdefault((title(case), structure), Row())
            if edges[0] == min(row.times, default=0):
                row.times.clear()
                row.pause = ""
            for edge in edges:
                figures = measure(bench, pack, scan, structure, edge, case, limit)
                row.add(edge, figures)
                if isinstance(figures, str) or 8 * figures[0] > limit:
                    break
            print("| " + " | ".join([title(case), structure, *row.cells(sorted(row.times))]) + " |", flush=True)
            write(document, rows)


if __name__ == "__main__":
    if len(sys.argv) < 8:
        sys.exit(__doc__)
    main()
