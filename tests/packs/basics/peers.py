#!/usr/bin/env python3
"""peers.py PROGRAM PACK: runs the plug-ins of QuillonBasics through the command line on small random images, and compares
the results with SciPy and scikit-image. Prints each difference and exits with 1 if there is any.
"""
import csv
import math
import pathlib
import subprocess
import sys
import tempfile

import numpy as np
from scipy import ndimage
from skimage import exposure, filters, measure, morphology

PROGRAM, PACK = sys.argv[1:3]
TYPES = {"uint8": "uint8", "uint16": "uint16", "uint32": "uint32", "float": "float32"}
CODES = {"uint8": "uint8", "uint16": "uint16", "uint32": "uint32", "float32": "float"}
failures = []
checks = 0


def write(path, image, spacing=None):
    """Writes an array [z, ]y, x as NRRD; booleans as 0 and 1 of 8 bits."""
    data = image.astype("uint8") if image.dtype == bool else image
    lines = ["NRRD0004", f"type: {CODES[str(data.dtype)]}", f"dimension: {data.ndim}",
             "sizes: " + " ".join(str(extent) for extent in reversed(data.shape)), "encoding: raw", "endian: little"]
    if spacing:
        lines.append("spacings: " + " ".join(str(step) for step in spacing))
    path.write_bytes(("\n".join(lines) + "\n\n").encode() + np.ascontiguousarray(data).tobytes())
    return path


def read(path):
    head, data = path.read_bytes().split(b"\n\n", 1)
    fields = dict(line.split(": ", 1) for line in head.decode().splitlines() if ": " in line)
    if fields["encoding"] in ("gzip", "gz"):
        import gzip
        data = gzip.decompress(data)
    shape = [int(extent) for extent in reversed(fields["sizes"].split())]
    names = {"unsigned char": "uint8", "uchar": "uint8", "unsigned short": "uint16", "ushort": "uint16",
             "unsigned int": "uint32", "uint": "uint32"}
    kind = names.get(fields["type"], TYPES.get(fields["type"]))
    return np.frombuffer(data, dtype=kind).reshape(shape)


class Folder:
    def __init__(self, path):
        self.path = pathlib.Path(path)

    def run(self, plugin, image, *parameters, spacing=None, extra=(), **images):
        """Runs a plug-in and returns the result; booleans are passed as binary images."""
        source = write(self.path / "in.nrrd", image, spacing)
        output = self.path / "out.nrrd"
        output.unlink(missing_ok=True)
        command = [PROGRAM, "run", plugin, str(source), "--pack", PACK, "--quiet", "-o", str(output)]
        if image.dtype == bool:
            command += ["--as", "binary"]
        for parameter in parameters:
            command += ["-p", parameter]
        for name, other in images.items():
            command += ["-p", f"{name}={write(self.path / (name + '.nrrd'), other)}"]
        subprocess.run(command + list(extra), check=True)
        return read(output)


def check(what, found, expected, tolerance=0.0):
    global checks
    checks += 1
    found = np.asarray(found, dtype="float64")
    expected = np.asarray(expected, dtype="float64")
    if found.shape != expected.shape:
        failures.append(f"{what}: shape {found.shape} instead of {expected.shape}")
        return
    difference = np.max(np.abs(found - expected), initial=0.0)
    if not difference <= tolerance:
        failures.append(f"{what}: differs by up to {difference:g}, at {np.sum(np.abs(found - expected) > tolerance)} "
                        f"of {found.size} places")


def structure(dimension, neighborhood):
    return ndimage.generate_binary_structure(dimension, 1 if neighborhood == "N6" else dimension)


def same_partition(found, expected):
    """Whether labels divide the pixels alike, whatever their numbers."""
    pairs = np.unique(np.stack([found.ravel(), expected.ravel()]), axis=1)
    return len(np.unique(pairs[0])) == pairs.shape[1] == len(np.unique(pairs[1]))


def random_images(random, dtype, greatest):
    for shape in [(1, 40), (13, 17), (7, 9, 11)]:
        yield shape, (random.random(shape) * greatest).astype(dtype)


