# SPDX-License-Identifier: Apache-2.0
"""What is written is read again: the same bits, each column in its role, the same bytes when written again."""

import math
from pathlib import Path

import numpy as np
import pyarrow as pa
import pyarrow.parquet
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st
from velmora.tools.columns import Meaning, clean, meaning, written_name
from velmora.tools.formats import read, write
from velmora.tools.operations.facts import facts
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import QUANTITIES, Layout, Recording, Stamps

TABLES = (".csv", ".tsv", ".csv.gz", ".csv.zst", ".parquet", ".feather")
SUFFIXES = (*TABLES, ".npz")
EPOCH_NS = 1_700_000_000_123_456_789


def make(
    stamps: Stamps | None,
    joints: tuple[str, ...] = ("shoulder", "elbow"),
    samples: int = 5,
    *,
    derivatives: bool = True,
    seed: int = 1,
) -> Recording:
    random = np.random.default_rng(seed)
    shape = (samples, len(joints))

    def values() -> np.ndarray:
        return random.normal(size=shape) * 10.0 ** random.integers(-300, 300, shape)

    given_ = {quantity: values() if derivatives else None for quantity in QUANTITIES[1:]}
    return Recording(
        "made",
        joints,
        stamps,
        values(),
        **given_,
        rows=np.arange(1, samples + 1),
        missing=None,
        notes=(),
        layout=Layout(""),
    )


def assert_same(first: Recording, second: Recording) -> None:
    assert first.joints == second.joints
    assert (first.stamps is None) == (second.stamps is None)
    if first.stamps is not None and second.stamps is not None:
        assert first.stamps.unit == second.stamps.unit
        assert first.stamps.values.dtype == second.stamps.values.dtype
        np.testing.assert_array_equal(first.stamps.values, second.stamps.values)
    for quantity in QUANTITIES:
        one, other = getattr(first, quantity), getattr(second, quantity)
        assert (one is None) == (other is None), quantity
        if one is not None:
            np.testing.assert_array_equal(one.view(np.int64), other.view(np.int64), quantity)


@pytest.mark.parametrize("suffix", SUFFIXES)
@pytest.mark.parametrize(
    "stamps",
    [
        Stamps(np.array([0, 1_000_000, 2_000_000, 3_000_001, 9_000_000_000]), "s"),
        Stamps(EPOCH_NS + np.arange(5) * 1_000_003, "s"),
        Stamps(EPOCH_NS + np.arange(5) * 1_000_003, "ns"),
        Stamps(np.arange(-2, 3) * 4_000_000, "ms"),
        Stamps((1_700_000_000_000_000 + np.arange(5) * 1_001) * 1_000, "us"),
        Stamps(np.arange(5) / 3.0, "s"),
    ],
    ids=["whole", "epoch", "epoch_ns", "ms", "epoch_us", "thirds"],
)
def test_every_bit_survives(tmp_path: Path, suffix: str, stamps: Stamps) -> None:
    recording = make(stamps)
    path = tmp_path / f"first{suffix}"
    assert write(str(path), recording, WriteOptions()) == []
    (again,) = read(str(path), ReadOptions())
    assert_same(recording, again)
    second = tmp_path / f"second{suffix}"
    write(str(second), again, WriteOptions())
    assert path.read_bytes() == second.read_bytes()


@pytest.mark.parametrize("suffix", SUFFIXES)
def test_doubles_of_epoch_seconds_keep_their_value(tmp_path: Path, suffix: str) -> None:
    recording = make(Stamps(1.7e9 + np.arange(5) / 3.0, "s"))
    write(str(tmp_path / f"a{suffix}"), recording, WriteOptions())
    (again,) = read(str(tmp_path / f"a{suffix}"), ReadOptions())
    assert again.stamps is not None and recording.stamps is not None
    values = again.stamps.values
    # Text shows seven decimals, and these are whole nanoseconds.
    seconds = values / 1e9 if values.dtype == np.int64 else values
    np.testing.assert_array_equal(seconds, recording.stamps.values)


