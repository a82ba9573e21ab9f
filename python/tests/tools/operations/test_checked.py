# SPDX-License-Identifier: Apache-2.0
"""What makes a recording fit for the library, and every refusal with its text."""

from __future__ import annotations

from dataclasses import replace
from typing import Any

import numpy as np
import pytest
from support import recording
from velmora.tools.errors import DataError
from velmora.tools.formats import csv_reader
from velmora.tools.operations.checked import CheckOptions, checked
from velmora.tools.options import ReadOptions
from velmora.tools.recording import Column, Layout, Recording, Stamps

NAN = float("nan")


def message(faulty: Recording, **options: Any) -> str:
    with pytest.raises(DataError) as error:
        checked(faulty, CheckOptions(**options))
    return str(error.value)


def test_a_sound_recording_is_handed_on_as_it_is() -> None:
    sound = recording([0.0, 1.0, 2.0], [[1.0], [2.0], [3.0]])
    result = checked(sound, CheckOptions())
    assert result.positions is sound.positions
    assert result.notes == ()


def test_no_samples() -> None:
    assert message(recording([], [])) == "log.csv: there are no samples; at least one was expected"


def test_no_times() -> None:
    assert message(replace(recording([0.0], [[1.0]]), stamps=None)) == (
        "log.csv: there is no time; a column of times was expected; --time-column names it, --input-rate gives the "
        "samples per "
        "second of a file without times"
    )


def test_a_time_that_was_left_out_is_named() -> None:
    (read,) = csv_reader.parse("log.csv", b"time,a,said\n00:00:00.004,1,x\n00:00:00.008,2,y\n", ReadOptions())
    assert message(read) == (
        "log.csv: there is no time, columns left out: 'time', 'said'; a column of times was expected; --time-column "
        "names it, --input-rate gives the samples per second of a file without times"
    )


def test_a_cell_that_says_nan() -> None:
    assert message(recording([0.0, 1.0], [[1.0, 2.0], [3.0, NAN]])) == (
        "log.csv:3: 'joint_2' is not a number; a finite number was expected; --missing drop leaves such rows out"
    )


def test_a_cell_that_is_not_there() -> None:
    faulty = replace(recording([0.0, 1.0], [[1.0], [NAN]]), missing={"positions": np.array([[False], [True]])})
    assert message(faulty) == (
        "log.csv:3: 'joint_1' is missing; a finite number was expected; --missing drop leaves such rows out"
    )


def test_an_infinite_cell_and_its_sign() -> None:
    assert "'joint_1' is infinite;" in message(recording([0.0], [[np.inf]]))
    assert "'joint_1' is minus infinity;" in message(recording([0.0], [[-np.inf]]))


def test_infinities_of_both_signs_are_found_though_their_sum_is_no_infinity() -> None:
    assert message(recording([0.0, 1.0], [[np.inf], [-np.inf]])).startswith("log.csv:2: 'joint_1' is infinite;")


def test_large_finite_values_whose_sum_overflows_pass() -> None:
    assert len(checked(recording([0.0, 1.0], [[1e308], [1e308]]), CheckOptions()).rows) == 2


def test_a_time_that_is_not_finite_comes_before_values() -> None:
    assert message(recording([0.0, NAN], [[NAN], [1.0]])) == (
        "log.csv:3: the time is missing or not a number; a finite number was expected; "
        "--missing drop leaves such rows out"
    )


def test_missing_rows_are_dropped_and_counted() -> None:
    result = checked(recording([0.0, 1.0, 2.0, 3.0], [[1.0], [NAN], [3.0], [np.inf]]), CheckOptions(missing="drop"))
    assert result.positions.tolist() == [[1.0], [3.0]]
    assert result.rows.tolist() == [2, 4]
    assert [note.text for note in result.notes] == ["2 rows with missing or non-finite values, the first is row 3"]


def test_nothing_is_left() -> None:
    assert message(recording([0.0, 1.0], [[NAN], [NAN]]), missing="drop") == (
        "log.csv: every one of 2 rows holds a missing or non-finite value; --missing drop leaves nothing"
    )


def test_falling_times() -> None:
    assert message(recording([0.0, 2.0, 1.5], [[1.0], [2.0], [3.0]])) == (
        "log.csv:4: the time falls from 2 s in row 3 to 1.5 s; increasing times were expected; --time-column "
        "may name a "
        "better clock"
    )


def test_repeated_times() -> None:
    assert message(recording([0.0, 2.0, 2.0], [[1.0], [2.0], [3.0]])) == (
        "log.csv:4: the time 2 s repeats that of row 3; increasing times were expected; --duplicate-times "
        "first, last or "
        "mean keeps one of them"
    )


def test_the_first_of_two_faults_is_told() -> None:
    assert message(recording([0.0, 0.0, -1.0], [[1.0], [2.0], [3.0]])).startswith("log.csv:3: the time 0 s repeats")
    assert message(recording([0.0, -1.0, -1.0], [[1.0], [2.0], [3.0]])).startswith("log.csv:3: the time falls")


def test_falling_times_are_no_duplicates() -> None:
    assert "falls" in message(recording([0.0, 0.0, -1.0], [[1.0], [2.0], [3.0]]), duplicate_times="first")


