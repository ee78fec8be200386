"""Compares the distance map with SciPy's on the first Boolean model of DistanceBench.

distance_peer.py VOLUME SECONDS  VOLUME is a file of n^3 bytes, x fastest; SECONDS is written by DistanceBench: one line
                                 with case and time for each measurement. SciPy needs about 60 bytes per voxel.
"""

import sys
import time

import numpy
import scipy
from scipy.ndimage import distance_transform_edt

volume_path, seconds_path = sys.argv[1:]
volume = numpy.fromfile(volume_path, numpy.uint8)
edge = round(volume.size ** (1 / 3))
volume = volume.reshape(edge, edge, edge)
with open(seconds_path, encoding="utf-8") as file:
    ours = {name: float(text) for name, text in (line.split() for line in file)}
heading = f"{edge}^3, one thread"
print(f"{heading:24}{'ours s':>9}{'SciPy s':>9}{'ratio':>8}   SciPy {scipy.__version__}")
for name, title, sampling in (("cubes", "radii 6 to 20", None), ("boxes", "spacing 1, 1, 2.5", (2.5, 1.0, 1.0))):
    begin = time.perf_counter()
    distance_transform_edt(volume, sampling)
    peer = time.perf_counter() - begin
    print(f"{title:24}{ours[name]:9.3f}{peer:9.2f}{peer / ours[name]:8.1f}", flush=True)