@pytest.mark.parametrize("between", SUFFIXES)
@pytest.mark.parametrize("suffix", [".csv", ".parquet", ".npz"])
def test_there_and_back_gives_the_same_bytes(tmp_path: Path, suffix: str, between: str) -> None:
    if (".npz" in between) != (suffix == ".npz") and suffix != ".npz":
        pytest.skip("NPZ keeps no names of columns")
    first, middle, last = (str(tmp_path / name) for name in (f"a{suffix}", f"b{between}", f"c{suffix}"))
    write(first, make(Stamps(EPOCH_NS + np.arange(5) * 1_000_003, "s")), WriteOptions())
    write(middle, read(first, ReadOptions())[0], WriteOptions())
    write(last, read(middle, ReadOptions())[0], WriteOptions())
    assert Path(first).read_bytes() == Path(last).read_bytes()


def test_own_names_of_columns_survive_tables(tmp_path: Path) -> None:
    text = "stamp,q1,q1_vel,q2 (rad)\n1700000000.123456789,1,2,3\n1700000000.5,4,5,6.5\n"
    for between in TABLES:
        (tmp_path / "a.csv").write_text(text)
        write(str(tmp_path / f"b{between}"), read(str(tmp_path / "a.csv"), ReadOptions())[0], WriteOptions())
        write(str(tmp_path / "c.csv"), read(str(tmp_path / f"b{between}"), ReadOptions())[0], WriteOptions())
        assert (tmp_path / "c.csv").read_text() == text


def test_whole_seconds_keep_a_decimal_point_that_tells_their_unit(tmp_path: Path) -> None:
    (tmp_path / "a.csv").write_text("time,q\n0.0,1\n1.0,2\n2.0,3\n")
    (recording,) = read(str(tmp_path / "a.csv"), ReadOptions())
    write(str(tmp_path / "b.csv"), recording, WriteOptions())
    assert (tmp_path / "b.csv").read_text() == "time,q\n0.0,1\n1.0,2\n2.0,3\n"


@pytest.mark.parametrize("suffix", TABLES)
def test_missing_stays_missing_and_nan_stays_nan(tmp_path: Path, suffix: str) -> None:
    (tmp_path / "a.csv").write_text("time_s,q\n0,\n1,nan\n2,3\n")
    (recording,) = read(str(tmp_path / "a.csv"), ReadOptions())
    write(str(tmp_path / f"b{suffix}"), recording, WriteOptions())
    (again,) = read(str(tmp_path / f"b{suffix}"), ReadOptions())
    assert again.missing is not None
    assert again.missing["positions"].ravel().tolist() == [True, False, False]
    assert np.isnan(again.positions.ravel()).tolist() == [True, True, False]


@pytest.mark.parametrize("last", ["2,,", "2,5,", ",,6"])
@pytest.mark.parametrize("suffix", TABLES)
def test_empty_cells_at_the_end_stay(tmp_path: Path, suffix: str, last: str) -> None:
    text = f"time_s,a,b\n0,1,2\n1,,4\n{last}\n"
    (tmp_path / "a.csv").write_text(text)
    write(str(tmp_path / f"b{suffix}"), read(str(tmp_path / "a.csv"), ReadOptions())[0], WriteOptions())
    write(str(tmp_path / "c.csv"), read(str(tmp_path / f"b{suffix}"), ReadOptions())[0], WriteOptions())
    assert (tmp_path / "c.csv").read_text() == text


@pytest.mark.parametrize("suffix", TABLES)
def test_derivatives_keep_what_is_missing_and_what_is_nan(tmp_path: Path, suffix: str) -> None:
    text = "time_s,a,b,a_velocity\n0.25,1,1,nan\n0.5,2,2,\n0.75,3,3,inf\n1.5,4,4,-0\n"
    (tmp_path / "a.csv").write_text(text)
    path = str(tmp_path / f"b{suffix}")
    write(path, read(str(tmp_path / "a.csv"), ReadOptions())[0], WriteOptions())
    (again,) = read(path, ReadOptions())
    absent = again.absent("velocities")
    assert absent is not None
    assert absent.T.tolist() == [[False, True, False, False], [True] * 4]
    assert again.absent("positions") is None
    write(str(tmp_path / "c.csv"), again, WriteOptions())
    assert (tmp_path / "c.csv").read_text() == text