@pytest.mark.parametrize(
    ("how", "kept", "rows"),
    [
        ("first", [1.0, 2.0, 6.0], [2, 3, 6]),
        ("last", [1.0, 5.0, 6.0], [2, 5, 6]),
        ("mean", [1.0, 11.0 / 3.0, 6.0], [2, 3, 6]),
    ],
)
def test_duplicates(how: Any, kept: list[float], rows: list[int]) -> None:
    result = checked(
        recording([0.0, 1.0, 1.0, 1.0, 2.0], [[1.0], [2.0], [4.0], [5.0], [6.0]]), CheckOptions(duplicate_times=how)
    )
    assert result.positions[:, 0].tolist() == kept
    assert result.rows.tolist() == rows
    words = {"first": "the first of each was kept", "last": "the last of each was kept", "mean": "the mean was taken"}
    assert result.notes[-1].text == f"2 rows with repeated times, {words[how]}, the first is row 4"


def test_dropping_comes_before_duplicates() -> None:
    result = checked(recording([0.0, 0.0, 1.0], [[NAN], [1.0], [2.0]]), CheckOptions(missing="drop"))
    assert result.positions[:, 0].tolist() == [1.0, 2.0]


def test_stamps_a_nanosecond_apart_are_different_times() -> None:
    sound = replace(recording([0.0, 1.0], [[1.0], [2.0]]), stamps=Stamps(np.array([10**18, 10**18 + 1]), "ns"))
    assert len(checked(sound, CheckOptions()).rows) == 2


def test_unwrap_takes_out_turns_of_the_joints_that_jump() -> None:
    turning = recording([0.0, 1.0, 2.0, 3.0], [[3.0, 0.5], [-3.0, 0.6], [-2.9, 0.7], [3.1, 0.8]])
    result = checked(turning, CheckOptions(unwrap=True))
    full = 2.0 * np.pi
    np.testing.assert_allclose(result.positions[:, 0], [3.0, -3.0 + full, -2.9 + full, 3.1], rtol=0, atol=1e-15)
    assert result.positions[:, 1].tolist() == [0.5, 0.6, 0.7, 0.8]
    assert result.notes[-1].text == "jumps by a turn taken out: 'joint_1' (2)"
    assert turning.positions[1, 0] == -3.0


def test_unwrap_keeps_joints_whose_columns_say_a_length() -> None:
    columns = (Column("x [m]", "time"), Column("rail [m]", "positions", "rail"), Column("z [mm]", "positions", "z"))
    going = recording([0.0, 1.0, 2.0], [[0.0, 0.0, 3.0], [4.0, 1.0, -3.0], [8.0, 2.0, -2.9]], ("rail", "z", "wrist"))
    result = checked(replace(going, layout=Layout("csv", columns)), CheckOptions(unwrap=True))
    assert result.positions[:, :2].tolist() == [[0.0, 0.0], [4.0, 1.0], [8.0, 2.0]]
    assert [(note.key, note.text) for note in result.notes] == [
        ("columns", "kept by --unwrap, as their names say a length: 'rail [m]'"),
        ("unwrapped", "jumps by a turn taken out: 'wrist' (1)"),
    ]


def test_a_mean_is_not_taken_across_a_turn() -> None:
    turning = recording([0.0, 1.0, 1.0, 2.0], [[3.1], [3.14], [-3.14], [-3.1]])
    result = checked(turning, CheckOptions(duplicate_times="mean", unwrap=True))
    np.testing.assert_allclose(result.positions[:, 0], [3.1, np.pi, 2.0 * np.pi - 3.1], rtol=0, atol=1e-15)
    assert [note.text for note in result.notes] == [
        "jumps by a turn taken out: 'joint_1' (1)",
        "1 row with repeated times, the mean was taken, the first is row 4",
    ]
    falling = recording([0.0, 1.0, 1.0, 0.5], [[3.1], [3.14], [-3.14], [-3.1]])
    assert "the time falls" in message(falling, duplicate_times="mean", unwrap=True)


def test_velocities_of_the_file_stay_only_where_asked_for() -> None:
    given = replace(recording([0.0, 1.0], [[1.0], [2.0]]), velocities=np.array([[7.0], [NAN]]))
    assert checked(given, CheckOptions()).velocities is None
    assert message(given, use_velocities=True).startswith("log.csv:3: velocity of 'joint_1' is not a number;")


def test_velocities_of_some_joints_alone_are_told_as_such() -> None:
    some = replace(recording([0.0, 1.0], [[1.0, 2.0], [2.0, 3.0]]), velocities=np.array([[1.0, NAN], [1.0, NAN]]))
    for missing in ("error", "drop"):
        with pytest.raises(DataError, match=r"^log\.csv: there is no velocity of 'joint_2'; one of every joint was"):
            checked(some, CheckOptions(missing=missing, use_velocities=True))


def test_names_from_files_are_shown_without_control_characters() -> None:
    assert "'a?[31m' is not a number" in message(recording([0.0], [[NAN]], ("a\x1b[31m",)))


def test_a_bag_has_another_clock_but_no_other_column() -> None:
    bag = replace(recording([1.0, 0.5], [[0.0], [1.0]]), layout=Layout("mcap", topic="/joint_states"))
    assert message(bag).endswith("increasing times were expected; --time-from log takes the times of the recording")
