"""OME-Zarr images: opened lazily with scale and unit, and written as a whole or not at all."""
from __future__ import annotations

import builtins
import contextlib
import json
import os
import shutil
import tempfile
from collections.abc import Iterator, Sequence
from typing import Any

import dask.array
import numpy

from .._errors import FileError
from ._compute import raise_if_lost
from ._volume import Volume, checked, checked_spacing

_UNITS = {"micrometer": "um", "millimeter": "mm", "nanometer": "nm", "meter": "m"}
_VERSION = "0.4"


def open(path: str | os.PathLike[str], level: int = 0, channel: int = 0, time: int = 0) -> Volume:  # noqa: A001
    """Opens an OME-Zarr 0.4 image as a lazy volume with its spacing and unit.

    path: the folder of the image.
    level: of the pyramid; 0 has the finest pixels.
    channel, time: which one to take of an image with several, from 0.

    Raises quillon.FileError if it is not such an image. A chunk that cannot be read raises FileError when it is
    computed; a chunk that is not there counts as empty, as in all Zarr arrays.
    """
    import zarr  # type: ignore[import]

    name = os.fspath(path)
    image = _multiscales(name)
    axes = _axes(name, image)
    datasets = image.get("datasets") or []
    if not 0 <= level < len(datasets):
        raise FileError(f"{name} has no level {level}; it has {len(datasets)}, counted from 0")
    dataset = datasets[level]
    try:
        source = zarr.open_array(os.path.join(name, str(dataset["path"])), mode="r")
    except Exception as error:
        raise FileError(f"{name}: level {level} cannot be read: {error}") from error
    if source.ndim != len(axes):
        raise FileError(f"{name} has {len(axes)} axes and an array of {source.ndim} dimensions")
    array = dask.array.from_array(_Reader(source, name), chunks=source.chunks, asarray=False, name=False)
    pick: list[Any] = []
    for axis, extent in zip(axes, source.shape):
        asked = {"channel": channel, "time": time}.get(axis.get("type", ""))
        if asked is None:
            pick.append(slice(None))
        elif not 0 <= asked < extent:
            raise FileError(f"{name} has no {axis['type']} {asked}; it has {extent}, counted from 0")
        else:
            pick.append(asked)
    spatial = [place for place, axis in enumerate(axes) if axis.get("type") not in ("channel", "time")]
    scale = _scale(name, image, dataset, len(axes))
    spacing = tuple(scale[place] for place in spatial) if scale is not None else None
    volume = checked(array[tuple(pick)], name)
    return Volume(volume, checked_spacing(spacing, volume.ndim), _unit(name, [axes[place] for place in spatial]))


class _Reader:
    """An array whose errors name the file."""

    def __init__(self, source: Any, path: str) -> None:
        self.source, self.path = source, path
        self.shape, self.dtype, self.ndim = source.shape, source.dtype, source.ndim

    def __getitem__(self, place: Any) -> numpy.ndarray[Any, Any]:
        try:
            part: numpy.ndarray[Any, Any] = self.source[place]
        except Exception as error:
            raise FileError(f"{self.path}: a chunk at {place} cannot be read: {error}") from error
        return part


def _multiscales(name: str) -> dict[str, Any]:
    try:
        with builtins.open(os.path.join(name, ".zattrs"), encoding="utf-8") as file:
            image = json.load(file)["multiscales"][0]
        version = image.get("version", _VERSION)
    except FileNotFoundError:
        reason = "is not an OME-Zarr image: it has no file .zattrs" if os.path.isdir(name) else "does not exist"
        raise FileError(f"{name} {reason}") from None
    except OSError as error:
        raise FileError(f"{name} cannot be read: {error.strerror}") from error
    except (ValueError, KeyError, IndexError, TypeError, AttributeError) as error:
        raise FileError(f"{name} is not an OME-Zarr image: .zattrs has no image in 'multiscales'") from error
    if version != _VERSION:
        raise FileError(f"{name} is an OME-Zarr image of version {version}; only {_VERSION} is known")
    assert isinstance(image, dict)
    return image