@pytest.mark.parametrize("suffix", [".parquet", ".feather"])
def test_lists_keep_what_is_missing_and_what_is_nan(tmp_path: Path, suffix: str) -> None:
    lists = [[1.0, None], None, [math.nan, 4.0]]
    table = pa.table({"time": [0.0, 0.5, 1.25], "action": pa.array(lists, pa.list_(pa.float64()))})
    pa.parquet.write_table(table, tmp_path / "a.parquet")
    (recording,) = read(str(tmp_path / "a.parquet"), ReadOptions())
    assert recording.missing is not None
    assert recording.missing["positions"].tolist() == [[False, True], [True, True], [False, False]]
    cells = facts(recording)["cells"]
    assert (cells["missing"]["count"], cells["missing"]["first_rows"]) == (3, [1, 2])
    assert (cells["non_finite"]["count"], cells["non_finite"]["first_rows"]) == (1, [3])
    path = str(tmp_path / f"b{suffix}")
    assert write(path, recording, WriteOptions()) == []
    found = pa.parquet.read_table(path) if suffix == ".parquet" else pa.ipc.open_file(path).read_all()
    written = found["action"].to_pylist()
    assert written[:2] == [[1.0, None], [None, None]]
    assert math.isnan(written[2][0])


def test_npz_says_that_it_has_no_empty_cells(tmp_path: Path) -> None:
    for text, said in (("q\n0.0,\n1.0,2\n", "positions"), ("q,q_vel\n0.0,1,\n1.0,2,3\n", "velocities")):
        (tmp_path / "a.csv").write_text(f"time_s,{text}")
        notes = write(str(tmp_path / "b.npz"), read(str(tmp_path / "a.csv"), ReadOptions())[0], WriteOptions())
        assert notes == [f"{tmp_path}/a.csv: NPZ has no empty cells: missing {said} became nan"]


def test_bags_say_that_they_have_no_empty_velocities(tmp_path: Path) -> None:
    (tmp_path / "a.csv").write_text("time_s,q,q_vel\n0.000000001,1,\n1.0,2,3\n1.5,,\n")
    notes = write(str(tmp_path / "b"), read(str(tmp_path / "a.csv"), ReadOptions())[0], WriteOptions())
    says = f"{tmp_path}/a.csv: sensor_msgs/msg/JointState"
    assert notes == [f"{says} has no empty values: missing velocities became nan"]


@settings(deadline=None, max_examples=300)
@given(st.text(min_size=1), st.sampled_from(QUANTITIES))
def test_every_name_can_be_written(name: str, quantity: str) -> None:
    joint = clean(name)
    if joint:
        assert meaning(written_name(joint, quantity))[:2] == Meaning(quantity, joint)[:2]


@settings(deadline=None, max_examples=60)
@given(names=st.lists(st.text(min_size=1, max_size=12), min_size=1, max_size=5), suffix=st.sampled_from(TABLES))
def test_any_joints_come_back_in_their_roles(
    tmp_path_factory: pytest.TempPathFactory, names: list[str], suffix: str
) -> None:
    joints = tuple(dict.fromkeys(filter(None, map(clean, names))))
    if not joints:
        return
    path = str(tmp_path_factory.mktemp("names") / f"a{suffix}")
    recording = make(Stamps(np.arange(5) * 1_000_000), joints)
    write(path, recording, WriteOptions())
    assert_same(recording, read(path, ReadOptions())[0])


