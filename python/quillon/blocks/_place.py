"""Rules in which a pixel depends on its place: crops and cylinders."""
from __future__ import annotations

import dask.array
import numpy

from .._run import run
from ._volume import Request


def crop(asked: Request) -> dask.array.Array:
    """The plug-in cuts a line of places along each axis; the volume is sliced likewise."""
    dimension = asked.array.ndim
    letters = "xyz"[:dimension][::-1]
    cuts = []
    for axis, letter in enumerate(letters):
        shape = [1] * dimension
        shape[axis] = asked.array.shape[axis]
        line = numpy.arange(asked.array.shape[axis], dtype=numpy.uint32).reshape(shape)
        # A plane is asked about z as well, which it does not have.
        own = {key: value for key, value in asked.parameters.items() if key[:1] == letter or key[:1] not in letters}
        places = run(asked.rule.name, line, asked.rule.pack, **own).array.ravel()
        cuts.append(slice(int(places[0]), int(places[-1]) + 1))
    return asked.array[tuple(cuts)]


def cylinder(asked: Request) -> dask.array.Array:
    """The plug-in masks one plane across the axis, which stands for all."""
    values = asked.rule.values(asked.parameters)
    axis = {"X": 2, "Y": 1}.get(str(values["axis"])[:1], 0)
    shape = list(asked.array.shape)
    if asked.array.ndim == 3:
        shape[axis] = 1
    array = asked.array
    if values["crop"]:
        # Places from 1: what the plug-in leaves inside the cylinder says where the result begins.
        places = numpy.arange(1, numpy.prod(shape) + 1, dtype=numpy.uint32).reshape(shape)
        left = run(asked.rule.name, places, asked.rule.pack, **asked.parameters).array
        inside = tuple(int(found[0]) for found in numpy.nonzero(left))
        origin = numpy.subtract(numpy.unravel_index(int(left[inside]) - 1, shape), inside)
        cuts = [slice(int(first), int(first) + extent) for first, extent in zip(origin, left.shape)]
        if asked.array.ndim == 3:
            cuts[axis] = slice(None)
        array, plane = array[tuple(cuts)], left != 0
    else:
        plane = run(asked.rule.name, numpy.ones(shape, numpy.uint8), asked.rule.pack, **asked.parameters).array != 0
    chunks = tuple(side if extent > 1 else (1,) for side, extent in zip(array.chunks, plane.shape))
    mask = dask.array.from_array(plane, chunks=chunks)
    return dask.array.where(mask, array, array.dtype.type(0))