def _axes(name: str, image: dict[str, Any]) -> list[dict[str, Any]]:
    axes = image.get("axes")
    if not isinstance(axes, list) or not all(isinstance(axis, dict) for axis in axes):
        raise FileError(f"{name} has no 'axes' with names and types")
    return axes


def _scale(name: str, image: dict[str, Any], dataset: dict[str, Any], dimension: int) -> list[float] | None:
    """The product of the scales of the level and of the image."""
    scale = None
    for transformations in (dataset.get("coordinateTransformations"), image.get("coordinateTransformations")):
        for transformation in transformations or []:
            if transformation.get("type") != "scale":
                continue
            factors = transformation.get("scale")
            if not isinstance(factors, list) or len(factors) != dimension:
                raise FileError(f"{name} has a scale that does not have {dimension} numbers")
            scale = [a * float(b) for a, b in zip(scale or [1.0] * dimension, factors)]
    return scale


def _unit(name: str, axes: Sequence[dict[str, Any]]) -> str:
    units = {axis.get("unit", "") for axis in axes}
    if len(units) > 1:
        raise FileError(f"{name} has different units along its axes: {', '.join(sorted(map(str, units)))}")
    unit = units.pop() if units else ""
    if unit and unit not in _UNITS:
        raise FileError(f"{name} has the unit '{unit}'; {', '.join(_UNITS)} are known")
    return _UNITS.get(unit, "")


def write(
    path: str | os.PathLike[str],
    volume: Any,
    spacing: float | Sequence[float] | None = None,
    unit: str = "",
) -> None:
    """Computes a lazy volume, block by block, into an OME-Zarr 0.4 image.

    The image appears under its name when it is complete; after an error nothing is left. Workers on other
    machines have to see the folder under the same path. Raises quillon.FileError if it cannot be written.
    """
    import zarr  # type: ignore[import]

    name = os.fspath(path)
    if isinstance(volume, Volume):
        spacing = volume.spacing if spacing is None else spacing
        unit = unit or volume.unit
    array = checked(volume, "the volume")
    lengths = checked_spacing(spacing, array.ndim)
    words = {short: word for word, short in _UNITS.items()}
    if unit and unit not in words:
        raise ValueError(f"unit '{unit}' is none of {', '.join(words)}")
    if os.path.lexists(name):
        raise FileError(f"{name} exists already; give another name or remove it")
    with _made_beside(name) as part:
        group = zarr.open_group(part, mode="w")
        side = tuple(max(chunks) for chunks in array.chunks)
        target = group.create_dataset("0", shape=array.shape, chunks=side, dtype=array.dtype, dimension_separator="/")
        group.attrs["multiscales"] = [_described(array.ndim, lengths, words.get(unit, ""))]
        # A chunk of the file is written by one task only.
        dask.array.store(array.rechunk(side), target, lock=False)


def _described(dimension: int, spacing: tuple[float, ...] | None, unit: str) -> dict[str, Any]:
    axes = [{"name": letter, "type": "space", **({"unit": unit} if unit else {})} for letter in "zyx"[-dimension:]]
    scale = list(spacing) if spacing is not None else [1.0] * dimension
    return {
        "version": _VERSION,
        "axes": axes,
        "datasets": [{"path": "0", "coordinateTransformations": [{"type": "scale", "scale": scale}]}],
    }


@contextlib.contextmanager
def _made_beside(name: str) -> Iterator[str]:
    """A folder that gets its name if all goes well, and is removed otherwise."""
    folder = os.path.dirname(os.path.abspath(name))
    try:
        part = tempfile.mkdtemp(prefix=f".{os.path.basename(name)}-", dir=folder)
    except OSError as error:
        raise FileError(f"{name} cannot be written: {error.strerror}") from error
    try:
        yield part
        os.chmod(part, 0o777 & ~_umask())
        os.rename(part, name)
    except BaseException as error:
        shutil.rmtree(part, ignore_errors=True)
        raise_if_lost(error)
        if isinstance(error, OSError) and not isinstance(error, FileError):
            raise FileError(f"{name} cannot be written: {error}") from error
        raise


def _umask() -> int:
    mask = os.umask(0)
    os.umask(mask)
    return mask
