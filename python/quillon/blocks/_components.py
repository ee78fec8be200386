"""Connected objects: labelled in each block, joined across the faces of blocks.

Blocks are labelled twice: first to learn how their objects meet, which takes a few numbers for each object,
and again to write the final labels. So no volume of labels is stored in between.
"""
from __future__ import annotations

import itertools
from collections.abc import Sequence
from typing import Any

import dask
import dask.array
import numpy

from ._compute import starts_of
from ._volume import Request, run_on, sample_type

_LABELLER = "ConnectedComponents"


def components(asked: Request) -> dask.array.Array:
    """Labels as 32-bit numbers, the largest object first, as the plug-in numbers them in the whole volume."""
    sample_type(asked)
    values = asked.rule.values(asked.parameters)
    tables = _tables(asked, values["Neighborhood"], is_background=False)
    final = dask.delayed(_final_labels, pure=True)(tables, values["minimumSize"])
    return _painted(asked, values["Neighborhood"], final, numpy.dtype(numpy.uint32), is_background=False)


def holes(asked: Request) -> dask.array.Array:
    """Objects, and the background that is not connected with the border of the volume."""
    sample_type(asked)
    values = asked.rule.values(asked.parameters)
    tables = _tables(asked, values["Neighborhood"], is_background=True)
    final = dask.delayed(_filled, pure=True)(tables)
    return _painted(asked, values["Neighborhood"], final, numpy.dtype(bool), is_background=True)


def _labels(block: numpy.ndarray[Any, Any], pack: str | None, neighborhood: str, is_background: bool) -> Any:
    """Labels from 1 of the objects of a block, in the same order whenever it is computed."""
    pixels = ~block if is_background else block
    return run_on(_LABELLER, pack, pixels, None, {"Neighborhood": neighborhood}).array


def _tables(asked: Request, neighborhood: str, is_background: bool) -> Any:
    array, pack = asked.array, asked.rule.pack
    call = dask.delayed(_table, pure=True)
    blocks = array.to_delayed().ravel()
    tables = [
        call(block, start, array.shape, pack, neighborhood, is_background)
        for block, start in zip(blocks, starts_of(array))
    ]
    by_place = dict(zip(numpy.ndindex(*array.numblocks), tables))
    meet = dask.delayed(_meetings, pure=True)
    pairs = []
    for place, table in by_place.items():
        others = {}
        for step in _forward(array.ndim, neighborhood):
            neighbour = tuple(numpy.add(place, step))
            if neighbour in by_place:
                others[step] = by_place[neighbour]["faces"]
        if others:
            pairs.append(meet(table["faces"], list(others), list(others.values()), neighborhood))
        else:
            pairs.append([])
    return dask.delayed(_joined, pure=True)(
        [[table["sizes"], table["firsts"], table["at_border"]] for table in tables],
        pairs,
        [[numpy.ravel_multi_index(tuple(numpy.add(place, step)), array.numblocks) for step in _steps_inside(place, array, neighborhood)] for place in by_place],
    )


def _steps_inside(place: Sequence[int], array: dask.array.Array, neighborhood: str) -> list[tuple[int, ...]]:
    steps = []
    for step in _forward(array.ndim, neighborhood):
        neighbour = tuple(numpy.add(place, step))
        if all(0 <= index < count for index, count in zip(neighbour, array.numblocks)):
            steps.append(step)
    return steps


def _forward(dimension: int, neighborhood: str) -> list[tuple[int, ...]]:
    """The steps to neighbouring blocks, each taken once with its opposite."""
    steps = [step for step in itertools.product((-1, 0, 1), repeat=dimension) if step > (0,) * dimension]
    if neighborhood == "N6":
        steps = [step for step in steps if sum(abs(part) for part in step) == 1]
    return steps


def _table(
    block: numpy.ndarray[Any, Any],
    start: tuple[int, ...],
    shape: tuple[int, ...],
    pack: str | None,
    neighborhood: str,
    is_background: bool,
) -> dict[str, Any]:
    """Of each object of a block: its size, the place of its first pixel in the volume, and whether it touches the
    border of the volume; and the labels on the faces."""
    labels = _labels(block, pack, neighborhood, is_background).astype(numpy.uint32)
    flat = labels.ravel()
    sizes = numpy.bincount(flat)
    sizes[0] = 0
    firsts = numpy.zeros(len(sizes), numpy.int64)
    found, places = numpy.unique(flat, return_index=True)
    inside = numpy.unravel_index(places, labels.shape)
    place_in_volume = numpy.zeros(len(found), numpy.int64)
    for axis, extent in enumerate(shape):  # the order of rows in the volume
        place_in_volume = place_in_volume * extent + inside[axis] + start[axis]
    firsts[found] = place_in_volume
    faces = {}
    at_border = numpy.zeros(len(sizes), bool)
    for axis in range(labels.ndim):
        for side in (-1, 1):
            face = numpy.take(labels, [0 if side < 0 else labels.shape[axis] - 1], axis=axis)
            faces[axis, side] = face
            is_border = start[axis] == 0 if side < 0 else start[axis] + labels.shape[axis] == shape[axis]
            if is_border:
                at_border[numpy.unique(face)] = True
    return {"sizes": sizes, "firsts": firsts, "at_border": at_border, "faces": faces}


def _slab(faces: dict[Any, Any], step: tuple[int, ...]) -> numpy.ndarray[Any, Any]:
    """The labels of a block that touch its neighbour in that direction."""
    axis = next(axis for axis, part in enumerate(step) if part)
    slab = faces[axis, step[axis]]
    for other, part in enumerate(step):
        if part and other != axis:
            slab = numpy.take(slab, [0 if part < 0 else slab.shape[other] - 1], axis=other)
    return slab  # type: ignore[no-any-return]


