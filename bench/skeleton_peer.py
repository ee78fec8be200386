"""Compares skeletons with scikit-image.

skeleton_peer.py volume VOLUME           writes the benchmark volume, bytes of 0 and 1, x fastest: a foam of
                                         256^3, half of it solid, with walls of about 10 pixels
skeleton_peer.py compare VOLUME SECONDS  runs scikit-image on it and prints both; SECONDS is written by SkeletonBench:
                                         one line with neighbourhood and time for each measurement
"""

import sys
import time

import numpy


def write_volume(volume_path, edge=256, sigma=6):
    """Smoothed noise, thresholded at its median; periodic, because it is smoothed in the Fourier domain."""
    noise = numpy.random.default_rng(1).standard_normal((edge,) * 3)
    frequencies = numpy.fft.fftfreq(edge)
    damping = numpy.exp(-2 * (numpy.pi * sigma * frequencies) ** 2)
    spectrum = numpy.fft.rfftn(noise) * damping[:, None, None] * damping[:, None] * damping[: edge // 2 + 1]
    smooth = numpy.fft.irfftn(spectrum, noise.shape)
    (smooth > numpy.median(smooth)).astype(numpy.uint8).tofile(volume_path)


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
    if len(sys.argv) == 3 and sys.argv[1] == "volume":
        write_volume(sys.argv[2])
    elif len(sys.argv) == 4 and sys.argv[1] == "compare":
        compare(*sys.argv[2:])
    else:
        sys.exit(__doc__)
