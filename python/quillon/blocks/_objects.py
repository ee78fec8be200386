"""Objects one by one, each in its bounding box."""
from __future__ import annotations

import itertools
from dataclasses import dataclass
from typing import Any, Tuple

import dask
import dask.array
import numpy

from ._compute import compute, starts_of, tree
from ._volume import Request, run_on, sample_type

Box = Tuple[Tuple[int, int], ...]


def convex_hulls(asked: Request) -> dask.array.Array:
    """The volume with the hulls of its objects painted over it in the order of their labels.

    The bounding boxes are found at once, because the graph depends on them.
    """
    sample_type(asked)
    array = asked.array
    keeps_objects = asked.rule.values(asked.parameters)["method"] == "OverwriteOnlyBackground"
    boxes = {label: extent.box for label, extent in _extents(array).items()}
    hull = dask.delayed(_hull, pure=True)
    hulls = {
        label: hull(_in_box(array, box), label, asked.rule.name, asked.rule.pack)
        for label, box in boxes.items()
    }
    paint = dask.delayed(_paint, pure=True)
    results = numpy.empty(array.numblocks, object)
    for place, block, start in zip(numpy.ndindex(*array.numblocks), array.to_delayed().ravel(), starts_of(array)):
        shape = tuple(side[at] for side, at in zip(array.chunks, place))
        ends = numpy.add(start, shape)
        near = [
            label
            for label, box in boxes.items()
            if all(low < end and first < high for (low, high), first, end in zip(box, start, ends))
        ]
        painted = paint(block, start, near, [boxes[label] for label in near], [hulls[label] for label in near], keeps_objects)
        results[place] = dask.array.from_delayed(painted, shape, array.dtype)
    return dask.array.block(results.tolist())


@dataclass
class _Extent:
    """Where an object lies: its bounding box, from the first pixel to one past the last, and sums of coordinates."""

    box: Box
    sums: tuple[int, ...]
    pixels: int

    def joined(self, other: _Extent) -> _Extent:
        box = tuple((min(a, c), max(b, d)) for (a, b), (c, d) in zip(self.box, other.box))
        return _Extent(box, tuple(map(sum, zip(self.sums, other.sums))), self.pixels + other.pixels)


def _extents(array: dask.array.Array) -> dict[int, _Extent]:
    """Where each object lies, in the order of labels."""
    call = dask.delayed(_extents_in_block, pure=True)
    parts = [call(block, start) for block, start in zip(array.to_delayed().ravel(), starts_of(array))]
    (extents,) = compute(tree(_joined, parts))
    return dict(sorted(extents.items()))


def _extents_in_block(block: numpy.ndarray[Any, Any], start: tuple[int, ...]) -> dict[int, _Extent]:
    places = numpy.nonzero(block)
    labels = block[places]
    order = numpy.argsort(labels, kind="stable")
    found, firsts, counts = numpy.unique(labels[order], return_index=True, return_counts=True)
    if not len(found):
        return {}
    lows, highs, sums = [], [], []
    for axis, first in enumerate(start):
        along = places[axis][order] + first
        lows.append(numpy.minimum.reduceat(along, firsts).tolist())
        highs.append((numpy.maximum.reduceat(along, firsts) + 1).tolist())
        sums.append(numpy.add.reduceat(along, firsts).tolist())
    return {
        int(label): _Extent(tuple(zip(low, high)), total, int(count))
        for label, low, high, total, count in zip(found, zip(*lows), zip(*highs), zip(*sums), counts)
    }


def _joined(parts: list[dict[int, _Extent]]) -> dict[int, _Extent]:
    joined: dict[int, _Extent] = {}
    for label, extent in itertools.chain.from_iterable(part.items() for part in parts):
        joined[label] = joined[label].joined(extent) if label in joined else extent
    return joined


def _in_box(array: dask.array.Array, box: Box) -> dask.array.Array:
    return array[tuple(slice(*side) for side in box)]


def _hull(box: numpy.ndarray[Any, Any], label: int, name: str, pack: str | None) -> numpy.ndarray[Any, Any]:
    """The pixels that the plug-in paints for the object: none if it has no hull, as a single pixel or flat pixels."""
    # What surrounds the object is painted first, over all of the box.
    layers = numpy.pad((box == label).astype(numpy.uint8) + 1, 1, constant_values=1)
    painted = run_on(name, pack, layers, None, {}).array == 2
    return painted[(slice(1, -1),) * box.ndim]


def label_measurements(asked: Request) -> Any:
    """Each object measured in its bounding box. Of its place, only the centroid and the box differ there; sums of
    whole numbers make up for that."""
    extents = _extents(asked.array)
    if not extents:
        run_on(asked.rule.name, asked.rule.pack, numpy.zeros_like(asked.array, shape=(1,) * asked.array.ndim), None, {})
    images = list(asked.images.values())
    call = dask.delayed(_measured, pure=True)
    width = len(str(max(extents)))
    entries = {
        f"object {label:0{width}}": call(
            [_in_box(image, extent.box) for image in [asked.array, *images]], label, extent, list(asked.images), asked.rule.name,
            asked.rule.pack, asked.spacing,
        )
        for label, extent in extents.items()
    }
    most = {"maximum label": max(extents)} if max(extents) < 2**31 else {}
    return dask.delayed(_table, pure=True)(list(entries), list(entries.values()), most)


def _table(keys: list[str], entries: list[Any], further: dict[str, Any]) -> dict[str, Any]:
    return {**dict(zip(keys, entries)), **further}


def _measured(
    boxes: list[numpy.ndarray[Any, Any]],
    label: int,
    extent: _Extent,
    keys: list[str],
    name: str,
    pack: str | None,
    spacing: tuple[float, ...] | None,
) -> dict[str, Any]:
    image = run_on(name, pack, boxes[0] == label, spacing, dict(zip(keys, boxes[1:])))
    entry = dict(image.measurements["LabelMeasurements"]["object 1"])
    entry["object"] = str(label)
    lengths = spacing or (1.0,) * len(extent.box)
    for axis, letter in enumerate("xyz"[: len(extent.box)][::-1]):
        entry["centroid"][letter] = extent.sums[axis] / extent.pixels * lengths[axis]
        entry["bounding box"][f"{letter}0"], entry["bounding box"][f"{letter}1"] = extent.box[axis][0], extent.box[axis][1] - 1
    return entry


def _paint(
    block: numpy.ndarray[Any, Any],
    start: tuple[int, ...],
    labels: list[int],
    boxes: list[Box],
    hulls: list[numpy.ndarray[Any, Any]],
    keeps_objects: bool,
) -> numpy.ndarray[Any, Any]:
    painted = block.copy()
    for label, box, hull in zip(labels, boxes, hulls):
        here, there = [], []
        for (low, high), first, extent in zip(box, start, block.shape):
            begin, end = max(low, first), min(high, first + extent)
            here.append(slice(begin - first, end - first))
            there.append(slice(begin - low, end - low))
        painted[tuple(here)][hull[tuple(there)]] = label
    if keeps_objects:
        painted = numpy.where(block != 0, block, painted)
    return painted
