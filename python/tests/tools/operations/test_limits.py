# SPDX-License-Identifier: Apache-2.0
"""Limits from YAML, URDF and CSV: values with their lines, and every refusal."""

from __future__ import annotations

import math
from pathlib import Path

import pytest
from velmora.tools.errors import DataError, UsageError
from velmora.tools.operations.limits import UNBOUNDED, Bound, for_joints, load

YAML = """
robot:
  joint_limits:
    shoulder:
      has_position_limits: true
      min_position: -1.5
      max_position: 2
      has_velocity_limits: true
      max_velocity: 2.5
      has_acceleration_limits: false
      max_acceleration: 0
    elbow: {max_velocity: !degrees 180, has_jerk_limits: yes, max_jerk: 1e3}
    wrist: {has_velocity_limits: true, max_velocity: 0}
"""


def write(folder: Path, name: str, text: str | bytes) -> str:
    path = folder / name
    path.write_bytes(text.encode() if isinstance(text, str) else text)
    return str(path)


def message(folder: Path, name: str, text: str | bytes) -> str:
    path = write(folder, name, text)
    with pytest.raises(DataError) as error:
        load(path)
    return str(error.value).replace(path, name)


def test_yaml_obeys_has_and_takes_zero_for_a_limit(tmp_path: Path) -> None:
    path = write(tmp_path, "l.yaml", YAML)
    joints = load(path).joints
    assert joints["shoulder"] == {"position": Bound(-1.5, 2.0, f"{path}:7"), "velocity": Bound(-2.5, 2.5, f"{path}:9")}
    assert joints["elbow"] == {
        "velocity": Bound(-math.pi, math.pi, f"{path}:12"),
        "jerk": Bound(-1000, 1000, f"{path}:12"),
    }
    assert joints["wrist"] == {"velocity": Bound(-0.0, 0.0, f"{path}:13")}


def test_yaml_tells_of_scaling_factors_that_it_does_not_apply(tmp_path: Path) -> None:
    path = write(tmp_path, "l.yaml", "default_velocity_scaling_factor: 0.1\n" + YAML)
    assert load(path).notes == [
        f"{path}:1: default_velocity_scaling_factor is 0.1; it is not applied, the limits themselves are"
    ]


@pytest.mark.parametrize(
    ("text", "expected"),
    [
        ("a: 1\n", "l.yaml: there is no key 'joint_limits'; the limits of a motion planner were expected"),
        ("joint_limits: 3\n", "l.yaml:1: 'joint_limits' holds no names; a mapping from joints to limits was expected"),
        ("joint_limits: {a: 3}\n", "l.yaml:1: 'a' holds no limits; keys such as 'max_velocity' were expected"),
        (
            "joint_limits:\n  a:\n    has_velocity_limits: true\n",
            "l.yaml:3: 'a' has_velocity_limits, but no max_velocity; a number was expected",
        ),
        (
            "joint_limits:\n  a:\n    has_position_limits: true\n    max_position: 1\n",
            "l.yaml:3: 'a' has_position_limits, but no min_position; a number was expected",
        ),
        (
            "joint_limits:\n  a:\n    max_velocity: 3\n    max_position: 0.4\n",
            "l.yaml:4: 'a' has max_position, but no min_position; a number was expected",
        ),
        (
            "joint_limits:\n  a:\n    min_velocity: -1\n",
            "l.yaml:3: 'a' has min_velocity, but no max_velocity; a number was expected",
        ),
        (
            "joint_limits:\n  a: &a {max_velocity: 2}\n  b:\n    <<: *a\n",
            "l.yaml:4: there is a merge key '<<'; keys that are written out were expected",
        ),
        (
            "x: &x {a: {max_velocity: 2}}\njoint_limits:\n  <<: *x\n",
            "l.yaml:3: there is a merge key '<<'; keys that are written out were expected",
        ),
        (
            "joint_limits:\n  a: {has_velocity_limits: perhaps, max_velocity: 1}\n",
            "l.yaml:2: 'perhaps' is neither true nor false; one of them was expected",
        ),
        ("joint_limits:\n  a: {max_velocity: fast}\n", "l.yaml:2: 'fast' is not a number; a number was expected"),
        ("joint_limits:\n  a: {max_velocity: [1]}\n", "l.yaml:2: a structure is not a number; a number was expected"),
        ("joint_limits:\n  a: {max_velocity: .nan}\n", "l.yaml:2: '.nan' is not a number; a number was expected"),
        (
            "joint_limits:\n  a: {max_velocity: -1}\n",
            "l.yaml:2: the velocity limits of 'a' are 1 to -1; a lower limit not above the upper one was "
            "expected; a limit of rates "
            "is not negative",
        ),
        ("joint_limits: {}\n", "l.yaml: there are no limits of joints; at least one was expected"),
        ("joint_limits:\n\ta: 1\n", "l.yaml:2: found character '\\t' that cannot start any token; YAML was expected"),
        (
            "joint_limits: " + "{a: " * 100_000,
            "l.yaml: the nesting is too deep; the limits of a motion planner were expected",
        ),
        (b"\xff\xfe\x00\xd8", "l.yaml: this is no text of YAML; the limits of a motion planner were expected"),
        ("#" * 2_000_000, "l.yaml: larger than 1,000,000 bytes; a file of limits was expected; --limits names it"),
    ],
)
def test_yaml_refusals(tmp_path: Path, text: str | bytes, expected: str) -> None:
    assert message(tmp_path, "l.yaml", text) == expected


