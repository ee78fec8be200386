"""Compares skeletons with scikit-image.

skeleton_peer.py VOLUME SECONDS  VOLUME contains n^3 bytes, 0 or 1, x fastest; SECONDS is written by SkeletonBench: one
                                 line with neighbourhood and time for each measurement
"""

import sys
import time

import numpy


def compare(volume_path, seconds_path):
    import skimage
    from skimage.morphology import skeletonize_3d

    volume = numpy.fromfile(volume_path, numpy.uint8)
    edge = round(volume.size ** (1 / 3))
    volume = volume.reshape(edge, edge, edge)
    with open(seconds_path, encoding="utf-8") as file:
        ours = {name: float(seconds) for name, seconds in (line.split() for line in file)}
    begin = time.perf_counter()
    skeletonize_3d(volume)
    peer = time.perf_counter() - begin
    print(f"{f'{edge}^3, one thread':24}{'ours s':>9}{'skimage s':>11}{'ratio':>8}   scikit-image {skimage.__version__}, lee")
    for name, seconds in ours.items():
        print(f"{name:24}{seconds:9.3f}{peer:11.2f}{peer / seconds:8.1f}")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    compare(*sys.argv[1:])
