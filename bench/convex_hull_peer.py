"""Compares convex hulls of labelled objects with scikit-image (time) and Qhull (pixels).

convex_hull_peer.py volume VOLUME                    writes 300 hollow, notched ellipsoids as 16-bit labels, 256^3, x fastest
convex_hull_peer.py compare VOLUME HULLS SECONDS     HULLS and SECONDS are written by ConvexHullBench: the result, and one line with
                                                     case and time for each measurement
"""

import sys
import time

import numpy

EDGE = 256
OBJECTS = 300


def objects():
    """Randomly oriented, slightly overlapping ellipsoids, each with a hole and a notch."""
    random = numpy.random.default_rng(7)
    volume = numpy.zeros((EDGE, EDGE, EDGE), numpy.uint16)
    for label in range(1, OBJECTS + 1):
        centre = random.uniform(20, EDGE - 20, 3)
        rotation, _ = numpy.linalg.qr(random.normal(size=(3, 3)))
        axes = random.uniform(8, 20, 3)
        low = numpy.floor(centre - 20).astype(int)
        box = tuple(slice(start, start + 41) for start in low)
        place = numpy.stack(numpy.meshgrid(*(numpy.arange(start, start + 41) for start in low), indexing="ij"), -1) - centre
        own = place @ rotation / axes
        square = (own * own).sum(-1)
        inside = (square <= 1) & (square >= 0.3) & ~((own[..., 0] > 0) & (numpy.abs(own[..., 1]) < 0.3))
        part = volume[box]
        part[inside & (part == 0)] = label
    return volume


def compare(volume_path, hulls_path, seconds_path):
    import scipy
    import skimage
    from skimage.measure import regionprops
    from skimage.morphology import convex_hull_image

    volume = numpy.fromfile(volume_path, numpy.uint16).reshape(EDGE, EDGE, EDGE)
    hulls = numpy.fromfile(hulls_path, numpy.uint16).reshape(EDGE, EDGE, EDGE)
    with open(seconds_path, encoding="utf-8") as file:
        ours = {name: float(text) for name, text in (line.split() for line in file)}

    begin = time.perf_counter()
    result = volume.copy()
    regions = regionprops(volume)
    for region in regions:
        result[region.slice][region.image_convex] = region.label
    peer = time.perf_counter() - begin

    # The peer treats pixels as cubes. Recompute its hulls from pixel centres, as ours are, with the same library.
    centres = volume.copy()
    for region in regions:
        centres[region.slice][convex_hull_image(region.image, offset_coordinates=False)] = region.label
    difference = numpy.count_nonzero(centres != hulls)

    print(f"{len(regions)} objects, {numpy.count_nonzero(volume)} pixels, {numpy.count_nonzero(hulls)} including their hulls")
    print(f"pixels that differ from Qhull hulls of pixel centres, SciPy {scipy.__version__}: {difference}")
    print(f"{'256^3, one thread':26}{'ours s':>9}{'peer s':>9}{'ratio':>8}   scikit-image {skimage.__version__}")
    for name, title in (("hulls", "measure and paint hulls"), ("plugin", "whole plug-in")):
        print(f"{title:26}{ours[name]:9.4f}{peer:9.2f}{peer / ours[name]:8.1f}")


if sys.argv[1] == "volume":
    objects().tofile(sys.argv[2])
else:
    compare(*sys.argv[2:])
