"""Computing a graph, with one clear error if it cannot be completed."""
from __future__ import annotations

from typing import Any

import dask
import dask.array

from .._errors import Error

# By name: importing them would load dask.distributed, which not everybody has.
_LOST = ("CommClosedError", "CancelledError", "KilledWorker", "TimeoutError", "StreamClosedError")


class SchedulerError(Error, RuntimeError):
    """The scheduler or its workers went away before a result was complete."""


def compute(*collections: Any) -> tuple[Any, ...]:
    """As dask.compute. Raises SchedulerError if the scheduler or the workers are lost."""
    try:
        values: tuple[Any, ...] = dask.compute(*collections)
    except Exception as error:
        raise_if_lost(error)
        raise
    return values


def raise_if_lost(error: BaseException) -> None:
    if type(error).__name__ in _LOST or type(error) is ConnectionError:
        raise SchedulerError(
            f"the scheduler or its workers went away before the result was complete ({type(error).__name__}: {error}); "
            "connect to a scheduler and compute again"
        ) from error


def per_block(function: Any, *arrays: dask.array.Array, **keywords: Any) -> list[Any]:
    """A delayed call of the function for each block, in the order of the blocks."""
    delayed_blocks = [array.to_delayed().ravel() for array in arrays]
    call = dask.delayed(function, pure=True)
    return [call(*blocks, **keywords) for blocks in zip(*delayed_blocks)]


def tree(combine: Any, parts: list[Any], width: int = 16) -> Any:
    """Joins delayed parts in groups, so that no task holds all of them."""
    call = dask.delayed(combine, pure=True)
    while len(parts) > 1:
        parts = [call(parts[first : first + width]) for first in range(0, len(parts), width)]
    return parts[0]


def starts_of(array: dask.array.Array) -> list[tuple[int, ...]]:
    """The place of the first pixel of each block, in the order of `per_block`."""
    import itertools

    firsts = [[sum(chunks[:place]) for place in range(len(chunks))] for chunks in array.chunks]
    return list(itertools.product(*firsts))
