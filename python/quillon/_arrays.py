"""Arrays as images: which types fit, and what is converted."""
from __future__ import annotations

import os
from typing import Any

import numpy

from ._errors import ArgumentError

# Item type of an array, in the machine's byte order, and the pixel type that has the same memory.
_SAME_MEMORY = {"?": "binary", "u1": "grey8", "u2": "grey16", "u4": "grey32", "f4": "greyf"}
_DTYPES = {"binary": "?", "grey8": "u1", "grey16": "u2", "grey32": "u4", "greyf": "f4"}
_LIMITS = {"grey8": 0xFF, "grey16": 0xFFFF, "grey32": 0xFFFFFFFF}
_SUPPORTED = "bool, uint8, uint16, uint32, float32, and integers and floats that these hold without loss"


def as_pixels(array: Any) -> tuple[numpy.ndarray[Any, Any], str]:
    """The array as contiguous pixels, without a copy if possible, and the name of their type."""
    _require_array(array)
    array = numpy.asanyarray(array)
    if isinstance(array, numpy.ma.MaskedArray):
        raise TypeError("a masked array has no pixels where it is masked; call its method filled first")
    pixels = numpy.asarray(array)
    if pixels.ndim not in (2, 3):
        raise ValueError(f"an image has 2 or 3 dimensions, and this array has {pixels.ndim}")
    if pixels.size == 0:
        raise ValueError(f"the array of shape {pixels.shape} is empty")
    kind = f"{pixels.dtype.kind}{pixels.dtype.itemsize}"
    kind = "?" if kind == "b1" else kind
    if kind in _SAME_MEMORY:
        native = pixels.dtype.newbyteorder("=")
        return numpy.require(pixels, native, ["C", "ALIGNED"]), _SAME_MEMORY[kind]
    if pixels.dtype.kind in "iu":
        return _of_integers(pixels)
    if pixels.dtype.kind == "f":
        return _converted(pixels, "greyf"), "greyf"
    raise TypeError(f"arrays of {pixels.dtype} cannot be images; use {_SUPPORTED}")


def _require_array(value: Any) -> None:
    """Refuses what NumPy would make an array of in a way that nobody means."""
    if hasattr(value, "__array__") or hasattr(value, "__array_interface__"):
        return
    advice = "give a quillon.Image or a NumPy array"
    if isinstance(value, (str, os.PathLike)):
        advice = "read a file with quillon.read"
    if isinstance(value, (list, tuple)):
        advice = "give one of its images, or numpy.array of its numbers"
    raise TypeError(f"an object of type {type(value).__name__} is not an image; {advice}")


def _of_integers(pixels: numpy.ndarray[Any, Any]) -> tuple[numpy.ndarray[Any, Any], str]:
    """Integers of other types than those of images."""
    smallest, greatest = int(pixels.min()), int(pixels.max())
    wanted = {1: "grey8", 2: "grey16"}.get(pixels.dtype.itemsize, "grey32")
    if smallest >= 0 and greatest <= _LIMITS[wanted]:
        return numpy.ascontiguousarray(pixels, dtype=_DTYPES[wanted]), wanted
    return _converted(pixels, "greyf"), "greyf"


def _converted(pixels: numpy.ndarray[Any, Any], wanted: str) -> numpy.ndarray[Any, Any]:
    with numpy.errstate(all="ignore"):
        converted = numpy.ascontiguousarray(pixels, dtype=_DTYPES[wanted])
        # A float of the wanted type can round up to a number that the integer type does not hold.
        same = converted.astype(numpy.longdouble) == pixels.astype(numpy.longdouble)
    if pixels.dtype.kind == "f":
        same |= numpy.isnan(pixels)
    if not same.all():
        lost = pixels[~same].flat[0]
        raise TypeError(
            f"{lost!r} in this array of {pixels.dtype} cannot be converted without loss; "
            f"round with array.astype(numpy.{numpy.dtype(_DTYPES[wanted]).name})"
        )
    return converted


def type_of_word(word: str) -> numpy.dtype[Any]:
    """The type of an array's items for a pixel type such as "grey8"."""
    return numpy.dtype(_DTYPES[word])


def word_of_type(wanted: Any) -> str:
    """The pixel type for its name or for a type of NumPy."""
    if isinstance(wanted, str) and wanted in _DTYPES:
        return wanted
    try:
        dtype = numpy.dtype(wanted)
    except TypeError:
        dtype = None
    for word, kind in _DTYPES.items():
        if dtype is not None and dtype == numpy.dtype(kind):
            return word
    names = [f"{word} ({numpy.dtype(kind).name})" for word, kind in _DTYPES.items()]
    raise ArgumentError(f"as_type={wanted!r}: give {', '.join(names)}")
