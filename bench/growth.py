"""Measures how time and memory of each plug-in grow with a volume whose structures grow along.

growth.py BENCH PACK SCAN DOCUMENT EDGE SECONDS [PLUGIN ...]

BENCH is the program PluginBench, PACK the library of plug-ins and SCAN a cube of 8-bit values. Volumes have edges from 64 up
to EDGE, doubled each time. Each of them is a child process of its own. A run that would take more than SECONDS, judging by the
next smaller volume, is left out, and so are larger ones; one that takes much longer nevertheless is stopped. The table replaces
the one between the markers in DOCUMENT, unless plug-ins are named, and its rows go to the pages of the plug-ins beside it.
"""

import math
import resource
import subprocess
import sys
from pathlib import Path

from cases import CASES, title
from document import replace_content, replace_table

STRUCTURES = ["spheres", "solid", "foam", "scan"]
# Structures that grow by a factor of 4 in length may take 1.5 times as long per pixel.
GOAL = 1 + math.log(1.5) / math.log(4**3)


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
    figures = [float(word) for word in end.stdout.split()]
    return figures


def exponent(cells):
    """The slope of a line through the logarithms of pixels and seconds, by least squares."""
    points = [(3 * math.log(edge), math.log(cell[0])) for edge, cell in cells.items() if edge >= 128]
    if len(points) < 2:
        return None
    mean_x, mean_y = (sum(values) / len(points) for values in zip(*points))
    return (sum((x - mean_x) * (y - mean_y) for x, y in points)
            / sum((x - mean_x) ** 2 for x, y in points))


def row(case, structure, edges, cells):
    """A row of the table. `cells` are the measurements by edge; the last may be a text."""
    done = {edge: cell for edge, cell in cells.items() if not isinstance(cell, str)}
    times = [f"{1e9 * done[edge][0] / edge**3:.2f}" if edge in done else cells.get(edge, "") for edge in edges]
    slope = exponent(done)
    growth = "" if slope is None else f"{slope:.2f}" if slope <= GOAL else f"**{slope:.2f}**"
    memory = pause = ""
    if done:
        largest = max(done)
        memory = f"{done[largest][1] / largest**3:.1f}"
        pause = f"{max(cell[2] for cell in done.values()):.0f}"
    return f"| {title(case)} | {structure} | {' | '.join(times)} | {growth} | {memory} | {pause} |"


def heading(edges):
    return [f"| plug-in | structure | {' | '.join(f'{edge}^3' for edge in edges)} | exponent | bytes | ms |",
            "|---|---|" + "---:|" * (len(edges) + 3)]


def place(line):
    """Where a row of the table belongs: plug-in, then structure."""
    name, structure = (cell.strip() for cell in line.split("|")[1:3])
    return [title(case) for case in CASES].index(name), STRUCTURES.index(structure)


def words_of(row):
    return [word.strip() for word in row.strip("|").split("|")]


def write_page(folder, plugin, heading, rows):
    """Replaces the table on the page of a plug-in by its rows of the large table."""
    rows = [words_of(row) for row in rows]
    rows = [row for row in rows if row[0].split(",")[0] == plugin]
    lines = ["CPU time on one thread in ns per pixel, while structures grow with the volume, the memory beyond the input in bytes per",
             "pixel, and the longest time without a check for cancellation in ms ([Growth](performance.md#growth)):", ""]
    for name in dict.fromkeys(row[0] for row in rows):
        mode = name.partition(", ")[2]
        lines += [f"| {mode or 'structure'} {heading[0][heading[0].index('| 64'):]}", heading[1].removeprefix("|---")]
        lines += ["| " + " | ".join(row[1:]) + " |" for row in rows if row[0] == name] + [""]
    replace_content(folder / f"{plugin}.md", "growth", lines[:-1])


def main():
    bench, pack, scan, document, edge, limit, *wanted = sys.argv[1:]
    limit = float(limit)
    edges = [2**power for power in range(6, int(math.log2(int(edge))) + 1)]
    print("\n".join(heading(edges)))
    lines = []
    for case in CASES:
        if wanted and case[0] not in wanted:
            continue
        for structure in STRUCTURES:
            cells = {}
            for edge in edges:
                cells[edge] = measure(bench, pack, scan, structure, edge, case, limit)
                if isinstance(cells[edge], str) or 8 * cells[edge][0] > limit:
                    break
            lines.append(row(case, structure, edges, cells))
            print(lines[-1], flush=True)
    rows = replace_table(Path(document), "growth", heading(edges), lines, place)
    for plugin in dict.fromkeys(case[0] for case in CASES):
        write_page(Path(document).parent, plugin, heading(edges), rows)


if __name__ == "__main__":
    if len(sys.argv) < 7:
        sys.exit(__doc__)
    main()
