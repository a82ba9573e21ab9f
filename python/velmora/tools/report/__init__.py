# SPDX-License-Identifier: Apache-2.0
"""The report that people look at: one HTML file that needs nothing else."""

from velmora.tools.report.data import (
    Bounds,
    Curve,
    Fact,
    Plot,
    ReportData,
    Section,
    Table,
    Track,
    Violation,
)
from velmora.tools.report.page import build

__all__ = ["Bounds", "Curve", "Fact", "Plot", "ReportData", "Section", "Table", "Track", "Violation", "build"]
