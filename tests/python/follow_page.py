#!/usr/bin/env python3
"""tests/python/follow_page.py PAGE: runs the blocks of Python code in a page one after the other, in the working folder.

The folder has to have this project's folder tests in it. A block is one script; all share their names.
"""
import pathlib
import re
import sys


def blocks(page):
    """The line where each block of Python code begins, and its text."""
    text = pathlib.Path(page).read_text(encoding="utf-8")
    for match in re.finditer(r"^```python\n(.*?)^```$", text, re.DOTALL | re.MULTILINE):
        yield text.count("\n", 0, match.start(1)), match.group(1)


def main():
    page = sys.argv[1]
    names = {}
    count = 0
    for line, code in blocks(page):
        # Empty lines in front, so that an error names the line of the page.
        exec(compile("\n" * line + code, page, "exec"), names)
        count += 1
    if not count:
        raise SystemExit(f"{page}: no Python code")


main()
