"""Block rules: what the catalogue says about computing a plug-in block by block."""
from __future__ import annotations

import json
from collections.abc import Mapping, Sequence
from dataclasses import dataclass, field
from functools import lru_cache
from typing import Any

from .. import _core
from .._errors import RefusedError
from .._names import keyword_of


@dataclass(frozen=True)
class Rule:
    """The rule of one plug-in, and the rest of its catalogue entry."""

    name: str
    pack: str | None
    entry: Mapping[str, Any] = field(repr=False)

    @property
    def kind(self) -> str:
        kind: str = self._blocks["rule"]
        return kind

    @property
    def needs_greatest(self) -> bool:
        return bool(self._blocks.get("needsGreatest", False))

    @property
    def deviation(self) -> float:
        """How far the result may be from that of the whole volume, as a fraction of its range of values."""
        return float(self._blocks.get("deviation", 0.0))

    @property
    def _blocks(self) -> Mapping[str, Any]:
        blocks: Mapping[str, Any] = self.entry["blocks"]
        return blocks

    def values(self, parameters: Mapping[str, Any]) -> dict[str, Any]:
        """All parameters by key, with their defaults; None for those that are not given."""
        given = {keyword_of(keyword): value for keyword, value in _flat(parameters).items()}
        return {
            parameter["key"]: _first(given.get(keyword_of(parameter["key"])), parameter.get("default"))
            for parameter in self.entry["parameters"]
        }

    def require_blocks(self, pixel_type: str, parameters: Mapping[str, Any]) -> None:
        """Raises RefusedError if only the whole volume gives the result."""
        if self.kind == "whole":
            raise RefusedError(
                f"{self.name} cannot be computed block by block: {self._blocks['reason']}. {self._blocks['instead']}"
            )
        values = self.values(parameters)
        for case in self._blocks.get("except", []):
            if pixel_type in case.get("types", []):
                what = f"for images of type {pixel_type}"
            elif "key" in case and values[case["key"]] in case["values"]:
                value = values[case["key"]]
                what = f"without {case['key']}" if value is None else f"with {keyword_of(case['key'])}={value!r}"
            else:
                continue
            raise RefusedError(
                f"{self.name} cannot be computed block by block {what}: {case['reason']}. {self._blocks['instead']}"
            )

    def margin(
        self, parameters: Mapping[str, Any], spacing: Sequence[float] | None = None, greatest_radius: float = 0.0
    ) -> int:
        """The margin around a block in pixels; 0 for a rule without one."""
        values = self.values(parameters)
        expression = self._blocks.get("margin", "0")
        for case in self._blocks.get("cases", []):
            if values[case["key"]] in case["values"]:
                expression = case["margin"]
                break
        numbers = {key: float(value) for key, value in values.items() if isinstance(value, (int, float))}
        numbers["greatest_radius"] = greatest_radius
        numbers["greatest_spacing"] = max(spacing or (1.0,))
        numbers["smallest_spacing"] = min(spacing or (1.0,))
        return max(_core.block_margin(expression, numbers), self.entry["images"].get("minimumExtent", 1) - 1)


def rule_of(name: str, pack: str | None = None) -> Rule:
    """The rule of a plug-in. Raises RefusedError if the catalogue has none."""
    entry = entry_of(name, pack)
    if entry is None or "blocks" not in entry:
        raise RefusedError(
            f"{name} cannot be computed block by block: its catalogue has no block rule. "
            "Run it with quillon.run on a volume that fits into memory."
        )
    return Rule(name, pack, entry)


@lru_cache(maxsize=None)
def entry_of(name: str, pack: str | None) -> dict[str, Any] | None:
    """The catalogue entry, read once in each process."""
    text = _core.catalogue_entry(name, pack)
    return json.loads(text) if text is not None else None


def _flat(parameters: Mapping[str, Any]) -> dict[str, Any]:
    """The parameters with those of groups, such as advanced={"use_otsu": True}, one by one."""
    flat: dict[str, Any] = {}
    for keyword, value in parameters.items():
        if isinstance(value, Mapping):
            flat.update({f"{keyword}/{key}": part for key, part in value.items()})
        else:
            flat[keyword] = value
    return flat


def _first(value: Any, default: Any) -> Any:
    return default if value is None else value
