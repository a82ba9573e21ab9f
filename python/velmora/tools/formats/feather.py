# SPDX-License-Identifier: Apache-2.0
"""Reads and writes Feather (Arrow's file format)."""

from __future__ import annotations

from collections.abc import Iterator
from typing import IO, TYPE_CHECKING

from velmora.tools.errors import UsageError
from velmora.tools.formats import arrow_schema, parquet
from velmora.tools.formats.groups import Labels
from velmora.tools.options import ReadOptions
from velmora.tools.recording import Recording

if TYPE_CHECKING:
    import pyarrow as pa

COMPRESSIONS = ("zstd", "lz4", "none")


def read(path: str, options: ReadOptions) -> list[Recording]:
    """Read the recording in a Feather file, or one for each group of rows with --group-by."""
    import pyarrow as pa

    source = "standard input" if path == "-" else path
    with parquet.readable(path) as file, parquet.damage(source, "Feather"):
        table = pa.ipc.open_file(file)

        def batches(indexes: list[int]) -> Iterator[pa.RecordBatch]:
            for number in range(table.num_record_batches):
                batch = table.get_batch(number)
                yield arrow_schema.numbered([batch.column(index) for index in indexes], indexes)

        schema = table.schema
        samples = sum(table.get_batch(index).num_rows for index in range(table.num_record_batches))
        return arrow_schema.read(source, "feather", schema, samples, batches, options)


def write(
    file: IO[bytes],
    recording: Recording,
    quantities: tuple[str, ...],
    compression: str | None,
    labels: Labels | None = None,
) -> list[str]:
    """Write a recording; nothing is lost."""
    import pyarrow as pa

    if compression is not None and compression not in COMPRESSIONS:
        raise UsageError(f"--compression {compression}: {', '.join(COMPRESSIONS)} were expected")
    writer = None
    options = pa.ipc.IpcWriteOptions(compression=None if compression == "none" else compression or "zstd")
    for table in arrow_schema.tables(recording, quantities, labels):
        if writer is None:
            writer = pa.ipc.new_file(file, table.schema, options=options)
        writer.write_table(table)
    assert writer is not None
    writer.close()
    return []
