"""Images: pixels in a NumPy array, with spacing, attributes and history.

Arrays are in C order, (z, y, x) or (y, x), and spacing is in the same order.
"""
from __future__ import annotations

import math
import operator
import os
import struct
import zlib
from collections.abc import Mapping, Sequence
from typing import Any, Union

import numpy

from . import _core
from ._arrays import as_pixels, type_of_word, word_of_type
from ._errors import ArgumentError, FileError
from ._measurements import Measurement
from ._values import from_json, to_json

_UNITS = ("m", "mm", "um", "nm")
_MICROMETRES = {"\u00b5m": "um", "\u03bcm": "um"}  # with the micro sign and the letter mu


class Image:
    """An image of 2 or 3 dimensions.

    Arrays are in C order, (z, y, x) or (y, x), and spacing is in the same order.

    No pixel is copied if the array is contiguous and of type bool, uint8, uint16, uint32 or float32: the
    image then keeps the array alive, and shows what is changed in it. Other integers and floats are
    converted if nothing is lost, and otherwise raise TypeError.

    spacing: lengths of a pixel, or one number for all axes. Without it, the pixels have no size.
    label: the title, which results inherit.
    attributes: nested dicts of numbers, texts, bools and lists.
    unit: the unit of the spacing: m, mm, um or nm.

    >>> import numpy, quillon
    >>> image = quillon.Image(numpy.zeros((4, 5, 6), numpy.uint8), spacing=(2.0, 0.5, 0.5))
    >>> image
    <quillon.Image grey8 (4, 5, 6) spacing (2.0, 0.5, 0.5)>
    """

    # A misspelt attribute is an error.
    __slots__ = ("_core", "_array", "_label", "__weakref__")

    def __init__(
        self,
        array: Any,
        spacing: float | Sequence[float] | None = None,
        label: str | None = None,
        attributes: Mapping[str, Any] | None = None,
        unit: str | None = None,
    ) -> None:
        if isinstance(array, Image):
            raise TypeError("this is an image already; give its array")
        pixels, pixel_type = as_pixels(array)
        self._core = _core.Image(pixels, pixel_type)
        self._array: numpy.ndarray[Any, Any] | None = pixels
        self.label = label
        if attributes is not None:
            self.attributes = attributes  # type: ignore[assignment]
        if spacing is not None:
            self.spacing = spacing  # type: ignore[assignment]
        if unit is not None:
            self.unit = unit

    @classmethod
    def _of(cls, core: _core.Image, label: str | None, array: numpy.ndarray[Any, Any] | None = None) -> Image:
        image = cls.__new__(cls)
        image._core = core
        image._array = array
        image._label = label
        return image

    def _shared(self) -> Image:
        """Another image of the same pixels, with attributes of its own."""
        return Image._of(self._core.shared(), self.label, self._array)

    @property
    def label(self) -> str | None:
        """The title, which results inherit."""
        return self._label

    @label.setter
    def label(self, label: str | None) -> None:
        if label is not None and not isinstance(label, str):
            raise TypeError(f"label={label!r} is of type {type(label).__name__}; give a text")
        self._label = label

    @property
    def array(self) -> numpy.ndarray[Any, Any]:
        """The pixels, without a copy. The array keeps them alive, longer than this object if need be.

        What is changed in it changes the image; the record of runs does not notice.
        """
        if self._array is not None:
            return self._array
        return self._core.array()

    @property
    def shape(self) -> tuple[int, ...]:
        """The number of pixels along each axis, as that of the array."""
        return self._core.shape

    @property
    def ndim(self) -> int:
        return len(self._core.shape)

    @property
    def dtype(self) -> numpy.dtype[Any]:
        return type_of_word(self._core.type)

    @property
    def type(self) -> str:
        """The pixel type as on the command line: binary, grey8, grey16, grey32 or greyf."""
        return self._core.type

    @property
    def spacing(self) -> tuple[float, ...] | None:
        """Lengths of a pixel along the axes of the array, in `unit`; None if they are unknown."""
        spacing = self._core.spacing
        return None if spacing is None else tuple(reversed(spacing[: self.ndim]))

    @spacing.setter
    def spacing(self, spacing: float | Sequence[float] | None) -> None:
        if spacing is None:
            self._core.spacing = None
            return
        try:
            lengths = [float(length) for length in numpy.atleast_1d(spacing)]
        except (TypeError, ValueError):
            raise TypeError(f"spacing={spacing!r}: give a number, or one for each axis") from None
        if len(lengths) == 1:
            lengths *= self.ndim
        if len(lengths) != self.ndim:
            raise ValueError(f"spacing has {len(lengths)} numbers; the image has {self.ndim} dimensions")
        for length in lengths:
            if not (math.isfinite(length) and length > 0):
                raise ValueError(f"spacing {length} is not a positive number")
        self._core.spacing = (lengths[::-1] + [1.0])[:3]

    @property
    def unit(self) -> str:
        """The unit of the spacing: m, mm, um or nm; empty if it is unknown."""
        return self._core.unit

    @unit.setter
    def unit(self, unit: str) -> None:
        name = _MICROMETRES.get(unit, unit)
        if name and name not in _UNITS:
            raise ValueError(f"unit '{unit}' is none of {', '.join(_UNITS)}")
        self._core.unit = name

    @property
    def attributes(self) -> dict[str, Any]:
        """A copy of the attributes as nested dicts. Assign a dict to replace them all."""
        attributes = from_json(self._core.attributes)
        assert isinstance(attributes, dict)
        return attributes

    @attributes.setter
    def attributes(self, attributes: Mapping[str, Any]) -> None:
        if not isinstance(attributes, Mapping):
            raise TypeError(f"attributes are a dict, not of type {type(attributes).__name__}")
        try:
            self._core.attributes = to_json(attributes)
        except FileError as error:  # a key that no map can have
            raise ValueError(str(error)) from None

    @property
    def history(self) -> list[str]:
        """A line for each step that led to the image, oldest first."""
        return [line for line in self.attributes.get("history", []) if isinstance(line, str)]

    @property
    def runs(self) -> list[dict[str, Any]]:
        """The runs of plug-ins that led to the image, with all parameters, oldest first."""
        runs = self.attributes.get("runs", [])
        assert isinstance(runs, list)
        return runs

    @property
    def measurements(self) -> dict[str, Measurement]:
        """What plug-ins have measured in the image, by the names that `quillon table` takes."""
        features = self.attributes.get("features", {})
        return {name: Measurement(_at(features, name), table) for name, table in _core.tables(self._core).items()}

    def __array__(self, dtype: Any = None) -> numpy.ndarray[Any, Any]:
        return self.array if dtype is None else self.array.astype(dtype, copy=False)

    def __repr__(self) -> str:
        spacing = "" if self.spacing is None else f" spacing {self.spacing}"
        unit = f" {self.unit}" if self.unit else ""
        return f"<quillon.Image {self.type} {self.shape}{spacing}{unit}>"

    def __getstate__(self) -> dict[str, Any]:
        return {"array": self.array, "label": self.label, "attributes": self._core.attributes}

    def __setstate__(self, state: dict[str, Any]) -> None:
        self.__init__(state["array"], label=state["label"])  # type: ignore[misc]
        self._core.attributes = state["attributes"]

    def _repr_png_(self) -> bytes:
        """The middle slice, as a notebook shows it."""
        return _png(*self._core.picture())


