"""Volumes of Dask: what is checked before a graph is built, and runs of a plug-in on one block."""
from __future__ import annotations

import math
from collections.abc import Mapping, Sequence
from typing import Any, NamedTuple

import dask.array
import numpy

from .._errors import RefusedError
from .._image import Image
from .._run import run_entry
from ._rules import Rule, entry_of

_WORDS = {"bool": "binary", "uint8": "grey8", "uint16": "grey16", "uint32": "grey32", "float32": "greyf"}


class Volume(NamedTuple):
    """A lazy volume with the lengths of its pixels, in the order of the array, and their unit."""

    array: dask.array.Array
    spacing: tuple[float, ...] | None = None
    unit: str = ""


class Request(NamedTuple):
    """A checked call: the volume, the images among the parameters in the same chunks, and the other parameters."""

    rule: Rule
    array: dask.array.Array
    spacing: tuple[float, ...] | None
    images: dict[str, dask.array.Array]
    parameters: dict[str, Any]

    @property
    def margin(self) -> int:
        return self.rule.margin(self.parameters, self.spacing)


def request(rule: Rule, volume: Any, spacing: Any, parameters: Mapping[str, Any]) -> Request:
    """Checks volume, spacing and parameters. Raises TypeError, ValueError or quillon.RefusedError."""
    if isinstance(volume, Volume):
        spacing = volume.spacing if spacing is None else spacing
        volume = volume.array
    array = checked(volume, "the volume")
    lengths = checked_spacing(spacing, array.ndim)
    images: dict[str, dask.array.Array] = {}
    others: dict[str, Any] = {}
    for key, value in parameters.items():
        if isinstance(value, (dask.array.Array, numpy.ndarray, Image, Volume)):
            images[key] = _fitting(value, key, array)
        else:
            others[key] = value
    rule.require_blocks(word_of(array), {**others, **dict.fromkeys(images, True)})
    return Request(rule, array, lengths, images, others)


def checked(volume: Any, what: str) -> dask.array.Array:
    """The array itself if plug-ins can take its blocks."""
    if isinstance(volume, Volume):
        volume = volume.array
    if isinstance(volume, (numpy.ndarray, Image)):
        raise TypeError(f"{what} is not a Dask array; use dask.array.from_array, or quillon.run for an array in memory")
    if not isinstance(volume, dask.array.Array):
        raise TypeError(f"{what} is of type {type(volume).__name__} and not a Dask array")
    if volume.ndim not in (2, 3):
        raise ValueError(f"{what} has {volume.ndim} dimensions; plug-ins take 2 or 3")
    if any(math.isnan(extent) for extent in volume.shape):
        raise ValueError(f"{what} has chunks of unknown size; call its method compute_chunk_sizes first")
    if volume.size == 0:
        raise ValueError(f"{what} of shape {volume.shape} is empty")
    if volume.dtype.name not in _WORDS:
        raise TypeError(
            f"{what} is of type {volume.dtype}; use bool, uint8, uint16, uint32 or float32, converted with array.astype"
        )
    if any(0 in chunks for chunks in volume.chunks):  # empty chunks hold nothing and have no neighbours
        volume = volume.rechunk(tuple(tuple(size for size in chunks if size) for chunks in volume.chunks))
    return volume


def checked_spacing(spacing: float | Sequence[float] | None, dimension: int) -> tuple[float, ...] | None:
    """A length for each axis. Raises ValueError as `Image.spacing` does."""
    if spacing is None:
        return None
    image = Image(numpy.zeros((1,) * dimension, bool))
    image.spacing = spacing  # type: ignore[assignment]
    return image.spacing


def _fitting(image: Any, key: str, array: dask.array.Array) -> dask.array.Array:
    """An image among the parameters, in the chunks of the volume."""
    if isinstance(image, (numpy.ndarray, Image)):
        image = dask.array.from_array(numpy.asarray(image), chunks=array.chunks if image.shape == array.shape else -1)
    image = checked(image, key)
    if image.shape != array.shape:
        raise ValueError(f"{key} has the shape {image.shape} and the volume has {array.shape}")
    return image.rechunk(array.chunks)


def word_of(array: Any) -> str:
    """The pixel type of an array's items: "grey8"."""
    return _WORDS[array.dtype.name]


def sample_type(asked: Request) -> numpy.dtype[Any]:
    """The type of the result. A plug-in runs on a few pixels, which also checks its parameters."""
    parameters = {**asked.parameters, **{key: _sample(image) for key, image in asked.images.items()}}
    sample = _sample(asked.array)
    try:
        return run_on(asked.rule.name, asked.rule.pack, sample, asked.spacing, parameters).dtype
    except RefusedError as error:  # about the volume, not about the few pixels
        raise RefusedError(str(error).replace(f"of shape {sample.shape}", f"of shape {asked.array.shape}")) from None


def _sample(array: dask.array.Array) -> numpy.ndarray[Any, Any]:
    shape = tuple(min(extent, 4) for extent in array.shape)
    pixels = numpy.arange(math.prod(shape)).reshape(shape)
    return (pixels % (2 if array.dtype == bool else 7)).astype(array.dtype.newbyteorder("="))


def run_on(
    name: str, pack: str | None, block: Any, spacing: tuple[float, ...] | None, parameters: Mapping[str, Any]
) -> Image:
    """Runs the plug-in on one block, on one thread: the scheduler runs several blocks at once."""
    entry = entry_of(name, pack)
    result = run_entry(name, entry, Image(block, spacing=spacing), parameters, pack, threads=1)
    return result  # type: ignore[no-any-return]


def block_of(
    block: numpy.ndarray[Any, Any],
    *images: numpy.ndarray[Any, Any],
    plugin: str,
    pack: str | None,
    spacing: tuple[float, ...] | None,
    keys: Sequence[str],
    parameters: Mapping[str, Any],
) -> numpy.ndarray[Any, Any]:
    """The pixels that the plug-in makes of one block."""
    return run_on(plugin, pack, block, spacing, {**parameters, **dict(zip(keys, images))}).array
