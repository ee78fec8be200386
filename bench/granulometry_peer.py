"""Compares opening sizes with the usual method in Python: openings of the foreground with balls of 25 increasing
radii. Each opening thresholds SciPy's distance transform and transforms the remaining pixels a second time.

granulometry_peer.py VOLUME SIZES SECONDS  VOLUME contains n^3 bytes, 0 or 1; SIZES and SECONDS are written by
                                           GranulometryBench: diameters as floats, and our time
"""

import sys
import time

import numpy
import scipy
from scipy.ndimage import distance_transform_edt


def opening_sizes(structure, radius_count=25):
    """Twice the largest of the radii whose ball fits into the structure and contains the pixel."""
    padded = numpy.pad(structure, 1)
    distances = distance_transform_edt(padded)
    sizes = numpy.zeros(padded.shape, numpy.float32)
    for radius in numpy.linspace(1, distances.max(), radius_count):
        middles = distances >= radius
        sizes[distance_transform_edt(~middles) < radius] = 2 * radius
    return sizes[1:-1, 1:-1, 1:-1]


def compare(volume_path, sizes_path, seconds_path):
    volume = numpy.fromfile(volume_path, numpy.uint8)
    edge = round(volume.size ** (1 / 3))
    structure = volume.reshape(edge, edge, edge) != 0
    ours = numpy.fromfile(sizes_path, numpy.float32).reshape(structure.shape)
    with open(seconds_path, encoding="utf-8") as file:
        our_seconds = float(file.read())
    begin = time.perf_counter()
    theirs = opening_sizes(structure)
    their_seconds = time.perf_counter() - begin
    print(f"{f'{edge}^3, one thread':24}{'ours s':>9}{'SciPy s':>11}{'ratio':>8}   SciPy {scipy.__version__}, 25 radii")
    print(f"{'opening sizes':24}{our_seconds:9.3f}{their_seconds:11.2f}{their_seconds / our_seconds:8.1f}")
    # Ours covers all radii, so the peer, with 25 radii, is lower by up to one step.
    step = 2 * (theirs.max() / 2 - 1) / 24
    difference = (ours - theirs)[structure]
    print(f"ours is larger by {difference.mean():.2f} pixels on average, with steps of {step:.2f}; "
          f"{(difference < -1e-4).sum()} pixels are smaller")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    compare(*sys.argv[1:])
