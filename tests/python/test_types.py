"""mypy accepts the package and calls of it, and finds mistakes in calls."""
import pathlib
import subprocess
import sys

import pytest

import quillon

pytest.importorskip("mypy")
ROOT = pathlib.Path(quillon.__file__).parent.parent

GOOD = """
import numpy
import quillon

image = quillon.read("a.nrrd")
labels: quillon.Image = quillon.watershed(image, Neighborhood="Neigh_26", threads=2)
total: int = int(labels.array.sum())
verdict: dict[str, object] = quillon.pointwise_relation(image, Image2=labels)
quillon.write("b.nrrd", quillon.gauss_filter(numpy.zeros((4, 5, 6), numpy.uint8), sigma=2))
"""
BAD = """
import quillon

image = quillon.read("a.nrrd")
quillon.watershed(image, Neighborhood="Neigh_27")
quillon.gauss_filter(image, sigmas=2)
quillon.gauss_filter(image, sigma="wide")
"""


def mypy(*arguments):
    # What mypy knows of NumPy is kept in the build folder: finding it out takes most of the time.
    command = [sys.executable, "-m", "mypy", "--cache-dir", str(ROOT / "mypy_cache"), *arguments]
    done = subprocess.run(command, cwd=ROOT, capture_output=True, text=True)
    return done.stdout + done.stderr


def test_mypy_accepts_good_calls_and_finds_bad_ones(tmp_path):
    (tmp_path / "good.py").write_text(GOOD, encoding="utf-8")
    (tmp_path / "bad.py").write_text(BAD, encoding="utf-8")
    # The package lies in the working folder, so that its own errors are listed as well.
    output = mypy("--strict", str(tmp_path / "good.py"), str(tmp_path / "bad.py"))
    errors = [line for line in output.splitlines() if ": error:" in line]
    assert [line.split(":")[1] for line in errors] == ["5", "6", "7"], output
    assert all("bad.py" in line for line in errors), output