@pytest.mark.parametrize(
    "joints",
    [
        ("time", "t", "index", ""),
        ("wheel_velocity", "wheel"),
        ("a", "a_velocity"),
        ("q_deg", "q"),
        ("seq", "row"),
        ("#1", "%2", "//3"),
        ("motor #1",),
        ("a //b", "motor #1", "load % b", "load %", "c%", "#"),
        ('say "x #1"', 'half " #2'),
        ("a,b", 'say "x"', "c;d", "e\tf"),
        ("/arm/j1/position", "j1"),
        ("position_1", "sec", "nanosec"),
    ],
)
@pytest.mark.parametrize("suffix", TABLES)
def test_treacherous_names(tmp_path: Path, joints: tuple[str, ...], suffix: str) -> None:
    joints = tuple(clean(joint) for joint in joints if clean(joint))
    recording = make(Stamps(np.arange(5) * 1_000_000), joints)
    write(str(tmp_path / f"a{suffix}"), recording, WriteOptions())
    assert_same(recording, read(str(tmp_path / f"a{suffix}"), ReadOptions())[0])


@pytest.mark.parametrize("suffix", SUFFIXES)
def test_joints_are_written_in_the_order_that_was_asked_for(tmp_path: Path, suffix: str) -> None:
    (tmp_path / "log.csv").write_text("arm_deg,time_s,arm_vel,slide [m],slide_vel,wrist\n1,0,2,3,4,5\n6,0.1,7,8,9,10\n")
    (recording,) = read(str(tmp_path / "log.csv"), ReadOptions(joints=("wr*", "slide", "arm"), keep_units=True))
    write(str(tmp_path / f"out{suffix}"), recording, WriteOptions())
    (again,) = read(str(tmp_path / f"out{suffix}"), ReadOptions(keep_units=True))
    assert again.joints == ("wrist", "slide", "arm")
    assert again.positions.tolist() == [[5.0, 3.0, 1.0], [10.0, 8.0, 6.0]]
    assert again.velocities is not None
    assert again.velocities[:, 1:].tolist() == [[4.0, 2.0], [9.0, 7.0]]


def test_columns_of_other_quantities_stay_where_they_are_when_joints_are_put_in_order(tmp_path: Path) -> None:
    (tmp_path / "log.csv").write_text("arm_deg,arm_vel,time_s,wrist,wrist_vel,lift\n1,2,0,3,4,5\n")
    (recording,) = read(str(tmp_path / "log.csv"), ReadOptions(joints=("wrist", "arm"), keep_units=True))
    write(str(tmp_path / "out.csv"), recording, WriteOptions())
    assert (tmp_path / "out.csv").read_text() == "wrist,wrist_vel,time_s,arm_deg,arm_vel\n3,4,0,1,2\n"


@pytest.mark.parametrize(
    ("joints", "columns"),
    [
        (("action_*",), {"action": [1.0, 2.0, 3.0]}),
        (("action_0", "action_1"), {"action": [1.0, 2.0]}),
        (("action_2", "action_0"), {"action_2": 3.0, "action_0": 1.0}),
        (("action_1",), {"action_1": 2.0}),
        (("state_*", "action_*"), {"state": [4.0, 5.0], "action": [1.0, 2.0, 3.0]}),
    ],
)
def test_elements_of_a_list_keep_their_names(
    tmp_path: Path, joints: tuple[str, ...], columns: dict[str, float | list[float]]
) -> None:
    table = pa.table({"time": [0.5], "action": [[1.0, 2.0, 3.0]], "state": [[4.0, 5.0]]})
    pa.parquet.write_table(table, tmp_path / "log.parquet")
    (recording,) = read(str(tmp_path / "log.parquet"), ReadOptions(joints=joints))
    write(str(tmp_path / "out.parquet"), recording, WriteOptions())
    assert list(pa.parquet.read_table(tmp_path / "out.parquet").to_pylist()[0].items()) == [
        ("time", 0.5),
        *columns.items(),
    ]
    assert read(str(tmp_path / "out.parquet"), ReadOptions())[0].joints == recording.joints
