"""The way from a generated function to its plug-in."""
from __future__ import annotations

from collections.abc import Callable, Mapping
from typing import Any

from ._run import run_entry


def caller(entries: Mapping[str, dict[str, Any]]) -> Callable[..., Any]:
    """The function that calls plug-ins with the arguments of generated functions."""

    def call(
        name: str, image: Any, given: Mapping[str, Any], keys: Mapping[str, Any], **how: Any
    ) -> Any:
        entry = entries[name]
        defaults = {parameter["key"]: parameter.get("default") for parameter in entry["parameters"]}
        # What equals the default is left out: plug-ins that see a parameter may take it as a wish.
        parameters = {key: value for key, value in given.items() if not _is_default(value, defaults[key])}
        return run_entry(name, entry, image, {**parameters, **keys}, **how)

    return call


def _is_default(value: Any, default: Any) -> bool:
    return value is default or (type(value) is type(default) and bool(value == default))
