"""Compares convex hulls of labelled objects with scikit-image (time) and Qhull (pixels).

convex_hull_peer.py VOLUME HULLS SECONDS  VOLUME contains 256^3 16-bit labels, x fastest; HULLS and SECONDS are written by
                                          ConvexHullBench: the result, and one line with case and time for each
                                          measurement
"""

import sys
import time

import numpy

EDGE = 256


def region_hulls(volume):
    """The volume with the hulls of all objects."""
    from skimage.measure import regionprops

    result = volume.copy()
    for region in regionprops(volume):
        result[region.slice][region.image_convex] = region.label
    return result


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
    region_hulls(volume)
    peer = time.perf_counter() - begin

    # The peer treats pixels as cubes. Recompute its hulls from pixel centres, as ours are, with the same library.
    centres = volume.copy()
    regions = regionprops(volume)
    for region in regions:
        centres[region.slice][convex_hull_image(region.image, offset_coordinates=False)] = region.label
    difference = numpy.count_nonzero(centres != hulls)

    print(f"{len(regions)} objects, {numpy.count_nonzero(volume)} pixels, {numpy.count_nonzero(hulls)} including their hulls")
    print(f"pixels that differ from Qhull hulls of pixel centres, SciPy {scipy.__version__}: {difference}")
    print(f"{'256^3, one thread':26}{'ours s':>9}{'peer s':>9}{'ratio':>8}   scikit-image {skimage.__version__}")
    for name, title in (("hulls", "measure and paint hulls"), ("plugin", "whole plug-in")):
        print(f"{title:26}{ours[name]:9.4f}{peer:9.2f}{peer / ours[name]:8.1f}")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    compare(*sys.argv[1:])
