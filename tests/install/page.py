#!/usr/bin/env python3
"""tests/install/page.py PAGE IMAGE [PREFIX]: follows a page that leads from an empty folder to a pack.

A block of code after a line that ends with a file name in backquotes and a colon is written to that file. In a console
block, each line after "$ " is run, and has to print the lines that follow; "..." stands for any text. IMAGE is the file
scan.nrrd of the page. Programs and libraries are those installed in PREFIX, or in the system.

Then the mistakes of the list below are made one by one, each has to cause its message, and the page has to explain it.
Exit code 77 if all is well but a command of the page is not in this version.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77


def blocks(page):
    """The fenced blocks of the page: language, the file they are for or None, text."""
    for match in re.finditer(r"(?:`([^`\n]+)`:\n\n)?```(\w+)\n(.*?)^```$", page, re.DOTALL | re.MULTILINE):
        yield match.group(2), match.group(1), match.group(3)


def commands(text):
    """The commands of a console block with what they print."""
    for entry in re.split(r"^\$ ", text, flags=re.MULTILINE)[1:]:
        lines = entry.splitlines()
        count = 1
        while lines[count - 1].endswith("\\"):
            count += 1
        yield "\n".join(lines[:count]), "\n".join(lines[count:])


def run(command, folder):
    """Runs the command; returns its exit code, all that it printed, and the folder where it ended."""
    with tempfile.NamedTemporaryFile("r") as place:
        script = f"trap 'pwd >{place.name}' EXIT\n{command}"
        process = subprocess.run(["bash", "-c", script], cwd=folder, text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return process.returncode, process.stdout.rstrip("\n"), pathlib.Path(place.read().strip())


def matches(printed, expected):
    pattern = ".*".join(re.escape(part) for part in expected.split("..."))
    return re.fullmatch(pattern, printed, re.DOTALL) is not None


def follow(page, folder):
    """Follows the page; returns the folder where it ends, and the commands that were left out."""
    known = subprocess.run(["quillon", "--help"], text=True, capture_output=True, check=True).stdout
    skipped = []
    for language, file, text in blocks(page):
        if file:
            (folder / file).parent.mkdir(exist_ok=True)
            (folder / file).write_text(text)
        elif language == "console":
            for command, expected in commands(text):
                word = re.match(r"quillon (\w+)", command)
                if word and not re.search(rf"^  {word.group(1)} ", known, re.MULTILINE):
                    skipped.append(command)
                    continue
                code, printed, folder = run(command, folder)
                if code != 0 or not matches(printed, expected):
                    sys.exit(f"page.py: '{command}' ended with {code} and printed\n{printed}\ninstead of\n{expected}")
    return folder, skipped


def replace(old, new):
    def edit(text):
        assert old in text, old
        return text.replace(old, new, 1)
    return edit


LIBRARY = "build/libMirrorPack.so"
CATALOGUE = "build/MirrorPack.catalogue.json"
BUILD = "cmake --build build"
LIST = f"{BUILD} >/dev/null 2>&1; quillon list --pack {LIBRARY}"
RUN = f"{BUILD} >/dev/null 2>&1; quillon run Mirror scan.nrrd --quiet -o mirrored.nrrd -p axis=y --pack "

# A file, what is done to it, a command, and a part of what the command then prints.
MISTAKES = [
    ("CMakeLists.txt", replace(" PluginFactory.cpp", ""), BUILD,
     "required symbol `CreatePluginInstanceEx' not defined"),
    ("PluginFactory.cpp", replace("CreatePluginInstanceEx", "CreatePlugin"), BUILD,
     "required symbol `CreatePluginInstanceEx' not defined"),
    ("catalogue/Mirror.json", replace('"title": "Mirror",', '"title": "Mirror"'), BUILD,
     "catalogue/Mirror.json: failed parsing json string: * Line 4, Column 3"),
    ("catalogue/Mirror.json", replace('"irrelevant"\n', '"irrelevant",\n'), LIST,
     f"quillon: cannot read '{CATALOGUE}': not valid JSON in line 25, column 1\n"),
    ("catalogue/Mirror.json", replace('  "cancel": "anywhere",\n', ""), LIST,
     f"quillon: cannot read '{CATALOGUE}': catalogue: Mirror: lacks 'cancel'\n"),
    ("catalogue/Mirror.json", replace('"title"', '"colour": "red", "title"'), LIST,
     f"quillon: cannot read '{CATALOGUE}': catalogue: Mirror: has the unknown member 'colour'\n"),
    ("catalogue/Mirror.json", replace('"name": "Mirror"', '"name": "Miror"'), LIST,
     "  Known but not in this pack: Miror\n"),
    ("catalogue/Mirror.json", replace('"name": "Mirror"', '"name": "Miror"'), RUN + LIBRARY,
     "quillon: unknown parameter 'axis': the catalogue does not describe this plug-in; give the kind, as in "
     "axis:long=y\n"),
    ("catalogue/Mirror.json", replace('"key": "axis"', '"key": "axes"'), RUN + LIBRARY,
     "quillon: unknown parameter 'axis'; the nearest key is 'axes'\n"),
    ("catalogue/Mirror.json", str, RUN + CATALOGUE,
     f"quillon: cannot load the pack '{CATALOGUE}': it is not a shared library\n"),
]


def make_mistakes(folder, page):
    """Makes each mistake; returns what went otherwise than expected."""
    table = page[page.index("## When something is wrong"):]
    failures = []
    for file, edit, command, expected in MISTAKES:
        text = (folder / file).read_text()
        (folder / file).write_text(edit(text))
        _, printed, _ = run(command, folder)
        (folder / file).write_text(text)
        # Messages of the build are wrapped, and ours are lines.
        seen = printed + "\n" if expected.endswith("\n") else " ".join(printed.split())
        if expected not in seen or seen.count("quillon: ") > 1:
            failures.append(f"'{command}' after a mistake in {file} printed\n{printed}\ninstead of\n{expected}")
        if expected.strip().removeprefix("quillon: ") not in table:
            failures.append(f"the page does not explain: {expected.strip()}")
    return failures


def main():
    page_path, image = map(pathlib.Path, sys.argv[1:3])
    page = page_path.read_text()
    if len(sys.argv) > 3:
        prefix = pathlib.Path(sys.argv[3]).absolute()
        os.environ["PATH"] = f"{prefix / 'bin'}:{os.environ['PATH']}"
        os.environ["CMAKE_PREFIX_PATH"] = str(prefix)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        # Not a folder of packs that belongs to someone, and no language but that of the page.
        os.environ.update(HOME=name, LC_ALL="C.UTF-8")
        os.environ.pop("XDG_DATA_HOME", None)
        shutil.copy(image, folder / "scan.nrrd")
        folder, skipped = follow(page, folder)
        # The pack without a mistake would be found there.
        shutil.rmtree(pathlib.Path(name) / ".local")
        failures = make_mistakes(folder, page)
    for command in skipped:
        print(f"skipped, because this version has no such command: {command}")
    for failure in failures:
        print(f"page.py: {failure}", file=sys.stderr)
    return 1 if failures else SKIPPED if skipped else 0


if __name__ == "__main__":
    sys.exit(main())
