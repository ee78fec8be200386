"""Volumes beyond memory: plug-ins block by block on Dask arrays, with the results that they have for the whole volume.

Arrays are in C order, (z, y, x) or (y, x), and spacing is in the same order.

    volume = quillon.blocks.open("scan.zarr")
    distance = quillon.blocks.voronoi_edt_plugin(volume.array > 100, spacing=volume.spacing)
    quillon.blocks.write("distance.zarr", distance, spacing=volume.spacing, unit=volume.unit)

Plug-ins that make images return lazy Dask arrays in the chunks of the input; those that measure return the
measurement as a dict, delayed: call its method compute. How each plug-in is computed is part of its
description (`quillon describe NAME`); docs/big-volumes.md says what that costs. This package needs
python3-dask, and python3-zarr for files.
"""
from __future__ import annotations

import inspect
from collections.abc import Callable, Sequence
from typing import Any

from .. import _functions
from .._errors import RefusedError
from .._names import function_name
from . import _components, _halo, _objects, _passes, _place, _reduce, _sums
from ._compute import SchedulerError
from ._rules import rule_of
from ._volume import Volume, request
from ._zarr import open, write  # noqa: A004

# What carries out a rule. Rules that say all that is needed are general; others are those of one plug-in.
_GENERAL: dict[str, Callable[..., Any]] = {"pointwise": _halo.pointwise, "halo": _halo.halo, "lines": _halo.lines}
_OF_PLUGINS: dict[tuple[str, str], Callable[..., Any]] = {
    ("passes", "VoronoiEdtPlugin"): _passes.passes,
    ("sum", "FieldFeaturesGrayValueImage"): _sums.field_features,
    ("sum", "Granulometry"): _sums.granulometry,
    ("sum", "LocalFiberDirections"): _sums.fiber_directions,
    ("objects", "ConvexifyObjects"): _objects.convex_hulls,
    ("objects", "LabelMeasurements"): _objects.label_measurements,
    ("components", "ConnectedComponents"): _components.components,
    ("components", "FillHoles"): _components.holes,
    ("reduce", "PointwiseRelation"): _reduce.relation,
    ("place", "Crop"): _place.crop,
    ("place", "CylinderMask"): _place.cylinder,
}


def run(
    name: str,
    array: Any,
    spacing: float | Sequence[float] | None = None,
    pack: str | None = None,
    **parameters: Any,
) -> Any:
    """Computes a plug-in block by block.

    name: as in `quillon list`.
    array: a Dask array or a Volume of 2 or 3 dimensions.
    spacing: lengths of a pixel in the order of the array, or one number; without it, that of the Volume.
    pack: the name of the pack, or the path of its library.
    parameters: as for `quillon.run`; images among them are Dask arrays of the same shape.

    Distance maps and Granulometry take `spill`, the folder for files between passes, which all workers have
    to see; without it, Dask's temporary folder. Granulometry takes `greatest_radius` in pixels, if it is known.

    Returns a lazy Dask array, or the measurement as a delayed dict.

    Raises quillon.RefusedError for plug-ins, types or parameters that need the whole volume, TypeError and
    ValueError for arguments that make no sense.
    """
    rule = rule_of(name, pack)
    if rule.kind == "measurement":
        raise RefusedError(
            f"{name} reads a measurement and no pixels, so it has no blocks: call quillon.{function_name(name)} with an "
            "Image that carries the measurement in attributes={'features': ...}"
        )
    work = _GENERAL.get(rule.kind) or _OF_PLUGINS.get((rule.kind, name))
    how = {key: parameters.pop(key) for key in _keywords(work) if key in parameters}
    asked = request(rule, array, spacing, parameters)
    if work is None:
        raise RefusedError(f"{name} cannot be computed block by block: quillon.blocks does not know how to join its parts")
    return work(asked, **how)


def _keywords(work: Callable[..., Any] | None) -> list[str]:
    """What the function takes besides the request."""
    return list(inspect.signature(work).parameters)[1:] if work is not None else []


def _function(name: str, whole: Callable[..., Any]) -> Callable[..., Any]:
    """The function of a plug-in, with the signature of that for images in memory."""

    def call(array: Any, spacing: float | Sequence[float] | None = None, **parameters: Any) -> Any:
        return run(name, array, spacing, **parameters)

    signature = inspect.signature(whole)
    own = inspect.Parameter("array", inspect.Parameter.POSITIONAL_OR_KEYWORD)
    lengths = inspect.Parameter("spacing", inspect.Parameter.POSITIONAL_OR_KEYWORD, default=None)
    skipped = ("image", "spacing", "progress", "threads", "answers", "keys")
    kept = [parameter for parameter in signature.parameters.values() if parameter.name not in skipped]
    more = [
        inspect.Parameter(keyword, inspect.Parameter.KEYWORD_ONLY, default=None)
        for (_, plugin), work in _OF_PLUGINS.items()
        if plugin == name
        for keyword in _keywords(work)
    ]
    call.__signature__ = signature.replace(parameters=[own, lengths, *kept, *more])  # type: ignore[attr-defined]
    call.__name__ = call.__qualname__ = whole.__name__
    call.__module__ = __name__
    call.__doc__ = (
        f"{name} block by block, as `quillon.blocks.run({name!r}, ...)`; see quillon.{whole.__name__} for the parameters.\n\n"
        "Arrays are in C order, (z, y, x) or (y, x), and spacing is in the same order."
    )
    return call


for _name in _functions._ENTRIES:  # type: ignore[attr-defined]
    _whole = getattr(_functions, function_name(_name))
    globals()[_whole.__name__] = _function(_name, _whole)

__all__ = ["SchedulerError", "Volume", "open", "run", "write"]
__all__ += _functions.__all__
