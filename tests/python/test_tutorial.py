"""docs/python-tutorial.md can be followed, and its script prints and writes what the page shows."""
import csv
import os
import subprocess
import sys

import pytest
from conftest import DATA, PROGRAM

pytest.importorskip("pandas")
pytest.importorskip("matplotlib")

ROOT = DATA.parent.parent
PAGE = ROOT / "docs" / "python-tutorial.md"
SCRIPT = ROOT / "examples" / "python" / "pores.py"
SCAN = DATA / "cement_pores_128.nrrd"


def run(*arguments, folder):
    environment = {**os.environ, "MPLBACKEND": "Agg"}
    return subprocess.run([sys.executable, *map(str, arguments)], cwd=folder, env=environment, capture_output=True, text=True)


def test_the_script_prints_and_writes_what_the_page_shows(tmp_path):
    done = run(SCRIPT, SCAN, tmp_path, folder=tmp_path)
    assert done.returncode == 0, done.stderr
    indented = "".join(f"    {line}\n" for line in done.stdout.splitlines())
    assert indented in PAGE.read_text(encoding="utf-8")
    with open(tmp_path / "pores.csv", encoding="utf-8", newline="") as file:
        rows = list(csv.DictReader(file))
    assert len(rows) == 1015
    assert sum(float(row["voxels"]) for row in rows) <= 128**3 * 0.127
    assert (tmp_path / "pores.png").read_bytes().startswith(b"\x89PNG")


def test_the_script_without_arguments_says_how_it_is_used(tmp_path):
    done = run(SCRIPT, folder=tmp_path)
    assert done.returncode == 1 and done.stderr.startswith("pores.py SCAN [FOLDER]")


def test_the_steps_can_be_followed_and_repeated(tmp_path):
    (tmp_path / SCAN.name).symlink_to(SCAN)
    done = run(DATA.parent / "python" / "follow_page.py", PAGE, folder=tmp_path)
    assert done.returncode == 0, done.stderr
    assert (tmp_path / "sizes.png").exists() and (tmp_path / "pores.csv").exists()
    repeated = subprocess.run([PROGRAM, "repeat", "labels.nrrd"], cwd=tmp_path, capture_output=True, text=True)
    assert repeated.returncode == 0 and "The result is identical to labels.nrrd." in repeated.stdout + repeated.stderr
