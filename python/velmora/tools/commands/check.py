# SPDX-License-Identifier: Apache-2.0
"""velmora check: recordings beside the limits of a robot; a gate for scripts."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import click

from velmora.tools import output
from velmora.tools.batch.tasks import JsonObject, Stage, Task
from velmora.tools.commands import common, reading
from velmora.tools.commands.declare import FiniteRange
from velmora.tools.errors import UsageError
from velmora.tools.operations.check import TOLERANCE, Derivatives, Finding, Verdict, check
from velmora.tools.operations.checked import CheckOptions, checked
from velmora.tools.operations.facts import facts, mended, mended_lines, number
from velmora.tools.operations.limits import JointLimits, LimitsFile, for_joints, load
from velmora.tools.options import ReadOptions
from velmora.tools.text import count, listed, short, table

MOST_SPANS = 3
NOTHING = "no limit of its joints is given, nothing was checked; at least one limit was expected"


@dataclass(frozen=True)
class CheckWork:
    """All that checking one file needs to know."""

    read: ReadOptions
    check: CheckOptions
    limits: LimitsFile
    derivatives: Derivatives
    tolerance: float
    guard_units: bool


@click.command(
    epilog="""\b
Examples:
  velmora check log.csv --limits joint_limits.yaml
  velmora check recordings/ --limits robot.urdf --junit checks.xml
  velmora check log.csv --limits limits.csv --derivatives forward --json
\b
Limits: a planner's joint_limits.yaml, a URDF, or a CSV with the columns joint, min_position, max_position,
max_velocity, max_acceleration, max_jerk. The exit code is 1 where a limit is violated.
"""
)
@common.files_argument
@click.option(
    "--limits", "-l", type=click.Path(), required=True, metavar="FILE", help="YAML, URDF or CSV with the limits."
)
@click.option(
    "--derivatives",
    type=click.Choice(["three-point", "forward", "spline"]),
    default="three-point",
    show_default=True,
    help="How velocities and further derivatives are computed.",
)
@click.option(
    "--tolerance",
    type=FiniteRange(min=0.0),
    default=TOLERANCE,
    show_default=True,
    help="By how much of its half width an interval may be passed.",
)
@click.option("--no-unit-guard", is_flag=True, help="Take values that look like degrees or percent as they are.")
@click.option("--junit", type=click.Path(), metavar="FILE", help="Write the results as JUnit XML too.")
@common.json_option
@reading.reading_options
@reading.mending_options
@common.many_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Hold recordings against the limits of a robot; the exit code is 1 where one is violated."""
    options = CheckWork(
        reading.read_options(values),
        reading.check_options(values),
        load(values["limits"]),
        values["derivatives"],
        values["tolerance"],
        not values["no_unit_guard"],
    )
    if values["as_json"] and values["junit"] == "-":
        raise UsageError("--json --junit -: both go to standard output; one of them was expected")
    result = common.run_report(ctx, work, options, values)
    if values["as_json"]:
        common.print_json(ctx, result)
    elif values["junit"] != "-":
        for outcome in result.outcomes:
            for report in outcome.reports:
                common.show(lines(report))
        for line in common.settings_lines(ctx):
            common.warn(line)
    if values["junit"] is not None:
        from velmora.tools.commands.junit import junit

        output.write_bytes(values["junit"], junit(result), force=values["force"])
    failed = any(not report["passed"] for outcome in result.outcomes for report in outcome.reports)
    return result.exit_code or int(failed)


def work(task: Task, stage: Stage) -> tuple[list[JsonObject], list[str]]:
    """Check one file."""
    options: CheckWork = task.options
    reports, warnings = [], list(options.limits.notes)
    for recording in reading.read_recordings(task, stage, options.read):
        fit = checked(recording, options.check)
        limits = for_joints(options.limits, recording.source, recording.joints)
        if limits.unknown:
            warnings.append(
                f"{recording.source}: {listed(limits.unknown)} without limits in {options.limits.path}; limits of all "
                "joints were expected; --joints leaves joints out"
            )
        verdict = check(fit, limits, options.derivatives, tolerance=options.tolerance, guard_units=options.guard_units)
        reports.append({**facts(recording), "mended": mended(recording, fit), **verdict_object(verdict, limits)})
    return reports, warnings


