"""Verdicts on blocks that are joined."""
from __future__ import annotations

from typing import Any

import dask
import numpy

from .._run import run_entry
from ._compute import per_block, tree
from ._rules import entry_of
from ._volume import Request

_LEAST, _GREATEST = "mindiff", "maxdiff"


def relation(asked: Request) -> Any:
    """The counts of all blocks, and the verdict that follows from them."""
    keys = list(asked.images)
    how = {"name": asked.rule.name, "pack": asked.rule.pack, "keys": keys, "parameters": asked.parameters}
    counts = tree(_joined, per_block(_counts, asked.array, *asked.images.values(), **how))
    return dask.delayed(_verdict, pure=True)(counts, how, asked.array.dtype, [image.dtype for image in asked.images.values()])


def _run(name: str, pack: str | None, keys: list[str], parameters: Any, *arrays: Any) -> dict[str, Any]:
    result = run_entry(name, entry_of(name, pack), arrays[0], {**parameters, **dict(zip(keys, arrays[1:]))}, pack, threads=1)
    assert isinstance(result, dict)
    return result


def _counts(*arrays: Any, name: str, pack: str | None, keys: list[str], parameters: Any) -> dict[str, Any]:
    result = _run(name, pack, keys, parameters, *arrays)
    counts = {key: value for key, value in result.items() if key not in ("text", "verdict")}
    if counts["a == b"] == arrays[0].size:
        counts[_LEAST] = None  # the least difference is that of unequal pixels
    return counts


def _joined(parts: list[dict[str, Any]]) -> dict[str, Any]:
    joined = {key: sum(part[key] for part in parts) for key in parts[0] if key not in (_LEAST, _GREATEST)}
    least = [part[_LEAST] for part in parts if part[_LEAST] is not None]
    joined[_LEAST] = min(least) if least else None
    joined[_GREATEST] = max(part[_GREATEST] for part in parts)
    return {key: joined[key] for key in parts[0]}


def _verdict(counts: dict[str, Any], how: dict[str, Any], first: Any, others: list[Any]) -> dict[str, Any]:
    """The plug-in judges a few pixels with the same relations as the whole."""
    pairs: list[tuple[float, float]] = []
    if counts["a > b"]:
        pairs.append((1, 0))
    if counts["a < b"]:
        pairs.append((0, 1))
    if counts["a == b"] and (counts["a <= b"] > counts["a < b"]):
        pairs.append((1, 1))
    if counts["nan(a)"] + counts["nan(b)"] > counts["a nan b"]:
        pairs.append((numpy.nan, numpy.nan))
    if counts["a nan b"]:
        pairs.append((numpy.nan, 0) if first.kind == "f" else (0, numpy.nan))
    sample = numpy.array([pairs], numpy.float64)
    small = [sample[..., side].astype(dtype) for side, dtype in enumerate((first, *others))]
    verdict = _run(how["name"], how["pack"], how["keys"], how["parameters"], *small)["verdict"]
    if counts[_LEAST] is None:
        counts = {**counts, _LEAST: 0}
    return {"verdict": verdict, **counts}
