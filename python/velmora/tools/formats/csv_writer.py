# SPDX-License-Identifier: Apache-2.0
"""Writes CSV and TSV: a header, shortest numbers that read back to the same bits, lines ended by a line feed."""

from __future__ import annotations

import io
from concurrent.futures import ThreadPoolExecutor
from typing import IO

from velmora.tools.columns import meaning, written_columns
from velmora.tools.formats import arrow_columns, csv_dialect, text_times
from velmora.tools.formats.groups import Labels
from velmora.tools.formats.plan import refuse_width
from velmora.tools.recording import Recording

_ROWS_AT_ONCE = 65_536


def write(
    file: IO[bytes],
    recording: Recording,
    quantities: tuple[str, ...],
    separator: str = ",",
    labels: Labels | None = None,
) -> list[str]:
    """Write a recording as text; nothing is lost but the difference between kinds of NaN."""
    import pyarrow as pa
    from pyarrow import csv

    columns = written_columns(recording, quantities)
    refuse_width(recording.source, len(columns) + (labels is not None))
    names = [column.name for column in columns]
    keys = None
    if labels is not None:
        labels.refuse_lost_in_text(recording.source, separator)
        names, keys = [labels.column, *names], labels.array()
    file.write(separator.join(_quoted(name, separator) for name in names).encode() + b"\n")
    options = csv.WriteOptions(include_header=False, delimiter=separator, quoting_style="none")
    joints = {joint: index for index, joint in enumerate(recording.joints)}

    def text(start: int) -> memoryview:
        stop = start + _ROWS_AT_ONCE
        arrays = [] if keys is None else [keys[start:stop]]
        for column in columns:
            if column.quantity == "time":
                assert recording.stamps is not None
                arrays.append(
                    text_times.written(recording.stamps, slice(start, stop), meaning(column.name).unit is not None)
                )
                continue
            arrays.append(arrow_columns.cells(recording, column.quantity, joints[column.joint], slice(start, stop)))
        buffer = io.BytesIO()
        csv.write_csv(pa.table(arrays, names=[str(index) for index in range(len(arrays))]), buffer, options)
        return buffer.getbuffer()

    with ThreadPoolExecutor(max_workers=2) as pool:
        for piece in pool.map(text, range(0, len(recording.rows), _ROWS_AT_ONCE)):
            file.write(piece)
    return []


def _quoted(name: str, separator: str) -> str:
    """A name that reads back as one cell."""
    if separator in name or '"' in name or "\n" in name or csv_dialect.holds_comment(name, separator):
        return '"' + name.replace('"', '""') + '"'
    return name
