"""Compares fibre directions with the structure tensor, written in SciPy and NumPy.

fiber_directions_peer.py VOLUME EDGE SECONDS  runs the structure tensor on the volume, EDGE^3 bytes, x fastest, and prints
                                              both; SECONDS is written by FiberDirectionsBench
"""

import sys
import time

import numpy

from volumes import otsu


def structure_tensor_directions(volume, radius):
    """For each foreground pixel, the unit eigenvector of the smallest eigenvalue of the structure tensor, z first."""
    from scipy.ndimage import gaussian_filter

    image = volume.astype(numpy.float32)
    gradients = [gaussian_filter(image, 1.25, order=order, mode="nearest") for order in numpy.eye(3, dtype=int)]
    tensor = numpy.empty(volume.shape + (3, 3), numpy.float32)
    for i in range(3):
        for j in range(i, 3):
            tensor[..., i, j] = gaussian_filter(gradients[i] * gradients[j], radius, mode="nearest")
            tensor[..., j, i] = tensor[..., i, j]
    _, vectors = numpy.linalg.eigh(tensor[volume > 1.25 * otsu(volume)])
    return vectors[..., 0]


def compare(volume_path, edge, seconds_path):
    import scipy

    volume = numpy.fromfile(volume_path, numpy.uint8).reshape(3 * (int(edge),))
    print(f"{volume.shape[0]}^3 voxels, 8 bit, one thread; SciPy {scipy.__version__}, NumPy {numpy.__version__}")
    print(f"{'radius':8}{'ours s':>9}{'peer s':>9}{'ratio':>8}{'between the main directions, degrees':>40}")
    with open(seconds_path, encoding="utf-8") as file:
        for line in file:
            radius, ours, *direction, _ = map(float, line.split())
            begin = time.perf_counter()
            vectors = structure_tensor_directions(volume, radius)
            tensor = numpy.einsum("ni,nj->ij", vectors, vectors, dtype=float) / len(vectors)
            peer = time.perf_counter() - begin
            main = numpy.linalg.eigh(tensor)[1][:, 2][::-1]
            angle = numpy.degrees(numpy.arccos(min(1.0, abs(main @ direction))))
            print(f"{radius:<8g}{ours:9.3f}{peer:9.2f}{peer / ours:8.0f}{angle:40.2f}", flush=True)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    compare(*sys.argv[1:])