def thresholds(folder, random):
    for shape, noise in random_images(random, "float64", 60):
        image = (noise + np.where(random.random(shape) < 0.4, 120, 20) +
                 np.where(random.random(shape) < 0.2, 70, 0)).astype("uint8")
        check(f"Threshold {shape}", folder.run("Threshold", image, "lower=40", "upper=140"), (image >= 40) & (image <= 140))
        check(f"otsu {shape}", folder.run("AutoThreshold", image), image > filters.threshold_otsu(image))
        li = filters.threshold_li(image)
        check(f"li {shape}", folder.run("AutoThreshold", image, "method=li"), image > li)
        check(f"triangle {shape}", folder.run("AutoThreshold", image, "method=triangle"),
              image > filters.threshold_triangle(image))
        for classes in (3, 4):
            limits = filters.threshold_multiotsu(image, classes=classes)
            check(f"multi-otsu {classes} {shape}", folder.run("AutoThreshold", image, f"classes={classes}"),
                  np.digitize(image, limits, right=True))
        wide = (image.astype("uint16") * 250 + (random.random(shape) * 250).astype("uint16")).astype("uint16")
        check(f"otsu of 16 bits {shape}", folder.run("AutoThreshold", wide), wide > filters.threshold_otsu(wide))
        check(f"li of 16 bits {shape}", folder.run("AutoThreshold", wide, "method=li"), wide > filters.threshold_li(wide))


def grey_values(folder, random):
    for shape, image in random_images(random, "uint16", 4000):
        check(f"Invert {shape}", folder.run("Invert", image), image.max() - image)
        low, high = np.percentile(image, [0.1, 99.9])
        scaled = np.clip((image - low) / (high - low), 0, 1)
        check(f"Rescale to float {shape}", folder.run("Rescale", image, "type=greyf"), scaled, 1e-6)
        check(f"Rescale to 8 bits {shape}", folder.run("Rescale", image), np.floor(scaled * 255 + 0.5))
        other = (random.random(shape) * 5000).astype("uint16")
        wide, more = image.astype("float64"), other.astype("float64")
        for operation, expected in [("add", wide + more), ("subtract", wide - more), ("multiply", wide * more),
                                    ("minimum", np.minimum(wide, more)), ("maximum", np.maximum(wide, more)),
                                    ("difference", abs(wide - more)), ("and", image & other), ("or", image | other),
                                    ("xor", image ^ other)]:
            check(f"{operation} {shape}", folder.run("Arithmetic", image, f"operation={operation}", Image2=other), expected,
                  1e-7 * np.max(expected))
        for radius in (1, 2):
            check(f"Median {radius} {shape}", folder.run("Median", image, f"radius={radius}"),
                  ndimage.median_filter(image, size=2 * radius + 1, mode="nearest"))
        real = random.normal(size=shape).astype("float32")
        check(f"Median of floats {shape}", folder.run("Median", real), ndimage.median_filter(real, size=3, mode="nearest"))


def objects(folder, random):
    for shape, noise in random_images(random, "float64", 1):
        for neighborhood in ("N6", "N26"):
            binary = noise > 0.55
            around = structure(len(shape), neighborhood)
            labels = folder.run("ConnectedComponents", binary, f"Neighborhood={neighborhood}")
            expected, count = ndimage.label(binary, around)
            sizes = np.bincount(labels.ravel())[1:]
            check(f"ConnectedComponents {neighborhood} {shape}",
                  [same_partition(labels, expected), len(sizes), np.all(np.diff(sizes) <= 0)], [True, count, True])
            porous = noise > 0.3
            check(f"FillHoles {neighborhood} {shape}", folder.run("FillHoles", porous, f"Neighborhood={neighborhood}"),
                  ndimage.binary_fill_holes(porous, around))
            image = (noise * 9).astype("uint8")
            markers = folder.run("RegionalMaxima", image, f"Neighborhood={neighborhood}")
            expected = ndimage.label(morphology.local_maxima(image, around), around)[0]
            check(f"RegionalMaxima {neighborhood} {shape}", same_partition(markers, expected), True)
            for height in (1, 2, 4):
                markers = folder.run("RegionalMaxima", image, f"Neighborhood={neighborhood}", f"height={height}")
                check(f"RegionalMaxima {height} {neighborhood} {shape}", markers > 0,
                      morphology.h_maxima(image, height, around) > 0)


