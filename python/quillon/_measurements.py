"""Measurements: dicts that can become tables and figures."""
from __future__ import annotations

import re
from collections.abc import Iterator, Mapping
from typing import Any


def _number_in(key: str) -> float | None:
    """The number that a key consists of or ends with: 17.0 for "grayvalue 017"."""
    match = re.search(r"[-+]?[0-9]+(\.[0-9]*)?([eE][-+]?[0-9]+)?$", key)
    return float(match[0]) if match else None


def _leaves(value: Any, path: str = "") -> Iterator[tuple[str, Any]]:
    if isinstance(value, Mapping):
        for key, entry in value.items():
            yield from _leaves(entry, f"{path}/{key}" if path else str(key))
    else:
        yield path, value


def _rows_of(values: Mapping[str, Any]) -> list[tuple[str, dict[str, Any]]]:
    """The rows of the largest group of entries whose keys end with numbers; otherwise one row."""
    best: list[tuple[str, Any]] = []
    groups: list[Mapping[str, Any]] = [values]
    while groups:
        group = groups.pop()
        rows = [(key, entry) for key, entry in group.items() if _number_in(key) is not None]
        if len(rows) > len(best):
            best = rows
        groups += [entry for entry in group.values() if isinstance(entry, Mapping)]
    if not best:
        return [("", dict(_leaves(values)))]
    best.sort(key=lambda row: _number_in(row[0]) or 0.0)
    return [(key, dict(_leaves(entry)) if isinstance(entry, Mapping) else {"count": entry}) for key, entry in best]


class Measurement(dict):  # type: ignore[type-arg]
    """What a plug-in measured: a dict of values, nested as the plug-in stores them."""

    def to_frame(self) -> Any:
        """The rows as a pandas DataFrame, one for each size, grey value or object. Needs pandas."""
        try:
            import pandas  # type: ignore[import]
        except ImportError as error:
            raise ImportError("to_frame needs pandas; install python3-pandas") from error
        rows = _rows_of(self)
        numbers = [_number_in(key) for key, _ in rows]
        index: list[Any] = [key for key, _ in rows]
        if None not in numbers:
            index = [*numbers]
        return pandas.DataFrame([entries for _, entries in rows], index=index)

    def plot(self, feature: str | None = None, axes: Any = None) -> Any:
        """Draws a feature over the rows, by default the first that varies; returns the axes. Needs matplotlib.

        Counts of sizes become a histogram of equal bins.
        """
        try:
            from matplotlib import pyplot  # type: ignore[import]
        except ImportError as error:
            raise ImportError("plot needs matplotlib; install python3-matplotlib") from error
        rows = _rows_of(self)
        names = [name for name, value in rows[0][1].items() if isinstance(value, (int, float))]
        if not names:
            raise ValueError("there are no numbers to plot in this measurement")
        varying = [name for name in names if len({entries.get(name) for _, entries in rows}) > 1]
        name = feature if feature is not None else (varying or names)[0]
        if name not in rows[0][1]:
            raise ValueError(f"there is no feature '{name}'; there are {', '.join(names)}")
        axes = axes if axes is not None else pyplot.figure().add_subplot()
        places = [_number_in(key) or 0.0 for key, _ in rows]
        heights = [entries.get(name, float("nan")) for _, entries in rows]
        if names == ["count"]:
            axes.hist(places, bins=40, weights=heights)
        else:
            axes.plot(places, heights)
        axes.set_ylabel(name)
        return axes
