# SPDX-License-Identifier: Apache-2.0
"""The tools behind the command `velmora`, for recordings in files; `resample_many` is the command for programs."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

if TYPE_CHECKING:
    from velmora.tools.batch.resample_many import resample_many as resample_many

__all__ = ["resample_many"]


def __getattr__(name: str) -> Any:
    # Late, so that the command says its version and its help without loading what reads files.
    if name == "resample_many":
        from velmora.tools.batch.resample_many import resample_many

        return resample_many
    raise AttributeError(f"module 'velmora.tools' has no attribute '{name}'")
