# SPDX-License-Identifier: Apache-2.0
"""`velmora resample` for programs."""

from __future__ import annotations

import math
from collections.abc import Callable, Sequence
from enum import IntEnum
from numbers import Integral, Real
from os import PathLike, fspath
from typing import Any, get_args

from velmora import ResamplingMethod, ResamplingTimeGridMode
from velmora.tools.batch import names, summary
from velmora.tools.batch.many import ManyOptions, carry_out
from velmora.tools.batch.tasks import Outcome, Task
from velmora.tools.commands.common import make_folders
from velmora.tools.commands.resample import ResampleWork, work
from velmora.tools.commands.resampling import checked_columns
from velmora.tools.errors import DataError, UsageError
from velmora.tools.operations.checked import CheckOptions
from velmora.tools.operations.resample import (
    DEFAULT_COLUMNS,
    MAX_SAMPLES,
    GapTreatment,
    GridMode,
    Method,
    ResampleOptions,
)
from velmora.tools.options import ReadOptions, WriteOptions


def resample_many(
    files: Sequence[str | PathLike[str]] | str | PathLike[str],
    output: str | PathLike[str] | None = None,
    *,
    output_dir: str | PathLike[str] | None = None,
    sample_time_s: float | None = None,
    rate_hz: float | None = None,
    samples: int | None = None,
    method: Method | ResamplingMethod = "cubic",
    grid_mode: GridMode | ResamplingTimeGridMode = "exact_dt_append_endpoint",
    strict_cubic: bool = False,
    columns: Sequence[str] = DEFAULT_COLUMNS,
    gaps: GapTreatment = "bridge",
    max_gap_s: float | None = None,
    max_samples: int = MAX_SAMPLES,
    output_format: str | None = None,
    read: ReadOptions | None = None,
    check: CheckOptions | None = None,
    jobs: int = 0,
    scheduler: str | None = None,
    resume: bool = False,
    force: bool = False,
    on_done: Callable[[str, str], None] | None = None,
) -> list[dict[str, Any]]:
    """Resample many recordings in files, as the command `velmora resample` does.

    Parameters
    ----------
    files
        Files, folders, patterns and `fsspec` addresses.
    output
        Name of the output, for many files a pattern such as ``"{stem}_100hz.parquet"``.
    output_dir
        Folder of the outputs; made where it is missing.
    sample_time_s, rate_hz, samples
        Spacing in seconds, samples per second, or number of samples of the new grids; one of them.
    method, grid_mode, strict_cubic
        As in `velmora.resample_trajectory`.
    columns
        What is written: ``"positions"`` and any of ``"velocities"``, ``"accelerations"``, ``"jerks"``.
    gaps, max_gap_s
        What to do about steps over `max_gap_s` seconds (ten median steps by default).
    max_samples
        The longest grid that is made.
    output_format
        Format of the outputs; by the suffix otherwise.
    read, check
        How files are read, and which faults are mended.
    jobs
        Processes on this machine; 0 for one per core.
    scheduler
        Address of a Dask scheduler whose workers are used instead.
    resume
        Leave out what an earlier call with the same arguments has done.
    force
        Replace outputs that exist.
    on_done
        Called with the name and the status of every file that is finished.

    Returns
    -------
    list of dict
        A row per recording, in the order of the files: ``source``, ``status`` (``"done"``, ``"skipped"``,
        ``"failed"``, ``"set aside"``), ``output``, ``samples_in``, ``samples_out``, ``duration_s``, ``warnings``,
        ``message``, ``seconds``.
        A broken file fails alone.

    Raises
    ------
    velmora.tools.errors.UsageError
        Where not one of the three spacings is given, an argument is out of its range, an output exists already, or two
        outputs have the same name.
    velmora.tools.errors.DataError
        Where one file is named and there is none.
    """
    if sum(value is not None for value in (sample_time_s, rate_hz, samples)) != 1:
        raise UsageError("resample_many: one of sample_time_s, rate_hz, samples was expected")
    for name, value in (("sample_time_s", sample_time_s), ("rate_hz", rate_hz), ("max_gap_s", max_gap_s)):
        if value is not None and not _is_positive(value):
            raise UsageError(f"resample_many: {name} is {value!r}; a finite number above 0 was expected")
    for name, value, least in (("samples", samples, 1), ("max_samples", max_samples, 1), ("jobs", jobs, 0)):
        if value is not None and (not isinstance(value, Integral) or value < least):
            raise UsageError(f"resample_many: {name} is {value!r}; a whole number from {least} on was expected")
    method_name: Method = _name_of(method, ResamplingMethod)
    grid_name: GridMode = _name_of(grid_mode, ResamplingTimeGridMode)
    for name, text, known in (
        ("method", method_name, get_args(Method)),
        ("grid_mode", grid_name, get_args(GridMode)),
        ("gaps", gaps, get_args(GapTreatment)),
    ):
        if text not in known:
            raise UsageError(f"resample_many: {name} is {text!r}; {', '.join(known)} were expected")
    if isinstance(files, (str, PathLike)):
        files = [files]
    folder = None if output_dir is None else fspath(output_dir)
    inputs = names.expand([fspath(file) for file in files], folder)
    if len(inputs) == 1 and inputs[0].fault:
        raise DataError(inputs[0].fault)
    pattern = None if output is None else fspath(output)
    targets = names.targets(inputs, pattern, folder, None if output_format is None else f".{output_format}")
    if folder is not None:
        make_folders(targets)
    quantities = checked_columns(tuple(columns))
    resample = ResampleOptions(
        sample_time_s, rate_hz, samples, method_name, grid_name, strict_cubic, quantities, gaps, max_gap_s, max_samples
    )
    options = ResampleWork(
        read or ReadOptions(),
        check or CheckOptions(),
        resample,
        WriteOptions(format=output_format, columns=quantities),
        full_report=False,
    )
    tasks = [
        Task(entry.path, target, work, options, force=force, fault=entry.fault)
        for entry, target in zip(inputs, targets, strict=True)
    ]

    def done(index: int, outcome: Outcome, status: str) -> None:
        if on_done is not None:
            on_done(outcome.source, status)

    return summary.rows(carry_out(tasks, ManyOptions(jobs, scheduler, resume), done))


def _name_of(value: Any, enumeration: type[IntEnum]) -> Any:
    """The name of a member; anything else as it is."""
    return value.name if isinstance(value, enumeration) else value


def _is_positive(value: object) -> bool:
    """Whether a number is finite and above 0, and its reciprocal too."""
    return isinstance(value, Real) and 0.0 < float(value) < math.inf and 1.0 / float(value) < math.inf
