#!/usr/bin/env python3
"""tests/jobs/jobs.py JOB FOLDER: runs a job of docs/jobs with the programs in FOLDER and compares its tables with NumPy,
SciPy and scikit-image. Prints both numbers; exits with 1 if they differ by more than they should."""
import csv
import gzip
import itertools
import os
import pathlib
import subprocess
import sys
import tempfile

import numpy as np
from scipy import ndimage
from skimage import measure

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
DATA = ROOT / "tests" / "data"
WHOLE_BLOCK = np.ones((3, 3, 3))
failures = []


def check(what, ours, theirs, tolerance=0.0):
    """Both numbers, and a failure if they differ by more than the tolerance, relative to the second."""
    ours, theirs = float(ours), float(theirs)
    same = abs(ours - theirs) <= tolerance * abs(theirs)
    print(f"{'ok  ' if same else 'FAIL'} {what}: {ours:g}, expected {theirs:g} within {tolerance:g}")
    if not same:
        failures.append(what)


def read_nrrd(path):
    """The pixels of a NRRD file, z first."""
    content = path.read_bytes()
    end = content.index(b"\n\n")
    lines = content[:end].decode().split("\n")[1:]
    fields = dict(line.split(": ", 1) for line in lines if ":=" not in line and ": " in line)
    pixels = content[end + 2:]
    if fields["encoding"] in ("gzip", "gz"):
        pixels = gzip.decompress(pixels)
    kind = {"uint8": "u1", "uint16": "<u2", "uint32": "<u4", "float": "<f4"}[fields["type"]]
    return np.frombuffer(pixels, kind).reshape([int(size) for size in fields["sizes"].split()][::-1])


def read_table(path):
    """The rows of a table, and what its comment lines state."""
    lines = path.read_text().splitlines()
    facts = dict(line[2:].split(": ", 1) for line in lines if line.startswith("# "))
    return list(csv.DictReader(line for line in lines if not line.startswith("#"))), facts


def column(rows, head):
    return np.array([float(row[head]) for row in rows])


def grains(folder):
    rows, facts = read_table(folder / "grains.csv")
    labels = read_nrrd(folder / "grains.nrrd")
    solid = read_nrrd(DATA / "sandstone_berea_crop_bin.nrrd") == 0
    voxels = np.bincount(labels.ravel())[1:]
    check("number of grains", len(rows), len(voxels))
    check("voxels of all grains", column(rows, "voxels").sum(), voxels.sum())
    check("mean volume in mm^3", column(rows, "volume [mm^3]").mean(), voxels.mean() * 0.005345**3, 1e-12)
    check("pores inside grains", np.count_nonzero(labels[~solid]), 0)
    # The lines between grains belong to none.
    check("share of the solid in grains", voxels.sum() / solid.sum(), 0.96, 0.04)
    check("unit of length is mm", facts["unit of length"] == "mm", True)


def pores(folder):
    rows, facts = read_table(folder / "sizes.csv")
    mask = read_nrrd(folder / "pores.nrrd")
    check("pixels measured", column(rows, "pixels").sum(), mask.sum())
    check("volume fraction", float(facts["volume fraction"]), mask.mean(), 1e-5)
    # The largest ball that fits has the greatest distance to the background as its radius.
    depth = ndimage.distance_transform_edt(np.pad(mask, 1))
    check("largest diameter", column(rows, "diameter [px]").max(), 2 * depth.max(), 1e-6)
    check("least diameter", column(rows, "diameter [px]").min() >= 4, True)
    check("cumulative share at the end", column(rows, "cumulative share [%]")[-1], 100, 1e-9)


def fibres(folder):
    rows, _ = read_table(folder / "directions.csv")
    image = read_nrrd(DATA / "fibres_polymer_slice_u16.nrrd").astype(float)
    # Each fibre runs along the eigenvector of the second derivatives whose eigenvalue is smallest; sigma is half the radius.
    bright = read_nrrd(folder / "directions.nrrd") >= 0
    yy, yx, xx = (ndimage.gaussian_filter(image, 1.5, order)[bright] for order in [(2, 0), (1, 1), (0, 2)])
    values, vectors = np.linalg.eigh(np.stack([np.stack([xx, yx], -1), np.stack([yx, yy], -1)], -2))
    along = np.take_along_axis(vectors, np.abs(values).argmin(-1)[:, None, None], -1)[..., 0]
    _, main = np.linalg.eigh((along[:, :, None] * along[:, None, :]).mean(0))
    theirs = np.degrees(np.arctan2(main[1, 1], main[0, 1]))
    ours = np.degrees(float(rows[0]["main direction theta [rad]"]))
    difference = abs((ours - theirs + 90) % 180 - 90)
    print(f"main direction: {ours:.1f} degrees, by SciPy {theirs % 180:.1f}")
    check("difference of main directions is below 1 degree", difference < 1, True)


