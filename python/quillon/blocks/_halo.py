"""Rules in which a pixel depends on those around it, or on itself alone."""
from __future__ import annotations

from collections.abc import Callable
from typing import Any

import dask.array
import numpy

from ._volume import Request, block_of, sample_type


def with_margin(
    function: Callable[..., numpy.ndarray[Any, Any]],
    arrays: list[dask.array.Array],
    margin: int,
    dtype: numpy.dtype[Any],
    **keywords: Any,
) -> dask.array.Array:
    """Applies a function to blocks that overlap by the margin, and cuts the overlap off.

    At the border of the volume a block ends where the volume ends, so that the function meets its own border
    rule there. Chunks that are smaller than the margin are merged first, and the result is cut into the
    chunks of the first array.
    """
    chunks = arrays[0].chunks
    depth = {axis: min(margin, extent) for axis, extent in enumerate(arrays[0].shape)}
    border = dict.fromkeys(depth, "none")
    if margin:
        arrays = [dask.array.overlap.overlap(array, depth, border) for array in arrays]
    result = dask.array.map_blocks(
        function, *arrays, dtype=dtype, meta=numpy.empty((0,) * arrays[0].ndim, dtype), **keywords
    )
    if margin:
        result = dask.array.overlap.trim_internal(result, depth, border)
    return result.rechunk(chunks)


def halo(asked: Request) -> dask.array.Array:
    """Each block with its margin; without one for pointwise rules."""
    return with_margin(block_of, [asked.array, *asked.images.values()], asked.margin, sample_type(asked), **_how(asked))


def pointwise(asked: Request) -> dask.array.Array:
    if not asked.rule.needs_greatest or asked.array.dtype == bool:
        return halo(asked)
    # NaN does not count, which fmax knows.
    greatest = dask.array.reduction(asked.array, _greatest, _greatest, dtype=asked.array.dtype)
    return dask.array.map_blocks(
        _beside_greatest,
        asked.array,
        dask.array.broadcast_to(greatest, (1,) * asked.array.ndim),
        dtype=sample_type(asked),
        meta=numpy.empty((0,) * asked.array.ndim, asked.array.dtype),
        chunks=asked.array.chunks,
        **_how(asked),
    )


def _greatest(block: Any, axis: Any, keepdims: bool) -> Any:
    return numpy.fmax.reduce(block, axis=axis, keepdims=keepdims)


def _beside_greatest(
    block: numpy.ndarray[Any, Any], greatest: numpy.ndarray[Any, Any], **how: Any
) -> numpy.ndarray[Any, Any]:
    """The block of the result, from a block with the greatest value of the volume in one more line."""
    lines = numpy.broadcast_to(greatest, (1, *block.shape[1:]))
    return block_of(numpy.concatenate([block, lines]), **how)[:-1]


def lines(asked: Request) -> dask.array.Array:
    """Whole lines along the axis that the parameter "direction" names."""
    letter = str(asked.rule.values(asked.parameters)["direction"])[:1].lower()
    axis = asked.array.ndim - 1 - "xyz".index(letter if letter in ("y", "z") else "x")
    # A plane has no lines along z.
    array = asked.array.rechunk({axis: -1}) if axis >= 0 else asked.array
    result = dask.array.map_blocks(block_of, array, dtype=sample_type(asked), **_how(asked))
    return result.rechunk(asked.array.chunks)


def _how(asked: Request) -> dict[str, Any]:
    return {
        "plugin": asked.rule.name,  # map_blocks has a keyword name of its own
        "pack": asked.rule.pack,
        "spacing": asked.spacing,
        "keys": list(asked.images),
        "parameters": asked.parameters,
    }
