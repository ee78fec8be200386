"""Compares local thresholds with scikit-image.

local_threshold_peer.py volume IMAGE.nrrd VOLUME  writes the benchmark volume, 256^3 bytes, x fastest: a real
                                                  image of 128^3 and its mirror images
local_threshold_peer.py compare VOLUME OURS.json  runs scikit-image on it and prints both; OURS.json is written
                                                  by LocalThresholdBench --benchmark_out
"""

import gzip
import json
import sys
import time

import numpy


def read_nrrd(path):
    """The pixels of an 8-bit NRRD with gzip encoding, z first."""
    with open(path, "rb") as file:
        header, data = file.read().split(b"\n\n", 1)
    fields = dict(line.split(": ", 1) for line in header.decode().splitlines() if ": " in line)
    assert fields["type"] == "uint8" and fields["encoding"] == "gzip", fields
    sizes = [int(size) for size in fields["sizes"].split()]
    return numpy.frombuffer(gzip.decompress(data), numpy.uint8).reshape(sizes[::-1])


def write_volume(image_path, volume_path):
    image = read_nrrd(image_path)
    numpy.pad(image, [(0, extent) for extent in image.shape], mode="symmetric").tofile(volume_path)


def seconds(threshold, volume, rounds=3):
    """The fastest of several rounds of computing the threshold and comparing."""
    best = float("inf")
    for _ in range(rounds):
        begin = time.perf_counter()
        volume > threshold(volume)
        best = min(best, time.perf_counter() - begin)
    return best


def compare(volume_path, ours_path):
    import skimage
    from skimage.filters import threshold_niblack, threshold_sauvola

    volume = numpy.fromfile(volume_path, numpy.uint8).reshape(256, 256, 256)
    with open(ours_path, encoding="utf-8") as file:
        ours = {run["name"].removesuffix("/real_time"): run["real_time"] / 1e3 for run in json.load(file)["benchmarks"]}
    peers = {
        "Niblack": lambda w: lambda image: threshold_niblack(image, window_size=2 * w + 1, k=0.2),
        "Sauvola": lambda w: lambda image: threshold_sauvola(image, window_size=2 * w + 1, k=0.2, r=127),
    }
    print(f"256^3 voxels; peer: scikit-image {skimage.__version__}, 8 bit, one thread")
    print(f"{'case':34}{'ours s':>9}{'ns/voxel':>10}{'peer s':>9}{'ratio':>8}")
    peer_seconds = {}
    for name, our_seconds in ours.items():
        method, pixel_type, window, _ = name.split("/")
        line = f"{name:34}{our_seconds:9.4f}{our_seconds / volume.size * 1e9:10.2f}"
        if pixel_type == "8 bit":
            if (method, window) not in peer_seconds:
                peer_seconds[method, window] = seconds(peers[method](int(window.removeprefix("w:"))), volume)
            peer = peer_seconds[method, window]
            line += f"{peer:9.2f}{peer / our_seconds:8.0f}"
        print(line, flush=True)


if __name__ == "__main__":
    commands = {"volume": write_volume, "compare": compare}
    if len(sys.argv) != 4 or sys.argv[1] not in commands:
        sys.exit(__doc__)
    commands[sys.argv[1]](*sys.argv[2:])
