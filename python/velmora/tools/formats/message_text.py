# SPDX-License-Identifier: Apache-2.0
"""The text of a message as plain values: nothing in it can make an object or expand."""

from __future__ import annotations

import json
import math
from typing import Any

from velmora.tools.errors import DataError
from velmora.tools.formats.bag_decode import TRAJECTORY
from velmora.tools.text import quoted

_DEEPEST = 32


def from_json(source: str, text: str) -> Any:
    """The content of a JSON text; numbers beyond doubles stay text."""
    try:
        return json.loads(text, parse_float=_float_or_text)
    except (ValueError, RecursionError) as error:
        if "..." in text:
            raise cut(source, text) from error
        row = getattr(error, "lineno", 1)
        raise DataError(f"{source}:{row}: is no JSON: {error}; a message of {TRAJECTORY} was expected") from error


def from_yaml(source: str, text: str) -> Any:
    """The content of a YAML text of plain values; numbers beyond doubles stay text."""
    import yaml

    loader = getattr(yaml, "CSafeLoader", yaml.SafeLoader)
    if any(line.strip() in ("...", "- ...") for line in text.splitlines()):
        raise cut(source, text)
    depth = 0
    try:
        for event in yaml.parse(text, Loader=loader):
            if isinstance(event, yaml.AliasEvent) or getattr(event, "anchor", None) is not None:
                raise DataError(f"{source}:{_row(event)}: there is an alias; plain values were expected")
            tag = getattr(event, "tag", None)
            if tag is not None:
                raise DataError(f"{source}:{_row(event)}: a value asks for {quoted(tag)}; plain values were expected")
            depth += isinstance(event, yaml.CollectionStartEvent) - isinstance(event, yaml.CollectionEndEvent)
            if depth > _DEEPEST:
                raise DataError(
                    f"{source}:{_row(event)}: values are nested more than {_DEEPEST} deep; a message of "
                    f"{TRAJECTORY} was expected"
                )
            if isinstance(event, yaml.ScalarEvent) and len(event.value) > 1000:
                raise DataError(
                    f"{source}:{_row(event)}: a value has {len(event.value):,} characters; numbers and "
                    "names were expected"
                )
        plain: Any = type("PlainLoader", (loader,), {})
        plain.add_constructor("tag:yaml.org,2002:float", _yaml_float)
        found = [document for document in yaml.load_all(text, Loader=plain) if document is not None]
    except (yaml.YAMLError, ValueError, RecursionError) as error:
        mark = getattr(error, "problem_mark", None)
        row = 1 if mark is None else mark.line + 1
        what = getattr(error, "problem", None) or str(error).splitlines()[0]
        raise DataError(f"{source}:{row}: is no YAML: {what}; a message of {TRAJECTORY} was expected") from error
    if len(found) != 1:
        raise DataError(
            f"{source}: there are {len(found)} messages; one was expected; `ros2 topic echo --once` prints one"
        )
    return found[0]


def _float_or_text(text: str) -> float | str:
    value = float(text)
    return text if math.isinf(value) else value


def _yaml_float(loader: Any, node: Any) -> float | str:
    value: float = loader.construct_yaml_float(node)
    return str(node.value) if math.isinf(value) and "inf" not in node.value.lower() else value


def _row(event: Any) -> int:
    mark = event.start_mark
    return 1 if mark is None else int(mark.line) + 1


def cut(source: str, text: str) -> DataError:
    """What is wrong with a message of which a part is left out."""
    row = next((number for number, line in enumerate(text.splitlines(), 1) if "..." in line), 1)
    return DataError(
        f"{source}:{row}: an array is cut by '...'; all values were expected; "
        "`ros2 topic echo --full-length` prints them"
    )
