#!/usr/bin/env python3
"""pores.py SCAN [FOLDER]: the air pores in a CT scan of cement paste, as a table and a figure.

Writes pores.csv, a row for each pore, and pores.png into FOLDER, which is the current one by default.
"""
import pathlib
import sys

import numpy
import quillon
from matplotlib import pyplot


def find_pores(scan):
    """A mask of the pores and, in another image, a number for each of them."""
    # A local threshold follows slow changes of brightness. The paste is bright, the pores are the rest.
    paste = quillon.segm_niblack(scan, windowsize=20, coefficient=-0.8)
    # Opening removes noise: whatever cannot hold a ball with a radius of 2 pixels.
    pores = quillon.spherical_morphology(quillon.invert(paste), operation="opening", radius=2)
    # Pores that touch are cut at their necks: water rises from the centre of each pore.
    depth = quillon.voronoi_edt_plugin(pores, ComputeOn="foreground")
    centres = quillon.regional_maxima(depth, height=1)
    basins = quillon.watershed(quillon.invert(depth), Neighborhood="Neigh_26", type="marker", markerimage=centres)
    return pores, quillon.mask(basins, Image2=pores)


def draw(scan, labels, table, sizes, path):
    """A slice with the pores, how many there are of each size, and how much of the pore space."""
    figure, (image, counts, shares) = pyplot.subplots(1, 3, figsize=(13, 4), layout="constrained")
    middle = scan.shape[0] // 2
    image.imshow(scan.array[middle], cmap="gray")
    colours = numpy.random.default_rng(3).permutation(int(labels.array.max())) + 1
    shown = numpy.ma.masked_equal(numpy.concatenate([[0], colours])[labels.array[middle]], 0)
    image.imshow(shown, cmap="turbo", alpha=0.6, interpolation="nearest")
    image.set(title=f"Slice {middle}", xlabel="x [px]", ylabel="y [px]")
    counts.hist(table["diameter"], bins=20, edgecolor="white")
    counts.set(title=f"{len(table)} pores", xlabel="Diameter of a ball of equal volume [px]", ylabel="Count")
    sizes.plot(cumulative=True, axes=shares)
    shares.set(title="Pore space")
    figure.savefig(path, dpi=120)


def main():
    scan = quillon.read(sys.argv[1])
    folder = pathlib.Path(sys.argv[2] if len(sys.argv) > 2 else ".")
    pores, labels = find_pores(scan)

    measured = quillon.label_measurements(labels, Image2=scan)
    table = measured.measurements["LabelMeasurements"].to_frame()
    table["diameter"] = numpy.cbrt(6 / numpy.pi * table["volume"])  # of a ball of equal volume
    table.to_csv(folder / "pores.csv")

    sizes = quillon.granulometry(pores).measurements["Granulometry"]
    draw(scan, labels, table, sizes, folder / "pores.png")

    print(f"porosity {100 * pores.array.mean():.1f} %, {len(table)} pores")
    print(f"the largest has the volume of a ball {table['diameter'].max():.1f} pixels wide")


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    main()
