"""How a run shows its progress."""
from __future__ import annotations

import sys
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any, Union

# True shows a bar; a callable gets the fraction done of each stage.
Progress = Union[None, bool, Callable[[float], Any]]


@contextmanager
def shown(progress: Progress, name: str) -> Iterator[Callable[[float, str], Any] | None]:
    """What the engine calls with the fraction done of a stage, and the text of that stage.

    A body that raises nothing has done everything.
    """
    if progress is None or progress is False:
        yield None
    elif progress is True:
        with _bar(name) as callback:
            yield callback
    elif callable(progress):
        report = progress
        yield lambda fraction, text: report(fraction)
        report(1.0)
    else:
        raise TypeError("progress is True, False, or a callable that takes the fraction done")


@contextmanager
def _bar(name: str) -> Iterator[Callable[[float, str], Any] | None]:
    try:
        from tqdm.auto import tqdm  # type: ignore[import]
    except ImportError:
        yield None
        return
    # The time that remains is left out: tqdm would guess it anew in each stage.
    form = "{desc}: {percentage:3.0f}%|{bar}| {elapsed}{postfix}"
    with tqdm(total=100, desc=name, bar_format=form, disable=not _can_show_bar()) as bar:

        def draw(fraction: float, text: str) -> None:
            bar.set_postfix_str(text, refresh=False)
            bar.n = int(100 * fraction)
            bar.refresh()

        yield draw
        draw(1.0, "")


def _can_show_bar() -> bool:
    """In a terminal or a notebook. A bar in a log file is a line for each change."""
    return "ipykernel" in sys.modules or (sys.stderr is not None and sys.stderr.isatty())
