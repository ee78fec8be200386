"""Compares the Gaussian filter and a derivative with SciPy and NumPy.

gauss_peer.py VOLUME SECONDS  VOLUME is a file of 256^3 bytes, x fastest; SECONDS is written by GaussBench: one line with
                              case and time for each measurement
"""

import sys
import time

import numpy
import scipy
from scipy.ndimage import gaussian_filter


def seconds(work, rounds=3):
    """The fastest of several rounds."""
    best = float("inf")
    for _ in range(rounds):
        begin = time.perf_counter()
        work()
        best = min(best, time.perf_counter() - begin)
    return best


volume_path, seconds_path = sys.argv[1:]
volume = numpy.fromfile(volume_path, numpy.uint8).reshape(256, 256, 256).astype(numpy.float32)
with open(seconds_path, encoding="utf-8") as file:
    ours = {name: float(text) for name, text in (line.split() for line in file)}
cases = {
    "gauss2": ("Gauss, sigma 2, SciPy", lambda: gaussian_filter(volume, 2, mode="nearest")),
    "gauss10": ("Gauss, sigma 10, SciPy", lambda: gaussian_filter(volume, 10, mode="nearest")),
    "derivative": ("derivative (1,0,0), NumPy", lambda: numpy.gradient(volume, axis=2, edge_order=2)),
}
print(f"{'256^3 float, one thread':26}{'ours s':>9}{'peer s':>9}{'ratio':>8}   SciPy {scipy.__version__}, NumPy {numpy.__version__}")
for name, (title, work) in cases.items():
    peer = seconds(work)
    print(f"{title:26}{ours[name]:9.4f}{peer:9.3f}{peer / ours[name]:8.1f}")
