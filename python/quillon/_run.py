"""Runs of plug-ins."""
from __future__ import annotations

import json
import logging
import os
import sys
import warnings
from collections.abc import Mapping
from typing import Any, Union

import numpy

from . import _core
from ._arrays import type_of_word
from ._errors import (
    ArgumentError,
    CancelledError,
    FileError,
    InterruptedRunError,
    ParameterWarning,
    PluginError,
    RefusedError,
)
from ._image import Image, as_image
from ._names import function_name, keyword_of
from ._progress import Progress, shown
from ._values import from_json, to_json

_MOST_THREADS = 1024

_log = logging.getLogger("quillon")

# Findings about parameters, as the engine numbers them.
_UNKNOWN_KEY, _OTHER_PLUGIN, _WRONG_KIND, _NO_CHOICE, _OUT_OF_RANGE, _NO_EFFECT, _MISSING, _TOO_MANY = range(8)

# What helps after a refusal, as the engine numbers it.
_CONVERT, _RUN_FIRST, _OTHER_IMAGE = 1, 2, 3

_KINDS = {"bool": "a bool", "long": "an integer", "double": "a number", "string": "a text", "image": "an image or array"}


def run(
    name: str,
    image: Any,
    pack: str | None = None,
    *,
    progress: Progress = None,
    threads: int | None = None,
    answers: Mapping[str, Any] | None = None,
    file: str | os.PathLike[str] | None = None,
    settings: Mapping[str, Any] | None = None,
    **parameters: Any,
) -> Any:
    """Runs a plug-in of any pack on an image.

    Arrays are in C order, (z, y, x) or (y, x), and spacing is in the same order.

    name: as in `quillon list`.
    image: an Image, or an array, which has no spacing. It is not changed.
    pack: the name of the pack, or the path of its library; without it, the first pack that has the plug-in.
    progress: True shows a bar if tqdm is installed; a callable gets the fraction done of each stage.
    threads: number of threads; without it, one per processor.
    answers: values of inputs in the plug-in's dialogs, by object name.
    file: the answer to a file dialog.
    settings: settings of the plug-in before the run.
    parameters: by key; characters that an identifier cannot have are written as underscores.

    Returns the new Image; a tuple of them if there are several; the image with its measurements for a
    plug-in that measures, first in the tuple if there are new images as well; a dict for a plug-in that
    only shows something; the path for a plug-in that writes a table.

    Raises quillon.RefusedError if the plug-in does not take the image, quillon.PluginError if it fails,
    quillon.CancelledError after Ctrl-C, and TypeError for an unknown keyword.

    >>> import numpy, quillon
    >>> quillon.run("Invert", numpy.array([[0, 1, 3]], numpy.float32)).array
    array([[3., 2., 0.]], dtype=float32)
    """
    text = _core.catalogue_entry(name, pack)
    entry = json.loads(text) if text is not None else None
    return run_entry(name, entry, image, parameters, pack, progress, threads, answers, file, settings)


def run_entry(
    name: str,
    entry: dict[str, Any] | None,
    image: Any,
    parameters: Mapping[str, Any],
    pack: str | None = None,
    progress: Progress = None,
    threads: int | None = None,
    answers: Mapping[str, Any] | None = None,
    file: str | os.PathLike[str] | None = None,
    settings: Mapping[str, Any] | None = None,
) -> Any:
    """Runs the plug-in that the entry of a catalogue describes; `entry` is None without a catalogue."""
    thread_count = _thread_count(threads)
    described = entry if entry is not None else {}
    if described.get("asksForFile") and file is None:
        raise TypeError(f"{function_name(name)} writes a table; give file=PATH")
    measured = as_image(image)._shared()
    request = _core.Request(name, pack, measured._core)
    request.label = measured.label
    values, images = _sorted_out(name, entry, parameters)
    request.parameters = to_json(values)
    request.images = {key: value._shared()._core for key, value in images.items()}
    request.settings = to_json(settings or {})
    request.has_dialogs = bool(described.get("dialogs")) or answers is not None or file is not None
    request.answers = [(key, _as_typed(value)) for key, value in (answers or {}).items()]
    request.file = os.fsdecode(file) if file is not None else None
    request.threads = thread_count

    def on_findings(findings: list[tuple[int, str, str]]) -> None:
        _judge(name, entry, values, findings)

    try:
        with shown(progress, name) as callback:
            outcome = _core.run(request, callback, on_findings)
            if outcome["printed"]:
                _log.debug("%s printed: %s", name, outcome["printed"])
            _raise_unless_done(name, measured, outcome)
    except KeyboardInterrupt as interrupt:
        if isinstance(interrupt, CancelledError):
            raise
        raise InterruptedRunError(f"{name} was cancelled") from None
    return _result(described, measured, outcome, request.file)