# What functions take for an image: an array has neither spacing nor title.
ImageLike = Union[Image, numpy.ndarray[Any, Any]]


def as_image(image: Any) -> Image:
    """The image itself, or one over the memory of the array."""
    return image if isinstance(image, Image) else Image(image)


def _at(values: Any, path: str) -> Any:
    """The entry of nested dicts at the path; keys can contain slashes themselves."""
    if path in values:
        return values[path]
    head, _, tail = path.partition("/")
    return _at(values[head], tail)


def _png(width: int, height: int, rgb: bytes) -> bytes:
    def chunk(name: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    rows = b"".join(b"\0" + rgb[3 * width * y : 3 * width * (y + 1)] for y in range(height))
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def read(
    path: str | os.PathLike[str],
    *,
    as_type: str | numpy.dtype[Any] | type | None = None,
    channel: int | None = None,
    time: int | None = None,
    region: Sequence[tuple[int, int]] | None = None,
) -> Image:
    """Reads an image file (NRRD, MetaImage, NIfTI, TIFF, PNG) or a folder with a DICOM series.

    Arrays are in C order, (z, y, x) or (y, x), and spacing is in the same order.

    as_type: the pixel type to convert to: binary (non-zero is 1), grey8, grey16, grey32 or greyf, or bool, uint8,
        uint16, uint32 or float32.
    channel, time: which one to read of a file with several, from 0.
    region: the part to read, (start, stop) for each axis in the order of the array, without stop.

    Raises quillon.FileError if the file cannot be read, and quillon.ArgumentError if it has no such part.
    """
    name = os.fsdecode(path)
    reading: dict[str, Any] = {}
    if as_type is not None:
        reading["as"] = word_of_type(as_type)
    if region is not None or channel is not None or time is not None:
        shape, channels, times = _core.outline(name)
        if region is not None:
            reading["region"] = _index_ranges(region, shape)
        if channel is not None:
            reading["channel"] = _index("channel", channel, channels)
        if time is not None:
            reading["time"] = _index("time", time, times)
    return Image._of(_core.read(name, to_json(reading)), os.path.basename(name))


def _index(name: str, index: Any, count: int) -> int:
    if index not in range(count):
        raise ArgumentError(f"{name}={index!r}: the file has {count}, counted from 0")
    return int(index)


def _index_ranges(region: Sequence[tuple[int, int]], shape: tuple[int, ...]) -> list[list[int]]:
    """The first and the last index along x, y and z."""
    try:
        pairs = [(operator.index(start), operator.index(stop)) for start, stop in region]
    except (TypeError, ValueError):
        raise TypeError(f"region={region!r}: give (start, stop) for each axis") from None
    if len(pairs) != len(shape):
        raise ArgumentError(f"region={region!r}: the image has the shape {shape}; give (start, stop) for each axis")
    for (start, stop), extent in zip(pairs, shape):
        if not 0 <= start < stop <= extent:
            raise ArgumentError(f"region={region!r}: ({start}, {stop}) is not a part of an axis of {extent} pixels")
    return [[start, stop - 1] for start, stop in reversed(pairs)]


def write(path: str | os.PathLike[str], image: ImageLike) -> None:
    """Writes an image with its attributes, in the format that the name ends with: .nrrd, .mha, .nii.gz, .tif, .png.

    The file is complete or not there at all. Raises quillon.FileError if it cannot be written.
    """
    if isinstance(path, (Image, numpy.ndarray)):
        raise TypeError("write takes the path first, then the image")
    _core.write(os.fsdecode(path), as_image(image)._core)


