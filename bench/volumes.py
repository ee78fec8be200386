"""Writes the volumes of benchmarks: pixels without a header, x fastest.

volumes.py NAME FILE [EDGE]   EDGE is 256 if not given. NAME is one of
  scan      8-bit values: cement paste of 128^3 and its mirror images
  floats    the same as 32-bit floats
  fibres    8-bit values: a crop of a fibre composite and its mirror images
  thin      the fibres as 0 and 1, one to seven pixels thick
  foam      0 and 1: a foam, half of it solid, with walls of about 10 pixels
  objects   16-bit labels of hollow, notched ellipsoids, 300 in 256^3
  seeds     32-bit labels: a seed in the middle of each cube of 16^3 pixels
"""

import gzip
import sys
from pathlib import Path

import numpy

DATA = Path(__file__).parents[1] / "tests" / "data"


def read_nrrd(path):
    """The pixels of an 8-bit NRRD with gzip encoding, z first."""
    with open(path, "rb") as file:
        header, data = file.read().split(b"\n\n", 1)
    fields = dict(line.split(": ", 1) for line in header.decode().splitlines() if ": " in line)
    assert fields["type"] == "uint8" and fields["encoding"] == "gzip", fields
    sizes = [int(size) for size in fields["sizes"].split()]
    return numpy.frombuffer(gzip.decompress(data), numpy.uint8).reshape(sizes[::-1])


def mirrored(name, edge):
    """A real image, continued by its mirror images."""
    image = read_nrrd(DATA / name)
    padding = [(0, max(0, edge - extent)) for extent in image.shape]
    return numpy.pad(image, padding, mode="symmetric")[:edge, :edge, :edge]


def scan(edge):
    return mirrored("cement_pores_128.nrrd", edge)


def floats(edge):
    return scan(edge).astype(numpy.float32)


def fibres(edge):
    return mirrored("fibres_polymer_crop.nrrd", edge)


def otsu(volume):
    """The threshold of 8-bit values with the greatest variance between the classes."""
    counts = numpy.bincount(volume.ravel(), minlength=256).astype(float)
    values = numpy.arange(256)
    lower = counts.cumsum()[:-1]
    upper = counts.sum() - lower
    with numpy.errstate(invalid="ignore", divide="ignore"):
        means = (counts * values).cumsum()[:-1] / lower, (counts * values)[::-1].cumsum()[::-1][1:] / upper
        variance = lower * upper * (means[0] - means[1]) ** 2
    return numpy.nanargmax(variance)


def thin(edge):
    volume = fibres(edge)
    return (volume > otsu(volume)).astype(numpy.uint8)


def foam(edge, sigma=6):
    """Smoothed noise, thresholded at its median; periodic, because it is smoothed in the Fourier domain."""
    noise = numpy.random.default_rng(1).standard_normal((edge,) * 3)
    frequencies = numpy.fft.fftfreq(edge)
    damping = numpy.exp(-2 * (numpy.pi * sigma * frequencies) ** 2)
    spectrum = numpy.fft.rfftn(noise) * damping[:, None, None] * damping[:, None] * damping[: edge // 2 + 1]
    smooth = numpy.fft.irfftn(spectrum, noise.shape)
    return (smooth > numpy.median(smooth)).astype(numpy.uint8)


def objects(edge):
    """Randomly oriented, slightly overlapping ellipsoids, each with a hole and a notch."""
    random = numpy.random.default_rng(7)
    volume = numpy.zeros((edge, edge, edge), numpy.uint16)
    for label in range(1, 300 * edge**3 // 256**3 + 1):
        centre = random.uniform(20, edge - 20, 3)
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


def seeds(edge):
    labels = numpy.zeros((edge, edge, edge), numpy.uint32)
    middles = labels[8::16, 8::16, 8::16]
    middles[:] = numpy.arange(1, middles.size + 1).reshape(middles.shape)
    return labels


VOLUMES = {work.__name__: work for work in (scan, floats, fibres, thin, foam, objects, seeds)}

if __name__ == "__main__":
    if len(sys.argv) not in (3, 4) or sys.argv[1] not in VOLUMES:
        sys.exit(__doc__)
    VOLUMES[sys.argv[1]](int(sys.argv[3]) if len(sys.argv) == 4 else 256).tofile(sys.argv[2])