def test_yaml_makes_no_objects_and_expands_no_bomb(tmp_path: Path) -> None:
    command = f"touch {tmp_path}/executed"
    tagged = f"joint_limits:\n  a: !!python/object/apply:os.system ['{command}']\n"
    assert message(tmp_path, "l.yaml", tagged).endswith(
        "'a' holds no limits; keys such as 'max_velocity' were expected"
    )
    assert not (tmp_path / "executed").exists()
    bomb = "b0: &b0 [x, x]\n" + "".join(f"b{i}: &b{i} [*b{i - 1}, *b{i - 1}]\n" for i in range(1, 60))
    assert "j" in load(write(tmp_path, "bomb.yaml", bomb + "joint_limits: {j: {max_velocity: 1}}\n")).joints


URDF = """<?xml version="1.0"?>
<robot name="arm">
  <joint name="a" type="revolute"><limit lower="-1" upper="1.5" velocity="2" effort="9"/></joint>
  <joint name="b" type="continuous"><limit lower="-1" upper="1" velocity="3" effort="9"/></joint>
  <joint name="c" type="fixed"/>
  <joint name="d" type="prismatic">
    <limit velocity="0" effort="9"/>
  </joint>
  <transmission name="t"><joint name="z"><limit lower="0" upper="1"/></joint></transmission>
</robot>
"""


def test_urdf(tmp_path: Path) -> None:
    path = write(tmp_path, "arm.urdf", URDF)
    assert load(path).joints == {
        "a": {"position": Bound(-1.0, 1.5, f"{path}:3"), "velocity": Bound(-2.0, 2.0, f"{path}:3")},
        "b": {"velocity": Bound(-3.0, 3.0, f"{path}:4")},
        "d": {"position": Bound(0.0, 0.0, f"{path}:7"), "velocity": Bound(-0.0, 0.0, f"{path}:7")},
    }


def test_urdf_refusals(tmp_path: Path) -> None:
    bomb = '<!DOCTYPE x [<!ENTITY lol "lol"><!ENTITY more "&lol;&lol;">]>\n<robot>&more;</robot>'
    assert message(tmp_path, "r.urdf", bomb) == (
        "r.urdf:1: the entity 'lol' is declared; a URDF without entities was expected"
    )
    outside = '<!DOCTYPE x [\n<!ENTITY file SYSTEM "/etc/passwd">]>\n<robot>&file;</robot>'
    assert message(tmp_path, "r.urdf", outside).startswith("r.urdf:2: the entity 'file' is declared;")
    assert message(tmp_path, "r.urdf", "<robot>\n<joint>") == "r.urdf:2: no element found; a URDF was expected"
    xacro = '<robot><joint name="a" type="revolute"><limit lower="${-pi}" upper="1"/></joint></robot>'
    assert message(tmp_path, "r.xacro", xacro) == (
        "r.xacro:1: '${-pi}' is not a number; a number was expected; xacro expands such expressions"
    )
    limit = '<limit lower="-1" upper="1" velocity="2"/>'
    again = f'<joint name="a" type="revolute">{limit}</joint>\n'
    assert message(tmp_path, "r.urdf", f"<robot>\n{again}{again}</robot>") == (
        "r.urdf:3: 'a' has another position limit at r.urdf:2; every limit once was expected"
    )
    turning = f'<robot><joint name="a" type="continuous">{limit}\n{limit}</joint></robot>'
    assert message(tmp_path, "r.urdf", turning) == (
        "r.urdf:2: 'a' has another velocity limit at r.urdf:1; every limit once was expected"
    )
    assert message(tmp_path, "r.urdf", "<robot/>") == "r.urdf: there are no limits of joints; at least one was expected"


def test_csv(tmp_path: Path) -> None:
    path = write(tmp_path, "l.csv", "# arm\njoint;min_position;max_position;max_velocity\na;-1;1;2\n\nb;;;0\nc;;;\n")
    assert load(path).joints == {
        "a": {"position": Bound(-1.0, 1.0, f"{path}:3"), "velocity": Bound(-2.0, 2.0, f"{path}:3")},
        "b": {"velocity": Bound(-0.0, 0.0, f"{path}:5")},
        "c": {},
    }


