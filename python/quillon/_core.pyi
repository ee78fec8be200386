from collections.abc import Callable
from typing import Any

import numpy

class Image:
    type: str
    shape: tuple[int, ...]
    attributes: str
    spacing: list[float] | None
    unit: str
    def __init__(self, array: numpy.ndarray[Any, Any], type: str) -> None: ...
    def shared(self) -> Image: ...
    def array(self) -> numpy.ndarray[Any, Any]: ...
    def picture(self) -> tuple[int, int, bytes]: ...

class Request:
    label: str | None
    parameters: str
    settings: str
    images: dict[str, Image]
    has_dialogs: bool
    answers: list[tuple[str, str]]
    file: str | None
    threads: int
    def __init__(self, plugin: str, pack: str | None, image: Image) -> None: ...

def run(
    request: Request,
    progress: Callable[[float, str], Any] | None,
    on_findings: Callable[[list[tuple[int, str, str]]], None],
) -> dict[str, Any]: ...
def read(path: str, reading: str) -> Image: ...
def write(path: str, image: Image) -> None: ...
def plugin_names() -> list[str]: ...
def catalogue_entry(plugin: str, pack: str | None) -> str | None: ...
def nearest(word: str, candidates: list[str]) -> str: ...