def _meetings(
    faces: dict[Any, Any], steps: list[tuple[int, ...]], others: list[dict[Any, Any]], neighborhood: str
) -> list[numpy.ndarray[Any, Any]]:
    """For each neighbour the pairs of labels that are connected."""
    meetings = []
    for step, other in zip(steps, others):
        ours, theirs = _slab(faces, step), _slab(other, tuple(-part for part in step))
        free = [axis for axis, part in enumerate(step) if not part]
        shifts = itertools.product((-1, 0, 1), repeat=len(free)) if neighborhood != "N6" else [(0,) * len(free)]
        pairs = []
        for shift in shifts:
            a, b = ours, theirs
            for axis, part in zip(free, shift):
                extent = ours.shape[axis]
                if abs(part) >= extent:
                    a, b = a[:0], b[:0]
                    break
                a = numpy.take(a, range(max(-part, 0), extent - max(part, 0)), axis=axis)
                b = numpy.take(b, range(max(part, 0), extent + min(part, 0)), axis=axis)
            both = (a != 0) & (b != 0)
            pairs.append(numpy.stack([a[both], b[both]], axis=-1).astype(numpy.int64))
        meetings.append(numpy.unique(numpy.concatenate(pairs), axis=0))
    return meetings


def _joined(tables: list[Any], meetings: list[Any], neighbours: list[list[int]]) -> dict[str, Any]:
    """The object of the whole volume that each label of each block belongs to, and sums over these objects."""
    offsets = numpy.cumsum([0, *(len(sizes) for sizes, _, _ in tables)])
    sizes = numpy.concatenate([table[0] for table in tables])
    firsts = numpy.concatenate([table[1] for table in tables])
    at_border = numpy.concatenate([table[2] for table in tables])
    pairs = [numpy.empty((0, 2), numpy.int64)]
    for block, (found, others) in enumerate(zip(meetings, neighbours)):
        pairs += [pair + (offsets[block], offsets[other]) for pair, other in zip(found, others)]
    root = _united(len(sizes), numpy.concatenate(pairs))
    total = numpy.bincount(root, sizes.astype(float), len(sizes)).astype(numpy.int64) if len(sizes) else sizes
    first = numpy.full(len(sizes), numpy.iinfo(numpy.int64).max)
    is_object = sizes > 0
    numpy.minimum.at(first, root[is_object], firsts[is_object])
    touches = numpy.zeros(len(sizes), bool)
    numpy.logical_or.at(touches, root, at_border)
    return {"root": root, "sizes": total, "firsts": first, "at_border": touches, "offsets": offsets}


def _united(count: int, pairs: numpy.ndarray[Any, Any]) -> numpy.ndarray[Any, Any]:
    """The least member of the set of each number, when the numbers of each pair are in one set."""
    root = numpy.arange(count)
    while len(pairs):
        a, b = root[pairs[:, 0]], root[pairs[:, 1]]
        differ = a != b
        if not differ.any():
            break
        pairs = pairs[differ]
        low, high = numpy.minimum(a, b)[differ], numpy.maximum(a, b)[differ]
        numpy.minimum.at(root, high, low)
        while True:  # every number points at the end of its chain
            further = root[root]
            if (further == root).all():
                break
            root = further
    return root


def _final_labels(joined: dict[str, Any], minimum_size: int) -> list[numpy.ndarray[Any, Any]]:
    """The final label of each label of each block."""
    root, sizes = joined["root"], joined["sizes"]
    objects = numpy.flatnonzero((root == numpy.arange(len(root))) & (sizes > 0) & (sizes >= minimum_size))
    order = objects[numpy.lexsort((joined["firsts"][objects], -sizes[objects]))]
    labels = numpy.zeros(len(root), numpy.uint32)
    labels[order] = numpy.arange(1, len(order) + 1)
    return _cut(labels[root], joined["offsets"])


def _filled(joined: dict[str, Any]) -> list[numpy.ndarray[Any, Any]]:
    """Whether each label of the background of each block becomes object; 0 stands for what is object already."""
    filled = ~joined["at_border"][joined["root"]]
    filled[joined["offsets"][:-1]] = True
    return _cut(filled, joined["offsets"])


def _cut(numbers: numpy.ndarray[Any, Any], offsets: numpy.ndarray[Any, Any]) -> list[numpy.ndarray[Any, Any]]:
    return [numbers[first:end] for first, end in zip(offsets, offsets[1:])]


def _painted(
    asked: Request, neighborhood: str, final: Any, dtype: numpy.dtype[Any], is_background: bool
) -> dask.array.Array:
    array = asked.array
    call = dask.delayed(_paint, pure=True)
    results = numpy.empty(array.numblocks, object)
    for index, (place, block) in enumerate(zip(numpy.ndindex(*array.numblocks), array.to_delayed().ravel())):
        shape = tuple(side[at] for side, at in zip(array.chunks, place))
        painted = call(block, final[index], asked.rule.pack, neighborhood, is_background)
        results[place] = dask.array.from_delayed(painted, shape, dtype)
    return dask.array.block(results.tolist())


def _paint(
    block: numpy.ndarray[Any, Any], final: numpy.ndarray[Any, Any], pack: str | None, neighborhood: str, is_background: bool
) -> numpy.ndarray[Any, Any]:
    return final[_labels(block, pack, neighborhood, is_background)]  # type: ignore[no-any-return]
