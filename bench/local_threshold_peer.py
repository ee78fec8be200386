"""Compares local thresholds with scikit-image.

local_threshold_peer.py VOLUME OURS.json  runs scikit-image on the volume, 256^3 bytes, x fastest, and prints both;
                                          OURS.json is written by LocalThresholdBench --benchmark_out
"""

import json
import sys
import time

import numpy


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
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    compare(*sys.argv[1:])