def bone(folder):
    spacing = 0.0195
    mask = read_nrrd(DATA / "bone_trabecular_crop_bin.nrrd") > 0
    thickness, facts = read_table(folder / "thickness.csv")
    check("BV/TV", float(facts["volume fraction"]), mask.mean(), 1e-5)
    check("voxels of bone", column(thickness, "pixels").sum(), mask.sum())
    depth = ndimage.distance_transform_edt(np.pad(mask, 1), sampling=spacing)
    check("greatest thickness in mm", column(thickness, "diameter [mm]").max(), 2 * depth.max(), 1e-6)
    features, _ = read_table(folder / "features.csv")
    # Of the image without its last layers, each 2 x 2 x 2 block counts once, as in the Euler number of the whole but
    # without the faces that close the bone at the border.
    ours = float(features[0]["Euler number density [per mm^3]"])
    check("Euler number density", ours, euler_number_inside(mask) / ((np.array(mask.shape) - 1) * spacing).prod(), 1e-6)
    print(f"     of the bone closed at the border, by skimage: {measure.euler_number(mask, 3) / (mask.size * spacing**3):g}")


def euler_number_inside(mask):
    """Euler number of the union of the voxels as closed cubes, where vertices, edges, faces and cubes beyond the centres
    of the outermost voxels do not count: the sum over all blocks of 2 x 2 x 2 voxels."""
    total = 0.0
    for spanned in itertools.product([False, True], repeat=3):
        cells = mask
        for axis in range(3):
            size = cells.shape[axis]
            ends = np.ones(size)
            ends[[0, -1]] = 0.5
            weight = ends.reshape([-1 if i == axis else 1 for i in range(3)])
            # A cell that does not extend along the axis lies between two voxels, and is there if either is.
            low, high = np.take(cells, range(size - 1), axis), np.take(cells, range(1, size), axis)
            cells = cells * weight if spanned[axis] else np.maximum(low, high)
        total += (-1) ** sum(spanned) * cells.sum()
    return total


def nuclei(folder):
    rows, _ = read_table(folder / "nuclei.csv")
    reference = read_nrrd(DATA / "nuclei_platynereis_labels_u16.nrrd")
    separated = read_nrrd(folder / "separated.nrrd")
    merged = ndimage.distance_transform_edt(reference == 0) <= 3
    check("nuclei", len(rows), len(np.unique(reference)) - 1)
    check("objects before separation", read_nrrd(folder / "objects.nrrd").max(), ndimage.label(merged, WHOLE_BLOCK)[1])
    # Each nucleus of the reference has an object of its own.
    objects = [np.bincount(separated[(reference == label) & (separated > 0)]).argmax()
               for label in np.unique(reference)[1:]]
    check("objects that hold a nucleus", len(set(objects)), len(rows))
    check("mean volume", column(rows, "volume [px^3]").mean(), np.bincount(separated.ravel())[1:].mean(), 1e-12)


def foam(folder):
    rows, _ = read_table(folder / "walls.csv")
    walls = read_nrrd(folder / "walls.nrrd")
    # Shares are those of the 2 x 2 x 2 blocks inside the image, so that a voxel at the border counts less.
    weights = np.ones(walls.shape)
    for axis in range(3):
        share = np.ones(walls.shape[axis])
        share[[0, -1]] = 0.5
        weights *= share.reshape([-1 if i == axis else 1 for i in range(3)])
    check("density of the walls", float(rows[0]["volume fraction V_V"]), (walls * weights).sum() / weights.sum(), 1e-9)
    curve, _ = read_table(folder / "features.csv")
    check("grey values in the curve", len(curve), 256)
    check("density falls with the threshold", (np.diff(column(curve, "volume fraction V_V")) <= 0).all(), True)
    cells = read_nrrd(folder / "cells.nrrd")
    components, count = ndimage.label(walls == 0, WHOLE_BLOCK)
    check("cells of 20 and more voxels", cells.max(), (np.bincount(components.ravel())[1:] >= 20).sum())


def main():
    job, programs = sys.argv[1:3]
    with tempfile.TemporaryDirectory() as folder:
        script = ROOT / "docs" / "jobs" / (job + ".sh")
        subprocess.run([script, folder], env={**os.environ, "QUILLON_BIN": str(pathlib.Path(programs).resolve())},
                       check=True, stdout=subprocess.DEVNULL)
        for figure in pathlib.Path(folder).glob("*.svg"):
            assert figure.read_text().rstrip().endswith("</svg>"), figure
        globals()[job](pathlib.Path(folder))
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
