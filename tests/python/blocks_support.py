"""What the tests of volumes in blocks share: random volumes in random chunks."""
import os

import numpy
import pytest

dask = pytest.importorskip("dask")
import dask.array  # noqa: E402

# Without threads errors are raised where they occur, and small graphs are computed faster.
dask.config.set(scheduler="synchronous")

# One seed, because these tests take longer than others; QUILLON_TEST_SEED=N tries another.
SEEDS = [int(os.environ.get("QUILLON_TEST_SEED", "20"))]

# The name of a failed test ends with its seed.
seeds = pytest.mark.parametrize("seed", SEEDS, ids=[f"seed{seed}" for seed in SEEDS])


def random_cuts(rng, extent, least=1):
    """Chunks of uneven sizes, often smaller than any margin, and at least one of them of one pixel."""
    parts = [1] if least == 1 else []
    while sum(parts) < extent:
        parts.append(int(rng.integers(least, max(least + 1, extent * 2 // 3))))
    parts[-1] -= sum(parts) - extent
    parts = [part for part in parts if part > 0]
    rng.shuffle(parts)
    return tuple(parts)


def in_blocks(rng, array, least=1):
    array = numpy.asarray(array)
    return dask.array.from_array(array, chunks=tuple(random_cuts(rng, extent, least) for extent in array.shape))


def in_voxels(array):
    return dask.array.from_array(numpy.asarray(array), chunks=1)


def grey(rng, shape, dtype="uint8"):
    """Blobs with noise."""
    wave = sum(numpy.sin(place / rng.uniform(1.5, 4) + rng.uniform(0, 6)) for place in numpy.indices(shape))
    wave = wave + rng.normal(0, 0.4, shape)
    wave = (wave - wave.min()) / (wave.max() - wave.min())
    return (wave * {"uint8": 255, "uint16": 60000, "uint32": 2**31, "float32": 100}[dtype]).astype(dtype)


def mask(rng, shape):
    image = grey(rng, shape)
    return image > numpy.median(image)
