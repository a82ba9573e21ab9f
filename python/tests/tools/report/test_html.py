# SPDX-License-Identifier: Apache-2.0
"""Pieces of HTML."""

from __future__ import annotations

import pytest
from velmora.tools.report import html
from velmora.tools.report.data import Fact


@pytest.mark.parametrize(
    ("text", "expected"),
    [
        ("plain_joint-1", "plain_joint-1"),
        ("<b>&\"'", "&lt;b&gt;&amp;&quot;&#x27;"),
        ("a\x00b\x1bc\x7fd", "a\ufffdb\ufffdc\ufffdd"),
        ("\u202eabc\u2066", "\ufffdabc\ufffd"),
        ("\ud800", "\ufffd"),
        ("Gelenk_ä_関節", "Gelenk_ä_関節"),
        ("x" * 3000, "x" * 2000 + "…"),
    ],
)
def test_texts_are_escaped_and_cleaned(text: str, expected: str) -> None:
    assert html.escaped(text) == expected


def test_a_fact_without_a_name_goes_on_from_the_one_before() -> None:
    assert html.facts((Fact("clock", "even"), Fact("", "one gap"), Fact("rate", "250", "default"))) == (
        '<dl class="facts"><div><dt>clock</dt><dd>even</dd><dd>one gap</dd></div>'
        '<div><dt>rate</dt><dd>250 <span class="origin">default</span></dd></div></dl>'
    )


def test_a_section_without_a_body_is_left_out() -> None:
    assert html.section("Gaps", "") == ""
    assert html.section("Gaps", "<p>x</p>", "gaps") == '<section id="gaps"><h2>Gaps</h2><p>x</p></section>'