def verdict_object(verdict: Verdict, limits: JointLimits) -> JsonObject:
    """A verdict as an object for JSON."""
    judged = [finding for finding in verdict.findings if finding.bound is not None]
    violated = sum(bool(finding.violations) for finding in judged)
    how = f"given and {verdict.derivatives}" if verdict.given else verdict.derivatives
    words = f"{violated} of {count(len(judged), 'limit')} violated ({how} derivatives)" if judged else NOTHING
    return {
        "passed": verdict.passed,
        "verdict": words,
        "derivatives": verdict.derivatives,
        "given_judged": list(verdict.given),
        "doubts": list(verdict.doubts),
        "unlimited_joints": list(limits.unknown),
        "not_given": [
            name for name in ("position", "velocity", "acceleration", "jerk") if getattr(limits.boxes, name) is None
        ],
        "findings": [_finding_object(finding) for finding in verdict.findings],
    }


def _finding_object(finding: Finding) -> JsonObject:
    bound = finding.bound
    return {
        "joint": finding.joint,
        "quantity": finding.quantity,
        "limits": None if bound is None else {"lower": bound.lower, "upper": bound.upper, "source": bound.source},
        "worst": number(finding.worst),
        "worst_at_s": finding.worst_at_s,
        "ratio": None if finding.ratio is None else number(finding.ratio),
        "violations": [
            {
                "start_s": span.start_s,
                "end_s": span.end_s,
                "samples": span.samples,
                "worst": number(span.worst),
                "worst_at_s": span.worst_at_s,
            }
            for span in finding.violations
        ],
    }


def lines(report: JsonObject) -> list[str]:
    """The report as text."""
    judged = [finding for finding in report["findings"] if finding["limits"] is not None]
    violated = [finding for finding in judged if finding["violations"]]
    verdict = "passed" if report["passed"] else "FAILED"
    found = [f"{report['source']}: {verdict}: {report['verdict']}"]
    found += mended_lines(report)
    found += [f"  UNITS: {doubt}" for doubt in report["doubts"]]
    head = ["joint", "quantity", "lower", "upper", "worst", "ratio", "at s", "", "limit from"]
    found += table(head, [_row(finding) for finding in judged]) if judged else []
    absent = _absent(report)
    if absent:
        found.append(f"  not given, not checked: {', '.join(absent)}")
    for finding in violated:
        found += _span_lines(finding)
    return found


def _absent(report: JsonObject) -> list[str]:
    """What could not be checked: quantities of all joints, all of a joint, then single ones."""
    judged = {finding["joint"] for finding in report["findings"] if finding["limits"] is not None}
    without = [joint for joint in report["joints"] if joint not in judged]
    return (
        [f"{quantity} of all joints" for quantity in report["not_given"]]
        + [f"all of {joint}" for joint in without]
        + [
            f"{finding['quantity']} of {finding['joint']}"
            for finding in report["findings"]
            if finding["limits"] is None and finding["joint"] in judged
        ]
    )


def _row(finding: JsonObject) -> list[str]:
    limits, ratio = finding["limits"], finding["ratio"]
    return [
        finding["joint"],
        finding["quantity"],
        short(limits["lower"]),
        short(limits["upper"]),
        short(finding["worst"]),
        "-" if ratio is None else f"{ratio:.4g}",
        short(finding["worst_at_s"]),
        "VIOLATED" if finding["violations"] else "",
        limits["source"],
    ]


def _span_lines(finding: JsonObject) -> list[str]:
    spans = finding["violations"]
    shown = ", ".join(f"{short(span['start_s'])} to {short(span['end_s'])} s" for span in spans[:MOST_SPANS])
    more = f" and {count(len(spans) - MOST_SPANS, 'more span')}" if len(spans) > MOST_SPANS else ""
    samples = sum(span["samples"] for span in spans)
    return [f"  {finding['joint']} {finding['quantity']}: {count(samples, 'sample')} outside, {shown}{more}"]
