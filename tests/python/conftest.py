"""What the tests of the Python package share."""
import os
import pathlib
import subprocess

import numpy
import pytest

DATA = pathlib.Path(os.environ["QUILLON_TEST_DATA"])
PROGRAM = os.environ["QUILLON_PROGRAM"]


@pytest.fixture
def volume():
    """Blobs of grey values from 0 to 255 with a fixed pattern."""
    z, y, x = numpy.indices((20, 24, 28))
    wave = numpy.sin(x / 3.0) + numpy.cos(y / 4.0) + numpy.sin(z / 5.0 + x / 7.0)
    return numpy.uint8(255 * (wave - wave.min()) / (wave.max() - wave.min()))


@pytest.fixture
def mask(volume):
    return volume > 140


@pytest.fixture
def command_line(tmp_path, monkeypatch):
    """Runs `quillon`, with the time of runs fixed for this process, too, and returns its standard output."""
    monkeypatch.setenv("SOURCE_DATE_EPOCH", "1700000000")
    monkeypatch.chdir(tmp_path)

    def run(*arguments):
        done = subprocess.run([PROGRAM, *map(str, arguments)], check=True, capture_output=True, text=True)
        return done.stdout

    return run
