# SPDX-License-Identifier: Apache-2.0
"""Puts the samples of a topic together: joints by name, whatever their order in each message."""

from __future__ import annotations

from collections.abc import Sequence

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError
from velmora.tools.formats import addresses
from velmora.tools.formats import stamps as clock
from velmora.tools.formats.bag_decode import TRAJECTORY, Decoder, Piece
from velmora.tools.formats.plan import MAX_COLUMNS, RADIANS_PER_DEGREE, matching
from velmora.tools.options import ReadOptions
from velmora.tools.recording import QUANTITIES, Layout, Note, Recording, Stamps
from velmora.tools.text import quoted, size_text


def recordings(decoder: Decoder, options: ReadOptions, notes: Sequence[Note]) -> list[Recording]:
    """The recording of a topic; each message of a trajectory with several points is one of its own."""
    pieces = decoder.pieces
    several = (
        decoder.channel.type == TRAJECTORY
        and decoder.messages > 1
        and len(pieces) > 0
        and (sum(len(piece.messages) for piece in pieces) > decoder.messages)
    )
    if not several:
        return [_recording(None, decoder, pieces, options, notes)]
    of_message: dict[int, list[Piece]] = {}
    for piece in pieces:
        for place, message in enumerate(piece.messages.tolist()):
            one = slice(place, place + 1)
            of_message.setdefault(message, []).append(
                Piece(
                    piece.messages[one],
                    piece.names,
                    piece.stamp_ns[one],
                    piece.offset_ns[one],
                    piece.log_ns[one],
                    {quantity: values[one] for quantity, values in piece.values.items()},
                )
            )
    return [_recording(message + 1, decoder, parts, options, notes) for message, parts in sorted(of_message.items())]


def _recording(
    message: int | None, decoder: Decoder, pieces: list[Piece], options: ReadOptions, notes: Sequence[Note]
) -> Recording:
    source = decoder.source if message is None else f"{decoder.source}[{message}]"
    names = list(
        dict.fromkeys(name for piece in {piece.names: piece for piece in pieces}.values() for name in piece.names)
    )
    if not names:
        raise DataError(f"{source}: the messages name no joints; names were expected")
    joints = tuple(matching(source, names, options.joints)) if options.joints else tuple(names)
    messages = _joined([piece.messages for piece in pieces])
    samples = len(messages)
    size = samples * len(joints) * 8.0
    if len(joints) > MAX_COLUMNS or size > addresses.most_bytes():
        raise DataError(
            f"{source}: {samples:,} samples of {len(joints):,} joints take {size_text(size)}; fewer joints were "
            "expected; --joints chooses them"
        )
    logs = _joined([piece.log_ns for piece in pieces])
    # Chunks of a bag may overlap in time; its tools play it in the order in which it was logged.
    order = np.argsort(logs, kind="stable") if (np.diff(messages) < 0).any() or (np.diff(logs) < 0).any() else None
    matrices = _matrices(pieces, joints, samples, options)
    missing = {
        quantity: mask for quantity in matrices if (mask := _absent(pieces, joints, samples, quantity)) is not None
    }
    told = [*notes, Note("topic", f"{quoted(decoder.channel.topic)} of {decoder.channel.type}")]
    stamps, why = _stamps(pieces, logs, options)
    told.append(Note("time", why))
    values: dict[str, NDArray[np.float64] | None] = {quantity: matrices.get(quantity) for quantity in QUANTITIES}
    rows = messages + 1
    if order is not None:
        values = {quantity: None if matrix is None else matrix[order] for quantity, matrix in values.items()}
        stamps, rows = stamps.part(order), rows[order]
        missing = {quantity: mask[order] for quantity, mask in missing.items()}
    positions = values.pop("positions")
    assert positions is not None
    return Recording(
        source,
        joints,
        stamps,
        positions,
        **values,
        rows=rows,
        missing=missing or None,
        notes=tuple(told),
        layout=Layout("bag", (), decoder.channel.topic, decoder.channel.type, message),
        group=None,
    )


def _joined(parts: Sequence[NDArray[np.int64]]) -> NDArray[np.int64]:
    return np.concatenate(parts) if parts else np.empty(0, np.int64)


def _places(piece: Piece, joints: tuple[str, ...]) -> tuple[list[int], list[int]]:
    """Columns of the piece, and of the result, of the joints that are in both."""
    wanted = {joint: place for place, joint in enumerate(joints)}
    pairs = [(column, wanted[name]) for column, name in enumerate(piece.names) if name in wanted]
    return [column for column, _ in pairs], [place for _, place in pairs]


def _matrices(
    pieces: list[Piece], joints: tuple[str, ...], samples: int, options: ReadOptions
) -> dict[str, NDArray[np.float64]]:
    present = {quantity for piece in pieces for quantity in piece.values} | {"positions"}
    matrices = {quantity: np.full((samples, len(joints)), np.nan) for quantity in QUANTITIES if quantity in present}
    start = 0
    for piece in pieces:
        stop = start + len(piece.messages)
        columns, places = _places(piece, joints)
        plain = columns == places and len(columns) == len(piece.names) == len(joints)
        for quantity, values in piece.values.items():
            if plain:
                matrices[quantity][start:stop] = values
            else:
                matrices[quantity][start:stop, places] = values[:, columns]
        start = stop
    if options.degrees and not options.keep_units:
        for quantity, matrix in matrices.items():
            if quantity != "efforts":
                matrix *= RADIANS_PER_DEGREE
    return matrices


def _absent(pieces: list[Piece], joints: tuple[str, ...], samples: int, quantity: str) -> NDArray[np.bool_] | None:
    """Which cells of a quantity no message holds; None where every one is held, be it a number or not."""
    absent = None
    start = 0
    for piece in pieces:
        stop = start + len(piece.messages)
        places = _places(piece, joints)[1] if quantity in piece.values else []
        if len(places) < len(joints):
            absent = np.zeros((samples, len(joints)), np.bool_) if absent is None else absent
            absent[start:stop] = True
            absent[start:stop, places] = False
        start = stop
    return absent


def _stamps(pieces: list[Piece], logs: NDArray[np.int64], options: ReadOptions) -> tuple[Stamps, str]:
    if options.rate_hz is not None:
        return clock.at_rate(len(logs), options.rate_hz), f"{options.rate_hz!r} samples per second (--input-rate)"
    offsets = _joined([piece.offset_ns for piece in pieces])
    if options.time_from == "log":
        return Stamps(logs + offsets, "ns"), "log time of the messages (--time-from log), in ns"
    headers = _joined([piece.stamp_ns for piece in pieces])
    if headers.any() or len(logs) == 0:
        return Stamps(headers + offsets, "ns"), "stamps of the headers, in ns"
    if offsets.any():
        return Stamps(offsets, "ns"), "time from start, as the header holds no stamp, in ns"
    return Stamps(logs, "ns"), "log time of the messages, as their headers hold no stamps, in ns"
