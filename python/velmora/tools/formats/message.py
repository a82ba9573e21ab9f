# SPDX-License-Identifier: Apache-2.0
"""Reads and writes one JointTrajectory message in JSON or YAML, as `ros2 topic echo` prints it."""

from __future__ import annotations

import json
from collections.abc import Iterator
from typing import IO, Any

import numpy as np
from numpy.typing import NDArray

from velmora.tools.columns import clean
from velmora.tools.errors import DataError
from velmora.tools.formats import addresses, message_text, text_numbers
from velmora.tools.formats import stamps as clock
from velmora.tools.formats.bag_decode import TRAJECTORY
from velmora.tools.formats.plan import MAX_COLUMNS, RADIANS_PER_DEGREE, matching
from velmora.tools.options import ReadOptions
from velmora.tools.recording import Layout, Note, Recording, Stamps
from velmora.tools.text import count, listed, quoted

_MOST_BYTES = 256 * 2**20
_SECOND = 1_000_000_000
# Stamps from here on (three years) count from an epoch: the message's stamp then holds the first of them.
_EPOCH_NS = 10**17
_SECONDS, _NANOSECONDS = ("sec", "secs"), ("nanosec", "nsecs", "nsec")
_FIELDS = {"positions": "positions", "velocities": "velocities", "accelerations": "accelerations", "efforts": "effort"}


def read(path: str, options: ReadOptions) -> list[Recording]:
    """Read a message; nothing in the file can make an object or expand.

    Raises
    ------
    DataError
        For text that is no such message, arrays cut by ``...``, and points with other than one value for each joint.
    """
    source = "standard input" if path == "-" else path
    data = addresses.content(path)
    if len(data) > _MOST_BYTES:
        raise DataError(
            f"{source}: the message has {len(data):,} bytes; at most {_MOST_BYTES:,} were expected; a bag or a table "
            "holds long recordings"
        )
    text = data.decode("utf-8-sig", "replace")
    as_json = options.format == "json" or (options.format is None and path.lower().endswith(".json"))
    content = message_text.from_json(source, text) if as_json else message_text.from_yaml(source, text)
    if not isinstance(content, dict) or not isinstance(content.get("joint_names"), list):
        raise DataError(f"{source}: there are no 'joint_names'; a message of {TRAJECTORY} was expected")
    points = content.get("points")
    if "..." in content["joint_names"] or (isinstance(points, list) and "..." in points):
        raise message_text.cut(source, text)
    names = [clean(str(name)) for name in content["joint_names"]]
    if len(set(names)) != len(names) or "" in names or len(names) > MAX_COLUMNS:
        raise DataError(f"{source}: the joints are called {listed(names)}; different names were expected")
    if not isinstance(points, list) or not all(isinstance(point, dict) for point in points):
        raise DataError(f"{source}: there are no 'points'; a message of {TRAJECTORY} was expected")
    return [_recording(source, "json" if as_json else "yaml", names, points, _stamp(source, content), options)]


def _stamp(source: str, content: dict[str, Any]) -> int:
    header = content.get("header")
    stamp = header.get("stamp") if isinstance(header, dict) else None
    return 0 if stamp is None else _nanoseconds(source, stamp)


def _nanoseconds(source: str, value: Any) -> int:
    """A stamp or a duration in whole nanoseconds."""
    try:
        if isinstance(value, dict):
            seconds = [_whole(value[name]) for name in _SECONDS if name in value]
            nanoseconds = [_whole(value[name]) for name in _NANOSECONDS if name in value]
            if seconds or nanoseconds:
                return sum(seconds[:1]) * _SECOND + sum(nanoseconds[:1])
        elif not isinstance(value, bool):
            return round(float(value) * _SECOND)
    except (TypeError, ValueError, OverflowError):
        pass
    raise DataError(f"{source}: {quoted(str(value))} is no time; whole numbers sec and nanosec were expected")


def _whole(value: Any) -> int:
    if isinstance(value, bool) or (isinstance(value, float) and not value.is_integer()):
        raise ValueError
    return int(value)


def _recording(
    source: str, kind: str, names: list[str], points: list[dict[str, Any]], stamp: int, options: ReadOptions
) -> Recording:
    joints = tuple(matching(source, names, options.joints)) if options.joints else tuple(names)
    places = [names.index(joint) for joint in joints]
    values: dict[str, NDArray[np.float64] | None] = {}
    large: list[tuple[str, str]] = []
    for quantity, field in _FIELDS.items():
        matrix = _matrix(source, points, field, len(names))
        if matrix is not None:
            cells = np.argwhere(np.abs(matrix) >= text_numbers.WHOLE_BELOW).tolist()
            large += ((names[place], str(points[row][field][place])) for row, place in cells if place in places)
            matrix = np.ascontiguousarray(matrix[:, places])
            if options.degrees and not options.keep_units and quantity != "efforts":
                matrix = matrix * RADIANS_PER_DEGREE
        values[quantity] = matrix
    positions = values.pop("positions")
    if positions is None:
        positions = np.full((len(points), len(joints)), np.nan)
    missing = {}
    for quantity in ("positions", *(name for name, matrix in values.items() if matrix is not None)):
        absent = np.array([not point.get(_FIELDS[quantity]) for point in points], np.bool_)
        if absent.any():
            missing[quantity] = np.repeat(absent[:, np.newaxis], len(joints), axis=1)
    times = [
        stamp + _nanoseconds(f"{source}:{row}", point.get("time_from_start", 0)) for row, point in enumerate(points, 1)
    ]
    if any(abs(time) >= 2**63 for time in times):
        raise DataError(f"{source}: a time does not fit into 64 bits of nanoseconds; sec and nanosec were expected")
    if options.rate_hz is not None:
        stamps, why = (
            clock.at_rate(len(points), options.rate_hz),
            f"{options.rate_hz!r} samples per second (--input-rate)",
        )
    else:
        stamps, why = Stamps(np.array(times, np.int64), "ns"), "time from start and the header's stamp, in ns"
    return Recording(
        source,
        joints,
        stamps,
        positions,
        values["velocities"],
        values["accelerations"],
        None,
        values["efforts"],
        np.arange(1, len(points) + 1),
        missing or None,
        (Note("time", why), *text_numbers.lost(large)),
        Layout(kind, (), "", TRAJECTORY),
    )