@pytest.mark.parametrize(
    ("text", "expected"),
    [
        ("", "l.csv: the file is empty; a header with the column 'joint' was expected"),
        ("max_velocity\n1\n", "l.csv:1: there is no column 'joint'; the names of joints were expected"),
        ("joint,max_velocity\na\n", "l.csv:2: 1 cells; 2 were expected, as in the header"),
        ("joint,max_velocity\na,1\na,2\n", "l.csv:3: the joint 'a' appears twice; a row per joint was expected"),
        ("joint,max_velocity\n,1\n", "l.csv:2: the joint has no name; a row per joint was expected"),
        ("joint,max_velocity\na,x\n", "l.csv:2: 'x' is not a number; a number or an empty cell was expected"),
        (
            "joint,max_velocity\na,inf\n",
            "l.csv:2: the velocity limit of 'a' is not finite; a number was expected; leave it out where there "
            "is no limit",
        ),
        ("joint,max_position\na,1\n", "l.csv:2: 'a' has no min_position; both ends of the interval were expected"),
    ],
)
def test_csv_refusals(tmp_path: Path, text: str, expected: str) -> None:
    assert message(tmp_path, "l.csv", text) == expected


def test_csv_names_the_nearest_column(tmp_path: Path) -> None:
    assert message(tmp_path, "l.csv", "joint,max_velocty\na,1\n").endswith(
        "were expected; did you mean 'max_velocity'?"
    )


def test_files_that_are_not_there_or_not_known(tmp_path: Path) -> None:
    with pytest.raises(
        DataError, match=r"none\.yaml: No such file or directory; a file of limits was expected; --limits names it"
    ):
        load(str(tmp_path / "none.yaml"))
    with pytest.raises(UsageError, match=r"the suffix '\.txt' is not known; \.yaml, \.urdf or \.csv was expected"):
        load(write(tmp_path, "limits.txt", "x"))


def test_joints_are_found_by_name_and_boxes_hold_them(tmp_path: Path) -> None:
    limits = load(write(tmp_path, "l.csv", "joint,max_velocity,max_jerk\na,1,5\nb,2,\n"))
    found = for_joints(limits, "log.csv", ("b_rad", "a", "x"))
    assert found.unknown == ("x",)
    assert found.boxes.position is None and found.boxes.acceleration is None
    assert found.boxes.velocity is not None and found.boxes.jerk is not None
    assert found.boxes.velocity.upper.tolist() == [2.0, 1.0, UNBOUNDED]
    assert found.boxes.velocity.lower.tolist() == [-2.0, -1.0, -UNBOUNDED]
    assert found.boxes.jerk.upper.tolist() == [UNBOUNDED, 5.0, UNBOUNDED]


def test_no_joint_in_both(tmp_path: Path) -> None:
    path = write(tmp_path, "l.csv", "joint,max_velocity\nshoulder_1,1\n")
    with pytest.raises(DataError) as error:
        for_joints(load(path), "log.csv", ("shoulder1",))
    assert str(error.value) == (
        f"log.csv: its joints are 'shoulder1', and {path} names 'shoulder_1'; at least one joint in both "
        "was expected; did you mean 'shoulder_1'?"
    )


@pytest.mark.parametrize(
    ("joint", "expected"),
    [
        (
            "max_velocitty: 1",
            "l.yaml:2: 'max_velocitty' is not known; a key of limits was expected; did you mean 'max_velocity'?",
        ),
        (
            "has_velocity_limit: true",
            "l.yaml:2: 'has_velocity_limit' is not known; a key of limits was expected; "
            "did you mean 'has_velocity_limits'?",
        ),
        ("max_velocity: 1, max_velocity: 2", "l.yaml:2: 'max_velocity' appears twice; every key once was expected"),
        (
            "min_position: 1, max_position: -1",
            "l.yaml:2: the position limits of 'a' are 1 to -1; a lower limit not above the upper one was expected",
        ),
    ],
)
def test_yaml_keys_that_are_misspelt_or_stand_twice(tmp_path: Path, joint: str, expected: str) -> None:
    assert message(tmp_path, "l.yaml", f"joint_limits:\n  a: {{{joint}}}\n") == expected


def test_yaml_keys_that_planners_write_beside(tmp_path: Path) -> None:
    beside = (
        "has_effort_limits, max_effort, has_soft_limits, k_position, k_velocity, soft_lower_limit, soft_upper_limit, "
        "has_deceleration_limits, max_deceleration, angle_wraparound"
    )
    entries = ", ".join(f"{key}: 1" for key in beside.split(", "))
    path = write(tmp_path, "l.yaml", f"joint_limits:\n  a: {{max_velocity: 2, {entries}}}\n")
    assert list(load(path).joints["a"]) == ["velocity"]
    twice = "joint_limits:\n  a: {max_velocity: 2}\n  a: {max_velocity: 3}\n"
    assert message(tmp_path, "m.yaml", twice) == "m.yaml:3: 'a' appears twice; every key once was expected"