def _thread_count(threads: Any) -> int:
    """The number as the engine takes it: 0 for one thread per processor."""
    if threads is None:
        return 0
    if isinstance(threads, bool) or not isinstance(threads, (int, numpy.integer)):
        raise TypeError(f"threads={threads!r}: give an integer")
    if threads < 1:
        raise ValueError(f"threads={threads}: give a positive number")
    return min(int(threads), _MOST_THREADS)


def _as_typed(value: Any) -> str:
    """The value as a user would enter it into a dialog."""
    return str(value).lower() if isinstance(value, bool) else str(value)


def _sorted_out(
    name: str, entry: dict[str, Any] | None, parameters: Mapping[str, Any]
) -> tuple[dict[str, Any], dict[str, Image]]:
    """The values and the images among the parameters, by key of the plug-in."""
    known = {parameter["key"]: parameter for parameter in entry["parameters"]} if entry is not None else None
    by_keyword = {keyword_of(key): key for key in known} if known is not None else {}
    groups = {key.split("/")[0] for key in known if "/" in key} if known is not None else set()
    values: dict[str, Any] = {}
    images: dict[str, Image] = {}
    for keyword, value in _flat(parameters, groups):
        key = by_keyword.get(keyword, keyword)
        if known is not None and key not in known:
            raise _unknown(name, keyword, list(by_keyword))
        if value is None:
            continue
        kind = known[key]["kind"] if known is not None else ("" if _is_plain(value) else "image")
        if kind == "image":
            images[key] = _parameter_image(name, keyword, value)
        else:
            values[key] = value
    if entry is not None:
        _add_companions(entry, values)
    return values, images


def _parameter_image(name: str, keyword: str, value: Any) -> Image:
    try:
        return as_image(value)
    except (TypeError, ValueError) as error:
        raise type(error)(f"{function_name(name)}: {keyword}: {error}") from None


def _add_companions(entry: Mapping[str, Any], values: dict[str, Any]) -> None:
    """Adds the defaults of parameters that have to be sent because of others."""
    defaults = {parameter["key"]: parameter.get("default") for parameter in entry["parameters"]}
    for parameter in entry["parameters"]:
        for requirement in parameter.get("requires", []) if parameter["key"] in values else []:
            if "values" in requirement and values[parameter["key"]] not in requirement["values"]:
                continue
            for key in requirement["keys"]:
                if defaults[key] is not None:
                    values.setdefault(key, defaults[key])


def _is_plain(value: Any) -> bool:
    return isinstance(value, (bool, int, float, str, list, tuple, Mapping))


def _flat(parameters: Mapping[str, Any], groups: set[str]) -> list[tuple[str, Any]]:
    """The parameters with those of groups, such as advanced={"use_otsu": True}, one by one."""
    flat: list[tuple[str, Any]] = []
    for keyword, value in parameters.items():
        if keyword in groups and isinstance(value, Mapping):
            flat += [(f"{keyword}/{key}", entry) for key, entry in value.items()]
        else:
            flat.append((keyword, value))
    return flat


def _unknown(name: str, keyword: str, known: list[str]) -> TypeError:
    nearest = _core.nearest(keyword, known)
    hint = f"; did you mean '{nearest}'?" if nearest else "; it has no parameters"
    return TypeError(f"{function_name(name)} got an unexpected keyword argument '{keyword}'{hint}")


