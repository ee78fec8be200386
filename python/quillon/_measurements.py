"""Measurements: dicts that can become tables and figures."""
from __future__ import annotations

from collections.abc import Mapping
from typing import Any

import numpy

from . import _core
from ._values import from_json

# Kinds of measurements and forms of charts, as the engine numbers them.
_DISTRIBUTION, _CURVE, _OBJECTS, _SINGLE = range(4)
_LINE, _BARS = range(2)


class Measurement(dict):  # type: ignore[type-arg]
    """What a plug-in measured: a dict of values, nested as the plug-in stores them.

    Its table has a row for each size, grey value or object, with titles and units, as `quillon table` shows it.
    """

    def __init__(self, values: Mapping[str, Any], table: Mapping[str, Any] | None = None) -> None:
        super().__init__(values)
        self._table = table

    def __reduce__(self) -> tuple[Any, ...]:
        return Measurement, (dict(self), self._table)

    @property
    def title(self) -> str:
        """What was measured."""
        return str(self._filled()["title"])

    @property
    def units(self) -> dict[str, str]:
        """The units of the table's row numbers and columns by name, such as "mm^3"; empty where there is none."""
        table = self._filled()
        return {_name_of(column, table): column["unit_text"] for column in [table["row"], *table["columns"]]}

    def to_frame(self) -> Any:
        """The table as a pandas DataFrame. Needs pandas.

        `attrs` of the frame holds the title, the units by column, and facts about the whole measurement.
        """
        try:
            import pandas  # type: ignore[import]
        except ImportError as error:
            raise ImportError("to_frame needs pandas; install python3-pandas") from error
        table = self._filled()
        names = [_name_of(column, table) for column in table["columns"]]
        index = pandas.Index(_index_of(table), name=_name_of(table["row"], table) or None)
        frame = pandas.DataFrame(table["values"].copy(), index=index, columns=names)
        facts = {name: from_json(value) for name, value in table["facts"].items()}
        frame.attrs.update({"title": self.title, "units": self.units, "facts": facts})
        return frame

    def plot(self, feature: str | None = None, axes: Any = None, *, cumulative: bool = False) -> Any:
        """Draws a feature, by default the first that varies; returns the axes. Needs matplotlib.

        Sizes and features of objects become a histogram or, if `cumulative`, the share of everything up to a
        value. Other measurements become a curve over the rows.
        """
        try:
            from matplotlib import pyplot  # type: ignore[import]
        except ImportError as error:
            raise ImportError("plot needs matplotlib; install python3-matplotlib") from error
        table = self._filled()
        if table["kind"] == _SINGLE:
            raise ValueError(f"'{table['name']}' is one set of numbers without an order; to_frame() shows them")
        if cumulative and table["kind"] == _CURVE:
            raise ValueError(f"'{table['name']}' is not a distribution; leave out cumulative")
        chart = _core.chart(table, feature or _first_varying(table), cumulative)
        axes = axes if axes is not None else pyplot.figure(layout="constrained").add_subplot()
        if chart["form"] == _LINE:
            axes.plot(chart["x"], chart["y"])
        elif chart["form"] == _BARS:
            axes.bar(chart["x"], chart["y"], chart["bar_width"], align="edge", edgecolor="white", linewidth=0.5)
        else:
            axes.step(chart["x"], chart["y"], where="post")
        axes.set(title=chart["title"], xlabel=chart["x_title"], ylabel=chart["y_title"])
        return axes

    def _filled(self) -> Mapping[str, Any]:
        if self._table is None:
            raise ValueError("there are no numbers in this measurement")
        return self._table


def _name_of(column: Mapping[str, Any], table: Mapping[str, Any]) -> str:
    """The key without a unit; the only column of a distribution is named after what is counted."""
    if column is table["row"]:
        return str(column["title"])
    return str(column["name"] or table["counted"] or column["title"])


def _index_of(table: Mapping[str, Any]) -> Any:
    """What identifies the rows: their numbers, or their names if not all have one."""
    if not table["has_row_numbers"]:
        return table["names"]
    numbers = table["numbers"]
    counts = not table["row"]["unit_text"] and bool((numbers == numpy.rint(numbers)).all())
    return numbers.astype(numpy.int64) if counts else numbers


def _first_varying(table: Mapping[str, Any]) -> str:
    for column, values in zip(table["columns"], table["values"].T):
        if len(numpy.unique(values[~numpy.isnan(values)])) > 1:
            return str(column["key"])
    return str(table["columns"][0]["key"])
