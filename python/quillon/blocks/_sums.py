"""Measurements that are sums over blocks. All sums are whole numbers, so that their order does not matter."""
from __future__ import annotations

import os
from typing import Any

import dask
import dask.array
import numpy

from .. import _core
from .._errors import PluginError
from .._image import Image
from .._values import from_json
from ._compute import compute, per_block, starts_of, tree
from ._passes import distances
from ._volume import Request, run_on

_EMPTY = "Image is empty or structur is too thin."


def _overlapping(
    array: dask.array.Array, before: int, after: int
) -> tuple[list[Any], list[tuple[int, ...]], list[tuple[int, ...]], list[tuple[int, ...]]]:
    """Delayed blocks that reach beyond their own pixels, as far as the volume does; with the place of their first
    pixel, and the first and one past the last place of their own pixels."""
    blocks, starts, firsts, ends = [], [], [], []
    for first, place in zip(starts_of(array), numpy.ndindex(*array.numblocks)):
        end = tuple(low + side[at] for low, side, at in zip(first, array.chunks, place))
        start = tuple(max(low - before, 0) for low in first)
        stop = tuple(min(high + after, extent) for high, extent in zip(end, array.shape))
        part = array[tuple(slice(low, high) for low, high in zip(start, stop))]
        blocks.append(dask.delayed(_as_array, pure=True)(part))
        starts.append(start)
        firsts.append(first)
        ends.append(end)
    return blocks, starts, firsts, ends


def _as_array(part: numpy.ndarray[Any, Any]) -> numpy.ndarray[Any, Any]:
    return numpy.ascontiguousarray(part)


def _added(parts: list[Any]) -> Any:
    total = parts[0].copy()
    for part in parts[1:]:
        total += part
    return total


def _xyz(spacing: tuple[float, ...] | None, dimension: int) -> list[float]:
    lengths = list(reversed(spacing)) if spacing is not None else [1.0] * dimension
    return (lengths + [1.0])[:3]


def field_features(asked: Request) -> Any:
    """Configurations of 2 x 2 x 2 pixels, each counted in the block of its first pixel."""
    blocks, *_ = _overlapping(asked.array, 0, 1)
    count = dask.delayed(_configurations, pure=True)
    counts = tree(_added, [count(block) for block in blocks])
    return dask.delayed(_features, pure=True)(counts, _xyz(asked.spacing, asked.array.ndim))


def _configurations(block: numpy.ndarray[Any, Any]) -> numpy.ndarray[Any, Any]:
    return _core.configuration_counts(Image(block)._core)


def _features(counts: numpy.ndarray[Any, Any], spacing: list[float]) -> dict[str, Any]:
    return _dict(_core.field_features(counts, spacing))


def _dict(text: str) -> dict[str, Any]:
    values = from_json(text)
    assert isinstance(values, dict)
    return values


def granulometry(
    asked: Request,
    spill: str | os.PathLike[str] | None = None,
    greatest_radius: float | None = None,
) -> Any:
    """The number of pixels of each opening size. The greatest radius, in pixels, is found at once, by a distance map,
    unless it is given: the graph depends on it."""
    values = asked.rule.values(asked.parameters)
    arrays = [asked.array, *asked.images.values()]
    if greatest_radius is None:
        structure = arrays[0] if values["onForeground"] else ~arrays[0]
        for mask in arrays[1:]:
            structure = structure & (mask != 0)
        squared = distances(structure, None, on_foreground=True, is_embedded=True, is_squared=True, spill=spill)
        (greatest,) = compute(squared.max())
        greatest_radius = float(numpy.sqrt(float(greatest)))
    margin = asked.rule.margin(asked.parameters, asked.spacing, greatest_radius)
    overlapping = [_overlapping(array, margin, margin) for array in arrays]
    count = dask.delayed(_opening_sizes, pure=True)
    how = (asked.rule.name, asked.rule.pack, asked.spacing, list(asked.images), asked.parameters)
    _, starts, firsts, ends = overlapping[0]
    parts = [
        count(start, first, end, how, *blocks)
        for start, first, end, *blocks in zip(starts, firsts, ends, *(part[0] for part in overlapping))
    ]
    return dask.delayed(_granulometry, pure=True)(tree(_joined_sizes, parts), asked.rule.name)