def _judge(
    name: str, entry: Mapping[str, Any] | None, values: Mapping[str, Any], findings: list[tuple[int, str, str]]
) -> None:
    """Raises for parameters that cannot be meant, and warns of those that plug-ins cope with."""
    for kind, key, message in findings:
        if kind == _WRONG_KIND and key in values and entry is not None:
            wanted = next(parameter["kind"] for parameter in entry["parameters"] if parameter["key"] == key)
            given = f"{keyword_of(key)}={values[key]!r} is of type {type(values[key]).__name__}"
            raise TypeError(f"{function_name(name)}: {given}; give {_KINDS[wanted]}")
        if kind in (_UNKNOWN_KEY, _OTHER_PLUGIN, _WRONG_KIND, _MISSING, _TOO_MANY):
            raise TypeError(f"{function_name(name)}: {message}")
        if kind == _NO_CHOICE:
            raise ValueError(f"{function_name(name)}: {message}")
        warnings.warn(f"{function_name(name)}: {message}", ParameterWarning, stacklevel=_levels_to_caller())


def _levels_to_caller() -> int:
    """How far below the caller of this function the first one outside of the package is, as `warn` counts."""
    level = 1
    frame = sys._getframe(1)
    while frame.f_back is not None and frame.f_globals.get("__name__", "").split(".")[0] == "quillon":
        frame = frame.f_back
        level += 1
    return level


def _raise_unless_done(name: str, image: Image, outcome: dict[str, Any]) -> None:
    end, message = outcome["end"], outcome.get("message", "")
    if end == "cancelled":
        raise CancelledError(f"{name} was cancelled")
    if end == "failed":
        raise PluginError(f"{name} says: {message}")
    if end == "refused":
        raise RefusedError(_refusal(name, image, outcome["refusal"]))
    if end == "error box":
        raise (FileError if "file" in message else PluginError)(f"{name} says: {message}")
    if end == "dialog problem":
        raise ArgumentError(message)
    if end == "unused answer":
        raise ArgumentError(f"no dialog of {name} had an input named '{outcome['unused_answer']}'")


def _refusal(name: str, image: Image, words: dict[str, Any]) -> str:
    message = f"{name} does not take this image ({image.type} of shape {image.shape})"
    if "accepted" not in words:
        return message + "; no catalogue says which images it takes"
    message += f"; it takes {words['accepted']}"
    if words["remedy"] == _CONVERT:
        wanted = "bool" if words["words"][0] == "binary" else type_of_word(words["words"][0]).name
        return f"{message}; it {words['reason']}: give array.astype('{wanted}')"
    if words["remedy"] == _RUN_FIRST:
        functions = " or ".join(f"quillon.{function_name(word)}" for word in words["words"])
        return f"{message}; it {words['reason']}: run {functions} first"
    if words["remedy"] == _OTHER_IMAGE:
        return f"{message}; it {words['reason']}: give an image with {words['words'][0]}"
    return message


def _result(entry: dict[str, Any], image: Image, outcome: dict[str, Any], file: str | None) -> Any:
    if entry.get("asksForFile"):
        return file
    if entry.get("parametersFor"):
        return from_json(outcome["parameters"])
    results = [Image._of(core, label) for core, label in outcome["images"]]
    if entry.get("documentsOut") == 0 and entry.get("dialogs") and not entry.get("measurements"):
        return _shown(outcome["boxes"])
    if entry.get("measurements") and outcome["measured"] or not results:
        results.insert(0, image)
    return results[0] if len(results) == 1 else tuple(results)


def _shown(boxes: list[tuple[str, str, str]]) -> dict[str, Any]:
    """What a plug-in showed in boxes: the text, the verdict, and numbers by name.

    Sentences begin with a dash. The verdict is the first one or, if there is nothing to count, what is different.
    """
    text = "\n".join(text.strip("\n") for _, _, text in boxes)
    lines = text.splitlines()
    sentences = [line[3:] for line in lines if line.startswith(" - ")]
    numbers = {}
    for line in lines:
        key, colon, value = line.rpartition(":")
        number = _number(value.strip()) if colon else None
        if number is not None:
            numbers[" ".join(key.strip("# ").split())] = number
    verdicts = sentences[:1] if numbers else [line for line in sentences if line.startswith("different")]
    return {"text": text, "verdict": "; ".join(verdicts), **numbers}


def _number(text: str) -> Union[int, float, None]:
    try:
        number = float(text)
    except ValueError:
        return None
    return int(text) if text.lstrip("-").isdigit() else number


