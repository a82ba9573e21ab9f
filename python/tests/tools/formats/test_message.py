# SPDX-License-Identifier: Apache-2.0
"""One JointTrajectory message in JSON and YAML: what is read, what is refused, what is written."""

from pathlib import Path

import numpy as np
import pytest
import yaml
from velmora.tools.errors import DataError
from velmora.tools.formats import read, write
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import Layout, Recording, Stamps

ECHO = """header:
  stamp:
    sec: 1700000000
    nanosec: 5
  frame_id: ''
joint_names:
- shoulder
- elbow
points:
- positions:
  - 0.0
  - 1e-05
  velocities: []
  accelerations: []
  effort: []
  time_from_start:
    sec: 0
    nanosec: 0
- positions:
  - 1.5
  - .nan
  velocities: []
  accelerations: []
  effort: []
  time_from_start:
    sec: 1
    nanosec: 500000000
---
"""


def test_what_echo_prints(tmp_path: Path) -> None:
    (tmp_path / "t.yaml").write_text(ECHO)
    (recording,) = read(str(tmp_path / "t.yaml"), ReadOptions())
    assert recording.joints == ("shoulder", "elbow")
    np.testing.assert_array_equal(recording.positions, [[0.0, 1e-05], [1.5, np.nan]])
    assert recording.velocities is None and recording.efforts is None and recording.missing is None
    assert recording.stamps is not None
    assert recording.stamps.values.tolist() == [1_700_000_000_000_000_005, 1_700_000_001_500_000_005]


@pytest.mark.parametrize("suffix", [".json", ".yaml"])
@pytest.mark.parametrize("first", [0, -3, 1_700_000_000_123_456_789])
def test_every_bit_survives(tmp_path: Path, suffix: str, first: int) -> None:
    values = np.random.default_rng(1).normal(size=(50, 2)) * 10.0 ** np.random.default_rng(2).integers(-30, 30, (50, 2))
    recording = Recording(
        "made",
        ("a", 'say "b": c'),
        Stamps(first + np.arange(50) * 1_000_003, "ns"),
        values,
        values * 2,
        values * 3,
        None,
        None,
        np.arange(1, 51),
        None,
        (),
        Layout(""),
    )
    assert write(str(tmp_path / f"a{suffix}"), recording, WriteOptions()) == []
    (again,) = read(str(tmp_path / f"a{suffix}"), ReadOptions())
    assert again.joints == recording.joints
    for name in ("positions", "velocities", "accelerations"):
        np.testing.assert_array_equal(getattr(again, name), getattr(recording, name))
    assert again.stamps is not None and recording.stamps is not None
    np.testing.assert_array_equal(again.stamps.values, recording.stamps.values)
    write(str(tmp_path / f"b{suffix}"), again, WriteOptions())
    assert (tmp_path / f"a{suffix}").read_bytes() == (tmp_path / f"b{suffix}").read_bytes()
    if suffix == ".yaml":  # numbers stay numbers for every reader
        document = next(yaml.safe_load_all((tmp_path / "a.yaml").read_text()))
        assert all(isinstance(value, float) for point in document["points"] for value in point["positions"])


@pytest.mark.parametrize(
    ("text", "message"),
    [
        (
            ECHO.replace("- elbow", "- '...'"),
            ":8: an array is cut by '...'; all values were expected; `ros2 topic echo --full-length` prints them",
        ),
        (
            ECHO.replace("---\n", "- '...'\n"),
            ":28: an array is cut by '...'; all values were expected; `ros2 topic echo --full-length` prints them",
        ),
        (
            ECHO.replace("  - 1e-05\n", "  - '...'\n", 1),
            ":1: the positions are cut by '...'; all values were expected; `ros2 topic echo --full-length` prints them",
        ),
        (
            ECHO.replace("- elbow", "..."),
            ":8: an array is cut by '...'; all values were expected; `ros2 topic echo --full-length` prints them",
        ),
        (ECHO + ECHO, ": there are 2 messages; one was expected; `ros2 topic echo --once` prints one"),
        ("a: &x 1\nb: *x\n", ":1: there is an alias; plain values were expected"),
        (
            "!!python/object/apply:os.system ['true']",
            ":1: a value asks for 'tag:yaml.org,2002:python/object/apply:os.system'; plain values were expected",
        ),
        (
            "[" * 100_000,
            ":1: values are nested more than 32 deep; a message of trajectory_msgs/msg/JointTrajectory was expected",
        ),
        ("x: " + "9" * 1_000_000, ":1: a value has 1,000,000 characters; numbers and names were expected"),
        ("joint_names: [a, a]\npoints: []", ": the joints are called 'a', 'a'; different names were expected"),
        ("just text", ": there are no 'joint_names'; a message of trajectory_msgs/msg/JointTrajectory was expected"),
        (
            "joint_names: [a]\n",
            ": there are no 'points'; a message of trajectory_msgs/msg/JointTrajectory was expected",
        ),
        (
            "joint_names: [a]\npoints: [{positions: [1, 2]}]",
            ":1: positions: 2 numbers for 1 joint; as many were expected",
        ),
        ("joint_names: [a]\npoints: [{positions: [x]}]", ":1: the positions are '['x']'; numbers were expected"),
    ],
    ids=range(14),
)
def test_what_is_refused(tmp_path: Path, text: str, message: str) -> None:
    path = tmp_path / "t.yaml"
    path.write_text(text)
    with pytest.raises(DataError) as error:
        read(str(path), ReadOptions())
    assert str(error.value) == f"{path}{message}"


@pytest.mark.parametrize(
    ("text", "nanoseconds"),
    [
        ("{sec: 2.0, nanosec: 5}", 2_000_000_005),
        ("{secs: 1, nsecs: 2}", 1_000_000_002),
        ("{nanosec: 1700000000123456789}", 1_700_000_000_123_456_789),
        ("0.5", 500_000_000),
        ("{sec: 0.5}", None),
        ("{sec: 1, nanosec: 0.5}", None),
        ("{sec: true}", None),
        ("{sec: .inf}", None),
        ("{seconds: 5}", None),
        ("{}", None),
        ("true", None),
    ],
)
def test_times_are_never_cut(tmp_path: Path, text: str, nanoseconds: int | None) -> None:
    path = tmp_path / "t.yaml"
    path.write_text(f"joint_names: [a]\npoints: [{{positions: [1], time_from_start: {text}}}]")
    if nanoseconds is None:
        shown = str(yaml.safe_load(text))
        with pytest.raises(DataError) as error:
            read(str(path), ReadOptions())
        assert str(error.value) == f"{path}:1: '{shown}' is no time; whole numbers sec and nanosec were expected"
    else:
        stamps = read(str(path), ReadOptions())[0].stamps
        assert stamps is not None and stamps.values.tolist() == [nanoseconds]


@pytest.mark.parametrize("text", ["[" * 200_000, '{"a": 1' + "0" * 100_000 + "}", "{", "[1, 2, ...]", "\xff\xfe"])
def test_json_that_is_none(tmp_path: Path, text: str) -> None:
    path = tmp_path / "t.json"
    path.write_text(text)
    with pytest.raises(DataError, match=f"^{path}:1: "):
        read(str(path), ReadOptions())
