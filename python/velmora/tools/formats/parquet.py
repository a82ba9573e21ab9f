# SPDX-License-Identifier: Apache-2.0
"""Reads and writes Parquet in row groups, so that a file takes little more memory than its numbers."""

from __future__ import annotations

from collections.abc import Iterator
from contextlib import contextmanager
from typing import IO, TYPE_CHECKING

from velmora.tools import output
from velmora.tools.errors import DataError, UsageError
from velmora.tools.formats import addresses, arrow_schema
from velmora.tools.formats.groups import Labels
from velmora.tools.options import ReadOptions
from velmora.tools.recording import Recording

if TYPE_CHECKING:
    import pyarrow as pa

_ROWS_AT_ONCE = 65_536
COMPRESSIONS = ("zstd", "lz4", "snappy", "gzip", "none")


def read(path: str, options: ReadOptions) -> list[Recording]:
    """Read the recording in a Parquet file, or one for each group of rows with --group-by."""
    from pyarrow import parquet

    source = "standard input" if path == "-" else path
    with readable(path) as file, damage(source, "Parquet"):
        table = parquet.ParquetFile(file, pre_buffer=False, buffer_size=1 << 20)
        names = table.schema_arrow.names
        unique = len(set(names)) == len(names)  # Parquet's reader knows columns by name only

        def batches(indexes: list[int]) -> Iterator[pa.RecordBatch]:
            chosen = [names[index] for index in indexes] if unique else None
            for batch in table.iter_batches(_ROWS_AT_ONCE, columns=chosen, use_threads=True):
                keys = indexes if chosen is None else chosen
                yield arrow_schema.numbered([batch.column(key) for key in keys], indexes)

        return arrow_schema.read(source, "parquet", table.schema_arrow, table.metadata.num_rows, batches, options)


@contextmanager
def readable(path: str) -> Iterator[pa.NativeFile | IO[bytes]]:
    """A file that Arrow can read in any order."""
    import pyarrow as pa

    if path == "-":
        yield pa.BufferReader(addresses.content(path))
        return
    with addresses.opened(path) as file:
        if output.is_remote(path):
            yield file
        else:
            with pa.OSFile(output.local(path)) as held:
                yield held


@contextmanager
def damage(source: str, kind: str) -> Iterator[None]:
    """Errors of Arrow as errors of the file."""
    import pyarrow as pa

    try:
        yield
    except (pa.ArrowException, OSError, ValueError, OverflowError) as error:
        text = str(error).splitlines()[0] if str(error) else type(error).__name__
        raise DataError(f"{source}: is damaged or no {kind} file: {text}") from error


def write(
    file: IO[bytes],
    recording: Recording,
    quantities: tuple[str, ...],
    compression: str | None,
    labels: Labels | None = None,
) -> list[str]:
    """Write a recording; nothing is lost."""
    from pyarrow import parquet

    if compression is not None and compression not in COMPRESSIONS:
        raise UsageError(f"--compression {compression}: {', '.join(COMPRESSIONS)} were expected")
    writer = None
    for table in arrow_schema.tables(recording, quantities, labels):
        if writer is None:
            # Numbers of a joint share their first bytes: split by byte they compress better and faster.
            doubles = [field.name for field in table.schema if str(field.type) == "double"]
            writer = parquet.ParquetWriter(
                file,
                table.schema,
                compression=compression or "zstd",
                compression_level=1 if compression in (None, "zstd") else None,
                use_dictionary=False,
                use_byte_stream_split=doubles,  # pyright: ignore[reportArgumentType]  # its stub forgets lists
                write_statistics=False,
            )
        writer.write_table(table)
    assert writer is not None
    writer.close()
    return []
