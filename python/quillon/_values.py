"""Values of parameters and attributes as JSON, in which the engine takes and gives them."""
from __future__ import annotations

import json
import math
from collections.abc import Mapping
from typing import Any

import numpy


def to_json(value: Any) -> str:
    """Raises TypeError for what no attribute can hold."""
    return json.dumps(_plain(value, "value"), allow_nan=False)


def from_json(text: str) -> Any:
    return json.loads(text, object_hook=_unwrapped)


def _plain(value: Any, place: str) -> Any:
    if isinstance(value, Mapping):
        return {str(key): _plain(entry, f"{place}[{key!r}]") for key, entry in value.items()}
    if isinstance(value, (list, tuple)):
        return [_plain(entry, f"{place}[{index}]") for index, entry in enumerate(value)]
    if isinstance(value, (bool, numpy.bool_)):
        return bool(value)
    if isinstance(value, (int, numpy.integer)):
        return int(value)
    if isinstance(value, (float, numpy.floating)):
        number = float(value)
        return number if math.isfinite(number) else {"/double": str(number)}
    if isinstance(value, str):
        return value
    if isinstance(value, bytes):
        return {"/bytes": value.hex()}
    raise TypeError(f"{place} is of type {type(value).__name__}; use numbers, texts, bools, lists and dicts")


def _unwrapped(entry: dict[str, Any]) -> Any:
    if set(entry) == {"/double"}:
        return float(entry["/double"])
    if set(entry) == {"/bytes"}:
        return bytes.fromhex(entry["/bytes"])
    return entry