def _opening_sizes(start: Any, first: Any, end: Any, how: Any, *blocks: Any) -> tuple[dict[float, int], dict[str, Any]]:
    """The number of pixels of each diameter in the block, and the other entries of the measurement."""
    name, pack, spacing, keys, parameters = how
    settings = {**parameters, **dict(zip(keys, blocks[1:])), "returnImage": True}
    try:
        image = run_on(name, pack, blocks[0], spacing, settings)
    except PluginError as error:
        if _EMPTY not in str(error):
            raise
        return {}, {}
    own = tuple(slice(low - begin, high - begin) for begin, low, high in zip(start, first, end))
    found, counts = numpy.unique(image.array[own], return_counts=True)
    others = {key: value for key, value in image.measurements["Granulometry"].items() if key != "data"}
    return {float(size): int(count) for size, count in zip(found, counts) if size != 0}, others


def _joined_sizes(parts: list[Any]) -> Any:
    joined: dict[float, int] = {}
    others: dict[str, Any] = {}
    for sizes, settings in parts:
        others = others or settings
        for size, count in sizes.items():
            joined[size] = joined.get(size, 0) + count
    return joined, others


def _granulometry(counted: Any, name: str) -> dict[str, Any]:
    sizes, others = counted
    if not sizes:
        raise PluginError(f"{name} says: {_EMPTY}")
    # Keys as the plug-in writes them: padded to the width of the greatest diameter.
    width = max(8 + int(numpy.log10(max(sizes))), 0)
    data: dict[str, int] = {}
    for size in sorted(sizes):
        key = f"{size:0{width}e}"
        data[key] = data.get(key, 0) + sizes[size]
    return {"data": data, **others}


def fiber_directions(asked: Request) -> Any:
    """Orientation tensors as sums of whole numbers; the threshold is Otsu's of the whole volume."""
    values = asked.rule.values(asked.parameters)
    array = asked.array
    spacing = _xyz(asked.spacing, array.ndim)
    subfields = [int(values[f"subfield_{axis}"] or 0) if values["use_subfields"] else 0 for axis in "xyz"]
    how = (list(reversed(array.shape)), spacing, float(values["fiber_radius"]), subfields)
    _core.FiberBlocks(*how)  # raises now if the volume is too small
    margin = asked.margin
    mask = next(iter(asked.images.values()), None)
    otsu = None
    if mask is None:
        histogram = tree(_added, per_block(_histogram, array))
        otsu = dask.delayed(_otsu, pure=True)(histogram, float(values["advanced/otsu_factor"]))
    blocks, starts, firsts, ends = _overlapping(array, margin, margin)
    masks = _overlapping(mask, margin, margin)[0] if mask is not None else [None] * len(blocks)
    call = dask.delayed(_fiber_sums, pure=True)
    parts = [
        call(how, asked.spacing, block, part, otsu, start, first, end)
        for block, part, start, first, end in zip(blocks, masks, starts, firsts, ends)
    ]
    return dask.delayed(_fibers, pure=True)(tree(_added, parts), how, otsu)


def _histogram(block: numpy.ndarray[Any, Any]) -> numpy.ndarray[Any, Any]:
    return numpy.bincount(block.ravel(), minlength=256)


def _otsu(histogram: numpy.ndarray[Any, Any], factor: float) -> tuple[float, float]:
    return factor, _core.FiberBlocks.threshold_by_otsu([int(count) for count in histogram], factor)


def _fiber_sums(how: Any, spacing: Any, block: Any, mask: Any, otsu: Any, *corners: Any) -> numpy.ndarray[Any, Any]:
    foreground = block > otsu[1] if otsu is not None else mask != 0
    start, first, end = ((list(reversed(corner)) + [0])[:3] for corner in corners)
    if block.ndim == 2:
        end[2] = 1
    image = Image(block, spacing=spacing)
    return _core.FiberBlocks(*how).sums_of(image._core, Image(foreground)._core, start, first, end)


def _fibers(sums: numpy.ndarray[Any, Any], how: Any, otsu: Any) -> dict[str, Any]:
    return _dict(_core.FiberBlocks(*how).measurement(sums, list(otsu) if otsu is not None else None))
