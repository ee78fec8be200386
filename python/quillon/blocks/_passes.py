"""Distance maps: one pass over whole lines along each axis, with files between the passes.

A pass takes a column of bricks, whole along its axis, from the files of the pass before it, and writes a file
for each brick. So a worker holds one column, and the float volume is never in memory as a whole. Files are
renamed when they are complete, so a task that is repeated after the loss of a worker finds a whole file or
none.
"""
from __future__ import annotations

import itertools
import os
import shutil
import tempfile
import weakref
from collections.abc import Mapping
from typing import Any

import dask
import dask.array
import numpy
from dask.base import tokenize
from dask.highlevelgraph import HighLevelGraph

from .. import _core
from .._errors import RefusedError
from ._volume import Request, sample_type

# Squared distances at pixels that no seed has reached.
NOWHERE = numpy.finfo(numpy.float32).max

# What a worker may hold of a column, in bytes.
COLUMN_BYTES = 256 * 2**20

_TOO_LONG = 65535


class Spill:
    """A folder for the files between passes. The process that made it removes it with the last graph that needs it."""

    def __init__(self, folder: str | os.PathLike[str] | None, name: str) -> None:
        root = os.fspath(folder) if folder is not None else dask.config.get("temporary_directory", None)
        if root is not None and not os.path.isdir(root):
            raise FileNotFoundError(f"the folder {root} for files between passes does not exist")
        self.path = tempfile.mkdtemp(prefix=f"quillon-{name}-", dir=root)
        self._finalizer = weakref.finalize(self, shutil.rmtree, self.path, True)

    def __reduce__(self) -> Any:  # a copy on a worker removes nothing
        return (str, (self.path,))

    def __dask_tokenize__(self) -> str:
        return self.path

    def __fspath__(self) -> str:
        return self.path


def passes(asked: Request, spill: str | os.PathLike[str] | None = None) -> dask.array.Array:
    """The distance map with the parameters of the plug-in."""
    values = asked.rule.values(asked.parameters)
    sample_type(asked)  # checks the parameters
    return distances(
        asked.array,
        asked.spacing,
        on_foreground=values["ComputeOn"] == "foreground",
        is_embedded=values["EdgeTreatment"] == "embedded",
        is_squared=values["exact_or_squared"] != "exact values",
        spill=spill,
    )


def distances(
    array: dask.array.Array,
    spacing: tuple[float, ...] | None,
    *,
    on_foreground: bool,
    is_embedded: bool,
    is_squared: bool,
    spill: str | os.PathLike[str] | None,
) -> dask.array.Array:
    """The Euclidean distance of the pixels of one phase to the other, equal to the plug-in's to the bit."""
    if max(array.shape) >= _TOO_LONG:
        raise RefusedError(f"a distance map takes at most {_TOO_LONG - 1} pixels along each axis, not {array.shape}")
    lengths = spacing or (1.0,) * array.ndim
    is_even = len(set(lengths)) == 1
    finish = {"factor": lengths[0] * lengths[0] if is_even else 1.0, "is_squared": is_squared}
    bricks = array.rechunk(brick_chunks(array.chunks))
    folder = Spill(spill, "distances")
    name = f"distances-{tokenize(array.name, lengths, on_foreground, is_embedded, is_squared, folder)}"
    grid = [range(count) for count in bricks.numblocks]
    graph: dict[Any, Any] = {}
    sources = {place: (bricks.name, *place) for place in itertools.product(*grid)}
    last = array.ndim - 1
    for number, axis in enumerate(reversed(range(array.ndim))):
        how = {
            "axis": axis,
            "weight": 1.0 if is_even else lengths[axis] * lengths[axis],
            "is_embedded": is_embedded,
            "seed": (0 if on_foreground else 1) if number == 0 else None,
        }
        results = {}
        for column in itertools.product(*(side for other, side in enumerate(grid) if other != axis)):
            places = [(*column[:axis], place, *column[axis:]) for place in grid[axis]]
            key = (f"{name}-pass{number}", *column)
            inputs = [sources[place] for place in places]
            if number == last:
                graph[key] = (_last_pass, inputs, how, finish, list(bricks.chunks[axis]))
                for place in places:
                    graph[(name, *place)] = (_part, key, place[axis])
            else:
                files = [f"{number}-" + "-".join(map(str, place)) + ".npy" for place in places]
                graph[key] = (_pass, inputs, how, folder, files, list(bricks.chunks[axis]))
                for index, place in enumerate(places):
                    results[place] = (f"{name}-file{number}", *place)
                    graph[results[place]] = (_part, key, index)
        sources = results
    layers = HighLevelGraph.from_collections(name, graph, dependencies=[bricks])
    result = dask.array.Array(layers, name, bricks.chunks, dtype=numpy.float32)
    return result.rechunk(array.chunks)


