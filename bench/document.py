"""Tables in documents that a benchmark writes, each between two markers, and what they say about the machine."""

import datetime
import platform
import subprocess


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        return next((line.split(":")[1].strip() for line in file if line.startswith("model name")), platform.machine())


def measured_on():
    """The line above a table: day, machine, compiler and revision."""
    version = subprocess.run(["git", "rev-parse", "--short", "HEAD"], capture_output=True, text=True, check=False)
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=False)
    memory = subprocess.run(["getconf", "_PHYS_PAGES"], capture_output=True, text=True, check=True)
    system = platform.freedesktop_os_release().get("PRETTY_NAME", platform.system())
    return (f"Measured {datetime.date.today()} on {processor()}, {int(memory.stdout) * 4096 / 2**30:.0f} GiB, {system}, "
            f"{compiler.stdout.splitlines()[0] if compiler.stdout else 'unknown compiler'}, revision {version.stdout.strip()}.")


def between_markers(path, topic):
    """The parts of a document before, between and after the markers of a topic."""
    begin, end = (f"<!-- script/bench {topic}: {word} -->\n" for word in ("begin", "end"))
    before, rest = path.read_text(encoding="utf-8").split(begin)
    content, after = rest.split(end)
    return before + begin, content, end + after


def replace_content(path, topic, lines):
    """Replaces the lines between the markers of a topic."""
    before, _, after = between_markers(path, topic)
    path.write_text(before + "".join(line + "\n" for line in lines) + after, encoding="utf-8")


def replace_table(path, topic, heading, rows, key):
    """Replaces rows of a table in a document, in which those with another `key` stay if the heading has not changed.

    `heading` are the two lines that begin a table; `key(row)` orders the rows, too. Returns all rows.
    """
    _, earlier, _ = between_markers(path, topic)
    head = "\n".join(heading) + "\n"
    if head in earlier:
        done = {key(row) for row in rows}
        rows = rows + [row for row in earlier.split(head)[1].splitlines() if key(row) not in done]
    rows = sorted(rows, key=key)
    replace_content(path, topic, [measured_on(), "", *heading, *rows])
    return rows
