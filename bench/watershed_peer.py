"""Compares the watershed with scikit-image's on a 128^3 crop of the benchmark volume.

watershed_peer.py VOLUME SECONDS  VOLUME is a file of 256^3 bytes, x fastest; SECONDS is written by WatershedBench: one
                                  line with neighbourhood and time for each measurement
"""

import sys
import time

import numpy
import skimage
from skimage.segmentation import watershed

volume_path, seconds_path = sys.argv[1:]
crop = numpy.fromfile(volume_path, numpy.uint8).reshape(256, 256, 256)[:128, :128, :128].copy()
with open(seconds_path, encoding="utf-8") as file:
    ours = {name: float(seconds) for name, seconds in (line.split() for line in file)}
print(f"{'128^3, 8 bit':24}{'ours s':>9}{'skimage s':>11}{'ratio':>8}   scikit-image {skimage.__version__}, lines on")
for name, connectivity in (("N6", 1), ("N26", 3)):
    begin = time.perf_counter()
    watershed(crop, connectivity=connectivity, watershed_line=True)
    peer = time.perf_counter() - begin
    print(f"{name:24}{ours[name]:9.3f}{peer:11.2f}{peer / ours[name]:8.1f}")