def brick_chunks(chunks: tuple[tuple[int, ...], ...]) -> tuple[tuple[int, ...], ...]:
    """The chunks themselves if columns of them fit into memory, otherwise chunks that are cut or merged."""
    shape = [sum(side) for side in chunks]
    dimension = len(shape)
    # A column is in memory twice, as 4 bytes a pixel.
    area = max(COLUMN_BYTES / 8 / max(shape), 1.0)
    edge = max(int(area ** (1 / max(dimension - 1, 1))), 1)

    def is_fine(axis: int) -> bool:
        across = [max(side) for other, side in enumerate(chunks) if other != axis]
        return bool(numpy.prod(across, dtype=float) * shape[axis] * 8 <= COLUMN_BYTES)

    if all(is_fine(axis) for axis in range(dimension)):
        return chunks
    return dask.array.core.normalize_chunks(tuple(min(edge, extent) for extent in shape), tuple(shape))  # type: ignore


def _column(inputs: list[Any], how: Mapping[str, Any]) -> numpy.ndarray[Any, Any]:
    """A column of bricks after the pass, with its lines along the last axis."""
    axis = how["axis"]
    bricks = [numpy.load(brick) if isinstance(brick, str) else brick for brick in inputs]
    if how["seed"] is not None:
        bricks = [numpy.where(brick == how["seed"], numpy.float32(0), numpy.float32(NOWHERE)) for brick in bricks]
    lines = numpy.ascontiguousarray(numpy.concatenate([numpy.moveaxis(brick, axis, -1) for brick in bricks], axis=-1))
    _core.distance_pass(lines, how["weight"], how["is_embedded"])
    return lines


def _cut(lines: numpy.ndarray[Any, Any], axis: int, sizes: list[int]) -> list[numpy.ndarray[Any, Any]]:
    ends = list(itertools.accumulate(sizes))
    return [
        numpy.ascontiguousarray(numpy.moveaxis(lines[..., end - size : end], -1, axis)) for size, end in zip(sizes, ends)
    ]


def _pass(
    inputs: list[Any], how: Mapping[str, Any], folder: Any, files: list[str], sizes: list[int]
) -> list[str]:
    """Writes the bricks of a column and returns their paths."""
    os.makedirs(folder, exist_ok=True)
    paths = []
    for brick, file in zip(_cut(_column(inputs, how), how["axis"], sizes), files):
        path = os.path.join(folder, file)
        with tempfile.NamedTemporaryFile(dir=folder, suffix=".part", delete=False) as part:
            numpy.save(part, brick)
        os.replace(part.name, path)
        paths.append(path)
    return paths


def _last_pass(
    inputs: list[Any], how: Mapping[str, Any], finish: Mapping[str, Any], sizes: list[int]
) -> list[numpy.ndarray[Any, Any]]:
    lines = _column(inputs, how)
    lines[lines == NOWHERE] = 0
    with numpy.errstate(over="ignore"):
        lines *= numpy.float32(finish["factor"])
    numpy.minimum(lines, NOWHERE, out=lines)
    if not finish["is_squared"]:
        numpy.sqrt(lines, out=lines)
    return _cut(lines, how["axis"], sizes)


def _part(parts: list[Any], index: int) -> Any:
    return parts[index]
