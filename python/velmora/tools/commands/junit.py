# SPDX-License-Identifier: Apache-2.0
"""The results of checks as JUnit XML, which build servers show."""

from __future__ import annotations

from collections.abc import Sequence
from xml.etree import ElementTree

from velmora.tools.batch.many import ManyResult
from velmora.tools.batch.tasks import JsonObject
from velmora.tools.commands.check import NOTHING
from velmora.tools.text import printable


def junit(result: ManyResult) -> bytes:
    """A test suite per recording, a test case per limit; a file that cannot be read is a suite with one error.

    What of a recording is lost is an error of its suite, so that limits that a part keeps are not taken for those of
    the whole. What was dropped or otherwise mended before the check is the output of the suite.
    """
    root = ElementTree.Element("testsuites", name="velmora check")
    for outcome in result.outcomes:
        for report in outcome.reports:
            _suite(root, report, outcome.about(report, outcome.losses))
        if outcome.error is not None:
            suite = ElementTree.SubElement(
                root, "testsuite", name=printable(outcome.source), tests="1", errors="1", failures="0"
            )
            case = ElementTree.SubElement(suite, "testcase", classname=printable(outcome.source), name="readable")
            ElementTree.SubElement(case, "error", message=printable(outcome.error))
    ElementTree.indent(root)
    content: bytes = ElementTree.tostring(root, encoding="utf-8", xml_declaration=True)
    return content + b"\n"


def _suite(root: ElementTree.Element, report: JsonObject, losses: Sequence[str]) -> None:
    source = printable(report["source"])
    judged = [finding for finding in report["findings"] if finding["limits"] is not None]
    doubts = [("units", doubt) for doubt in report["doubts"]] + ([] if judged else [("limits", NOTHING)])
    failures = sum(bool(finding["violations"]) for finding in judged) + len(doubts)
    suite = ElementTree.SubElement(
        root,
        "testsuite",
        name=source,
        tests=str(len(losses) + len(judged) + len(doubts)),
        errors=str(len(losses)),
        failures=str(failures),
    )
    for loss in losses:
        case = ElementTree.SubElement(suite, "testcase", classname=source, name="whole")
        ElementTree.SubElement(case, "error", message=printable(loss))
    for name, doubt in doubts:
        case = ElementTree.SubElement(suite, "testcase", classname=source, name=name)
        ElementTree.SubElement(case, "failure", message=printable(doubt))
    for finding in judged:
        case = ElementTree.SubElement(
            suite, "testcase", classname=source, name=printable(f"{finding['joint']} {finding['quantity']}")
        )
        if finding["violations"]:
            limits, worst = finding["limits"], finding["worst"]
            ElementTree.SubElement(
                case,
                "failure",
                message=printable(
                    f"{'not finite' if worst is None else worst} at {finding['worst_at_s']} s is outside of "
                    f"{limits['lower']} to {limits['upper']} ({limits['source']})"
                ),
            )
    if report["mended"]:
        said = [printable(f"{note['key']}: {note['text']}") for note in report["mended"]]
        ElementTree.SubElement(suite, "system-out").text = "\n".join(said)