def _matrix(source: str, points: list[dict[str, Any]], field: str, joints: int) -> NDArray[np.float64] | None:
    """One quantity of all points; NaN where a point has none of it, None where no point has."""
    matrix = np.full((len(points), joints), np.nan)
    found = False
    for row, point in enumerate(points, 1):
        numbers = point.get(field) or []
        if not isinstance(numbers, list):
            raise DataError(f"{source}:{row}: the {field} are no list; {joints} numbers were expected")
        if "..." in numbers:
            raise DataError(
                f"{source}:{row}: the {field} are cut by '...'; all values were expected; "
                "`ros2 topic echo --full-length` prints them"
            )
        if not numbers:
            continue
        if len(numbers) != joints:
            raise DataError(
                f"{source}:{row}: {field}: {count(len(numbers), 'number')} for {count(joints, 'joint')}; as many "
                "were expected"
            )
        try:
            # Numbers such as 1e-05 are text to YAML.
            matrix[row - 1] = [float(number) for number in numbers]
        except (TypeError, ValueError, OverflowError) as error:
            raise DataError(f"{source}:{row}: the {field} are {quoted(str(numbers))}; numbers were expected") from error
        found = True
    return matrix if found else None


def write(file: IO[bytes], recording: Recording, quantities: tuple[str, ...], kind: str) -> list[str]:
    """Write the message.

    Raises
    ------
    DataError
        Without times, or with values that are missing or not finite.
    """
    notes = []
    if recording.stamps is None:
        raise DataError(f"{recording.source}: there is no time; points of a trajectory need one; --input-rate gives it")
    fields = {
        field: getattr(recording, quantity)
        for quantity, field in _FIELDS.items()
        if quantity in quantities and getattr(recording, quantity) is not None
    }
    for field, matrix in fields.items():
        if not np.isfinite(matrix).all():
            raise DataError(
                f"{recording.source}: some {field} are missing or not finite; a trajectory message has all of them"
            )
    if "jerks" in quantities and recording.jerks is not None:
        notes.append(f"{TRAJECTORY} has no jerks: left out")
    times = recording.stamps.values
    if recording.stamps.missing.any():
        raise DataError(f"{recording.source}: a time is missing; a trajectory message has all of them")
    if times.dtype != np.int64:
        if not np.isfinite(times).all() or np.abs(times).max(initial=0.0) >= 2.0**31:
            raise DataError(f"{recording.source}: a time is not finite or too large; seconds below 2^31 were expected")
        times = np.rint(times * 1e9).astype(np.int64)
        notes.append("times of messages are whole nanoseconds: they were rounded")
    stamp = int(times[0]) if len(times) and abs(int(times[0])) >= _EPOCH_NS else 0
    lines = _json_lines if kind == "json" else _yaml_lines
    for line in lines(recording.joints, fields, stamp, times - stamp):
        file.write(line.encode())
    return notes


def _json_lines(
    joints: tuple[str, ...], fields: dict[str, NDArray[np.float64]], stamp: int, times: NDArray[np.generic]
) -> Iterator[str]:
    sec, nanosec = divmod(stamp, _SECOND)
    head = {"header": {"stamp": {"sec": sec, "nanosec": nanosec}, "frame_id": ""}, "joint_names": list(joints)}
    yield json.dumps(head, ensure_ascii=False)[:-1] + ', "points": [\n'
    for row, time in enumerate(times.tolist()):
        sec, nanosec = divmod(time, _SECOND)
        point: dict[str, Any] = {name: matrix[row].tolist() for name, matrix in fields.items()}
        point["time_from_start"] = {"sec": sec, "nanosec": nanosec}
        yield json.dumps(point) + (",\n" if row + 1 < len(times) else "\n")
    yield "]}\n"


def _yaml_lines(
    joints: tuple[str, ...], fields: dict[str, NDArray[np.float64]], stamp: int, times: NDArray[np.generic]
) -> Iterator[str]:
    sec, nanosec = divmod(stamp, _SECOND)
    yield f"header:\n  stamp:\n    sec: {sec}\n    nanosec: {nanosec}\n  frame_id: ''\njoint_names:\n"
    for joint in joints:
        yield f"- {json.dumps(joint, ensure_ascii=False)}\n"
    yield "points:\n" if len(times) else "points: []\n"
    for row, time in enumerate(times.tolist()):
        sec, nanosec = divmod(time, _SECOND)
        start = "- "
        for name, matrix in fields.items():
            yield f"{start}{name}:\n" + "".join(f"  - {_yaml_number(value)}\n" for value in matrix[row].tolist())
            start = "  "
        yield f"  time_from_start:\n    sec: {sec}\n    nanosec: {nanosec}\n"
    yield "---\n"


def _yaml_number(value: float) -> str:
    """A number that YAML 1.1 takes for one: with a decimal point before the exponent."""
    text = repr(value)
    return text.replace("e", ".0e") if "e" in text and "." not in text else text
