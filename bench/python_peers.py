"""python_peers.py PAGE [EDGE]: times calls of scikit-image and SciPy beside those of quillon, each on one thread.

A job and its peer take turns in one process, so that other programs on the machine slow down both. What counts is the least CPU
time of a call. The table in PAGE is replaced. EDGE is that of the volume, 192 by default: the cement paste of
tests/data/cement_pores_128.nrrd, mirrored at its borders.
"""
import os
import pathlib
import sys
import time
from dataclasses import dataclass
from typing import Any, Callable

for variable in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS"):
    os.environ[variable] = "1"

import numpy  # noqa: E402
import quillon  # noqa: E402
from scipy import ndimage  # noqa: E402
from skimage import filters, measure, morphology, segmentation  # noqa: E402

from document import replace_table  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADING = ["| their call | ours: `quillon.` | theirs, s | ours, s | ratio |", "|---|---|---:|---:|---:|"]
TURNS = 3


@dataclass
class Job:
    theirs: str  # the call as the page shows it
    ours: str
    run_theirs: Callable[[], Any]
    run_ours: Callable[[], Any]


def volume_of(edge):
    scan = quillon.read(ROOT / "tests/data/cement_pores_128.nrrd").array
    return numpy.pad(scan, (0, max(0, edge - scan.shape[0])), "symmetric")[:edge, :edge, :edge].copy()


def jobs(grey):
    """The calls on grey values, and on a mask of the pores and labels made of them."""
    mask = quillon.spherical_morphology(grey < 90, operation="opening", radius=2).array
    labels = quillon.connected_components(mask).array
    real = grey.astype(numpy.float32)
    ball = morphology.ball(3)
    small = numpy.ascontiguousarray(mask[:96, :96, :96])
    return [
        Job("ndimage.distance_transform_edt(mask)", 'voronoi_edt_plugin(mask, ComputeOn="foreground")',
            lambda: ndimage.distance_transform_edt(mask), lambda: quillon.voronoi_edt_plugin(mask, ComputeOn="foreground", threads=1)),
        Job("ndimage.gaussian_filter(image, 2)", "gauss_filter(image, sigma=2)",
            lambda: ndimage.gaussian_filter(real, 2), lambda: quillon.gauss_filter(real, sigma=2, threads=1)),
        Job("ndimage.binary_opening(mask, ball(3))", 'spherical_morphology(mask, operation="opening", radius=3)',
            lambda: ndimage.binary_opening(mask, ball),
            lambda: quillon.spherical_morphology(mask, operation="opening", radius=3, threads=1)),
        Job("ndimage.median_filter(image, 3)", "median(image, radius=1)",
            lambda: ndimage.median_filter(grey, 3), lambda: quillon.median(grey, radius=1, threads=1)),
        Job("ndimage.label(mask, ones((3, 3, 3)))", 'connected_components(mask, Neighborhood="N26")',
            lambda: ndimage.label(mask, numpy.ones((3, 3, 3))),
            lambda: quillon.connected_components(mask, Neighborhood="N26", threads=1)),
        Job("ndimage.binary_fill_holes(mask)", "fill_holes(mask)",
            lambda: ndimage.binary_fill_holes(mask), lambda: quillon.fill_holes(mask, threads=1)),
        Job("image > filters.threshold_otsu(image)", "auto_threshold(image)",
            lambda: grey > filters.threshold_otsu(grey), lambda: quillon.auto_threshold(grey, threads=1)),
        Job("image > filters.threshold_niblack(image, 31, 0.2)", "segm_niblack(image, windowsize=15, coefficient=-0.2)",
            lambda: grey > filters.threshold_niblack(grey, 31, 0.2),
            lambda: quillon.segm_niblack(grey, windowsize=15, coefficient=-0.2, threads=1)),
        Job("segmentation.watershed(image, connectivity=3)", 'watershed(image, Neighborhood="Neigh_26")',
            lambda: segmentation.watershed(grey, connectivity=3),
            lambda: quillon.watershed(grey, Neighborhood="Neigh_26", threads=1)),
        Job("measure.regionprops_table(labels, properties=...)", "label_measurements(labels)",
            lambda: measure.regionprops_table(labels, properties=("area", "centroid", "bbox", "inertia_tensor_eigvals")),
            lambda: quillon.label_measurements(labels, threads=1)),
        Job("morphology.skeletonize_3d(mask)", "skeleton(mask)",
            lambda: morphology.skeletonize_3d(small), lambda: quillon.skeleton(small, threads=1)),
        Job("measure.euler_number(mask, 3)", "field_features_gray_value_image(mask)",
            lambda: measure.euler_number(mask, 3), lambda: quillon.field_features_gray_value_image(mask, threads=1)),
    ]


def seconds(call):
    begin = time.process_time()
    call()
    return time.process_time() - begin


def row(job):
    theirs, ours = [], []
    for turn in range(TURNS):
        theirs.append(seconds(job.run_theirs))
        ours.append(seconds(job.run_ours))
        if theirs[-1] > 60:
            break
    best = min(ours)
    return f"| `{job.theirs}` | `{job.ours}` | {min(theirs):.2f} | {best:.3f} | {min(theirs) / best:.1f} |"


def main():
    page, edge = pathlib.Path(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) > 2 else 192
    rows = []
    for job in jobs(volume_of(edge)):
        rows.append(row(job))
        print(rows[-1], flush=True)
    replace_table(page, "python", HEADING, rows, key=lambda line: line.split("|")[1])


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    main()