def resampling(folder, random):
    for shape, image in random_images(random, "float32", 100):
        for factor in (2.0, 0.6):
            new_shape = [max(1, math.floor(extent * factor + 0.5)) for extent in shape]
            places = np.meshgrid(*[np.clip((np.arange(count) + 0.5) / factor - 0.5, 0, extent - 1)
                                   for count, extent in zip(new_shape, shape)], indexing="ij")
            for name, order in (("linear", 1), ("bspline", 3)):
                found = folder.run("Resample", image, f"factor={factor}", f"interpolation={name}")
                check(f"Resample {name} {factor} {shape}", found,
                      ndimage.map_coordinates(image.astype("float64"), places, order=order, mode="mirror"), 2e-4)
            nearest = np.round(np.array(places) + 1e-9).astype(int)
            check(f"Resample nearest {factor} {shape}",
                  folder.run("Resample", image, f"factor={factor}", "interpolation=nearest"), image[tuple(nearest)])


def measurements(folder, random):
    for shape, noise in random_images(random, "float64", 1):
        labels = ndimage.label(noise > 0.6)[0].astype("uint16")
        grey = (random.random(shape) * 1000).astype("uint16")
        folder.run("LabelMeasurements", labels, Image2=grey)
        table = folder.path / "table.csv"
        table.unlink(missing_ok=True)
        subprocess.run([PROGRAM, "run", "LabelMeasurementsExport", str(folder.path / "out.nrrd"), "--pack", PACK, "--quiet",
                        "--file", str(table)], check=True)
        lines = [line for line in table.read_text().splitlines() if not line.startswith("#")]
        rows = list(csv.DictReader(lines, delimiter=";"))
        columns = {name.split(" [")[0]: [float(row[name]) for row in rows] for name in rows[0]}
        numbers = np.unique(labels)[1:]
        axes = "zyx"[3 - len(shape):]
        check(f"labels {shape}", columns["label"], numbers)
        check(f"voxels {shape}", columns["voxels"], np.bincount(labels.ravel())[numbers])
        centers = np.array(ndimage.center_of_mass(np.ones(shape), labels, numbers))
        for place, axis in enumerate(axes):
            check(f"centroid {axis} {shape}", columns[f"centroid {axis}"], centers[:, place], 1e-9)
        boxes = ndimage.find_objects(labels)
        for place, axis in enumerate(axes):
            check(f"box {axis}0 {shape}", columns[f"bounding box {axis}0"], [box[place].start for box in boxes])
            check(f"box {axis}1 {shape}", columns[f"bounding box {axis}1"], [box[place].stop - 1 for box in boxes])
        for name, function in (("mean", ndimage.mean), ("SD", ndimage.standard_deviation), ("minimum", ndimage.minimum),
                               ("maximum", ndimage.maximum)):
            check(f"grey value {name} {shape}", columns[f"grey value {name}"], function(grey, labels, numbers), 1e-6)
        for number, row in zip(numbers, zip(*[columns[f"axis {k + 1} length"] for k in range(len(shape))])):
            points = np.argwhere(labels == number)
            spread = np.cov(points.T, bias=True) if len(points) > 1 else np.zeros((len(shape),) * 2)
            variances = np.sort(np.linalg.eigvalsh(spread + np.eye(len(shape)) / 12))[::-1]
            check(f"axes of {number} {shape}", row, 2 * np.sqrt((len(shape) + 2) * variances), 1e-9)
        if len(shape) == 2:
            # The estimator for a plane, as scikit-image has it: 4 directions, background around the image.
            padded = np.pad(labels, 1)
            expected = [measure.perimeter_crofton(padded == number, directions=4) for number in numbers]
            check(f"perimeter {shape}", columns["perimeter"], expected, 1e-9)


def main():
    random = np.random.default_rng(20)
    with tempfile.TemporaryDirectory() as path:
        folder = Folder(path)
        for part in (thresholds, grey_values, objects, resampling, measurements):
            part(folder, random)
    for failure in failures:
        print(failure)
    print(f"peers: {checks} comparisons, {len(failures)} differences")
    return 1 if failures or checks < 200 else 0


if __name__ == "__main__":
    sys.exit(main())
