# SPDX-License-Identifier: Apache-2.0
"""Hostile and broken files of limits: intervals of finite numbers, or an error that names the file."""

from __future__ import annotations

import math
import re
import subprocess
import sys
from collections.abc import Callable
from pathlib import Path

import pytest
from hypothesis import HealthCheck, example, given, settings
from hypothesis import strategies as st
from velmora.tools.errors import DataError, ToolError
from velmora.tools.operations.limits import MAX_BYTES, QUANTITIES, load

QUIET = settings(
    deadline=None,
    max_examples=150,
    suppress_health_check=[HealthCheck.too_slow, HealthCheck.function_scoped_fixture],
)
YAML = """joint_limits:
  a:
    has_velocity_limits: true
    max_velocity: 1.5
    has_position_limits: yes
    min_position: !degrees -90
    max_position: !degrees 90
  b: {has_jerk_limits: false, max_jerk: 3}
default_velocity_scaling_factor: 0.1
"""
URDF = """<?xml version="1.0" encoding="utf-8"?>
<robot name="r"><joint name="a" type="revolute"><limit lower="-1" upper="1" velocity="2"/></joint>
<joint name="b" type="continuous"><limit velocity="3"/></joint></robot>
"""
CSV = 'joint,min_position,max_position,max_velocity\na,-1,1,2\n"b",,,3\n'
PIECES = (
    *("nan", "inf", "-1", "1e999", "1_0", "", "true", "no", ":", "- ", "{", "}", "[", "]", "&x ", "*x", "!!python/x "),
    *("<", ">", '"', "'", "\n", "\r", "\0", "\x1b[2J", "\u2028", "&lt;", "<!--", "]]>", ",", ";", "\t", "#", "#x", "x"),
    *("ä", "has_velocity_limits", "max_velocity", "joint_limits", "<limit/>", "<joint>", 'encoding="utf-7"'),
)


@st.composite
def damaged(draw: st.DrawFn, text: str) -> bytes:
    """The text with some of it replaced by pieces that mean something to its format."""
    content = text
    for _ in range(draw(st.integers(0, 6))):
        start = draw(st.integers(0, len(content)))
        content = content[:start] + draw(st.sampled_from(PIECES)) + content[start + draw(st.integers(0, 5)) :]
    data = content.encode()
    return data[: draw(st.integers(0, len(data)))] if draw(st.booleans()) else data


def hold(path: Path, data: bytes) -> None:
    """Limits that may be used, or an error to read."""
    path.write_bytes(data)
    try:
        limits = load(str(path))
    except ToolError as error:
        assert str(error).startswith(str(path))
        assert str(error).isprintable()
        return
    assert limits.joints
    for bounds in limits.joints.values():
        for quantity, bound in bounds.items():
            assert quantity in QUANTITIES
            assert math.isfinite(bound.lower) and math.isfinite(bound.upper) and bound.lower <= bound.upper
            assert re.fullmatch(re.escape(str(path)) + r":\d+", bound.source)


@QUIET
@given(st.one_of(st.binary(max_size=200), damaged(YAML)))
@example(b"joint_limits: &x {a: *x}\n")
@example(b"joint_limits: {a: {max_velocity: \x01}}\n")
@example(b"\xff\xfe\xff")
def test_any_bytes_as_yaml(tmp_path: Path, data: bytes) -> None:
    hold(tmp_path / "x.yaml", data)


@QUIET
@given(st.one_of(st.binary(max_size=200), damaged(URDF)))
@example(b'<?xml version="1.0" encoding="utf-7"?><robot/>')
@example(b'<?xml version="1.0" encoding="latin"?><robot/>')
@example(b'<?xml version="1.0" encoding="none such"?><robot/>')
@example(b'<robot><joint name="" type="revolute"><limit/></joint></robot>')
def test_any_bytes_as_urdf(tmp_path: Path, data: bytes) -> None:
    hold(tmp_path / "x.urdf", data)


@QUIET
@given(st.one_of(st.binary(max_size=200), damaged(CSV)))
@example(b'joint,max_velocity\n"a\nb",1\n')
@example(b"joint,joint\na,b\n")
@example(b'joint\n"a')
def test_any_bytes_as_csv(tmp_path: Path, data: bytes) -> None:
    hold(tmp_path / "x.csv", data)


def laughs(_: int) -> bytes:
    lines = ["a0: &a0 [x, x, x]", *(f"a{n}: &a{n} [*a{n - 1}, *a{n - 1}, *a{n - 1}]" for n in range(1, 60))]
    return "\n".join((*lines, "joint_limits: *a59")).encode()


@pytest.mark.parametrize(
    ("suffix", "make"),
    [
        (".yaml", lambda n: b"[" * n),
        (".yaml", laughs),
        (".urdf", lambda n: b"<a>" * (n // 3)),
        (".csv", lambda n: b"joint" + b",x" * (n // 2 - 5)),
        (".csv", lambda n: b'joint\n"' + b"x" * (n - 10)),
    ],
)
def test_bombs_are_errors_in_bounded_time(tmp_path: Path, suffix: str, make: Callable[[int], bytes]) -> None:
    path = tmp_path / f"x{suffix}"
    path.write_bytes(make(MAX_BYTES))
    # In a process of its own: a crash of a parser would take the tests along.
    code = (
        "import sys\nfrom velmora.tools.errors import DataError\nfrom velmora.tools.operations.limits import load\n"
        "try:\n    load(sys.argv[1])\nexcept DataError as error:\n    assert str(error).startswith(sys.argv[1])\n"
        "else:\n    sys.exit(3)\n"
    )
    subprocess.run([sys.executable, "-c", code, str(path)], check=True, timeout=60)


@pytest.mark.parametrize("suffix", [".yaml", ".urdf", ".csv"])
def test_a_file_far_larger_than_any_limits_is_refused(tmp_path: Path, suffix: str) -> None:
    path = tmp_path / f"x{suffix}"
    path.write_bytes(b" " * (MAX_BYTES + 1))
    with pytest.raises(DataError) as error:
        load(str(path))
    assert (
        str(error.value) == f"{path}: larger than {MAX_BYTES:,} bytes; a file of limits was expected; --limits names it"
    )
