# SPDX-License-Identifier: Apache-2.0
"""The table of what became of each of many files."""

from __future__ import annotations

import csv
import io
import json
from typing import Any

from velmora.tools import output
from velmora.tools.batch.many import ManyResult
from velmora.tools.batch.tasks import JsonObject, Outcome
from velmora.tools.errors import UsageError
from velmora.tools.text import count

COLUMNS = ("source", "status", "output", "samples_in", "samples_out", "duration_s", "warnings", "message", "seconds")


def rows(result: ManyResult) -> list[dict[str, Any]]:
    """One row per input and recording in it; the keys are `COLUMNS`."""
    found = []
    for outcome, status in zip(result.outcomes, result.statuses, strict=True):
        for report in outcome.reports or ({},):
            found.append(
                {
                    "source": report.get("source", outcome.source),
                    "status": status,
                    "output": "; ".join(report.get("outputs", ())),
                    "samples_in": report.get("samples"),
                    "samples_out": report.get("samples_out"),
                    "duration_s": report.get("duration_s"),
                    "warnings": len(outcome.about(report, outcome.warnings)),
                    "message": outcome.error or _faults(outcome, report),
                    "seconds": round(outcome.seconds, 6),
                }
            )
    return found


def _faults(outcome: Outcome, report: JsonObject) -> str:
    """What is wrong with a recording that could be read: what of it is lost, a fault, or limits that it violates."""
    faults = outcome.about(report, outcome.losses)
    if not report.get("passed", True):
        faults += [report["verdict"], *report["doubts"]]
    elif report.get("fault"):
        faults.append(report["fault"])
    return "; ".join(faults)


def write(path: str, result: ManyResult, force: bool) -> None:
    """Write the table as CSV, JSON or Parquet, by the suffix."""
    table = rows(result)
    if path.endswith(".json"):
        content = (json.dumps(table, indent=1) + "\n").encode()
    elif path.endswith(".csv"):
        text = io.StringIO()
        writer: csv.DictWriter[str] = csv.DictWriter(text, COLUMNS, lineterminator="\n")
        writer.writeheader()
        writer.writerows(table)
        content = text.getvalue().encode()
    elif path.endswith(".parquet"):
        content = _parquet(table)
    else:
        raise AssertionError(path)
    output.write_bytes(path, content, force=force)


def refuse_suffix(path: str) -> None:
    """Find out before the work whether the table can be written."""
    if not path.endswith((".csv", ".json", ".parquet")):
        raise UsageError(f"{path}: the suffix is not known; .csv, .json or .parquet was expected")


def lines(result: ManyResult) -> list[str]:
    """What a person wants to know in the end: how many of each status, how long, how fast."""
    counts = [
        f"{result.statuses.count(status):,} {status}"
        for status in ("done", "skipped", "failed", "set aside")
        if status in result.statuses
    ]
    worked = sum(status != "skipped" for status in result.statuses)
    rate = f", {worked / result.seconds:.1f} per s" if worked > 1 and result.seconds > 0.0 else ""
    return [f"{count(len(result.statuses), 'file')}: {', '.join(counts)}; {result.seconds:.1f} s{rate}"]


def _parquet(table: list[dict[str, Any]]) -> bytes:
    import pyarrow as pa
    import pyarrow.parquet as pq

    types = {
        "samples_in": pa.int64(),
        "samples_out": pa.int64(),
        "warnings": pa.int64(),
        "duration_s": pa.float64(),
        "seconds": pa.float64(),
    }
    schema = pa.schema([(name, types.get(name, pa.string())) for name in COLUMNS])
    sink = pa.BufferOutputStream()
    pq.write_table(pa.Table.from_pylist(table, schema=schema), sink)
    content: bytes = sink.getvalue().to_pybytes()
    return content
