# SPDX-License-Identifier: Apache-2.0
"""Every kind of array-like: what is taken is converted once, what is not is refused by the name of its argument."""

from __future__ import annotations

from collections.abc import Callable
from decimal import Decimal
from typing import Any

import numpy as np
import pandas as pd
import pytest
import velmora as vm

VALUES = [[0.0, 1.0], [2.0, 3.0], [5.0, 8.0]]
EXPECTED = np.array(VALUES)


def strided() -> Any:
    return np.repeat(np.repeat(EXPECTED, 2, axis=0), 3, axis=1)[::2, ::3]


def read_only() -> Any:
    array = EXPECTED.copy()
    array.flags.writeable = False
    return array


def misaligned() -> Any:
    buffer = np.zeros(EXPECTED.nbytes + 1, np.uint8)
    array = buffer[1:].view(np.float64).reshape(EXPECTED.shape)
    array[...] = EXPECTED
    return array


def arrow_frame() -> Any:
    pytest.importorskip("pyarrow", reason="pyarrow belongs to the tools, not to the library")
    return pd.DataFrame(VALUES).astype("double[pyarrow]")


class Duck:
    def __array__(self, dtype: Any = None, copy: Any = None) -> Any:
        return EXPECTED.astype(dtype or np.float64)


MATRICES: dict[str, Callable[[], Any]] = {
    "array": lambda: EXPECTED,
    "lists": lambda: VALUES,
    "tuples": lambda: tuple(map(tuple, VALUES)),
    "list of arrays": lambda: list(EXPECTED),
    "lists of integers": lambda: [[0, 1], [2, 3], [5, 8]],
    "float32": lambda: EXPECTED.astype(np.float32),
    "float16": lambda: EXPECTED.astype(np.float16),
    "long double": lambda: EXPECTED.astype(np.longdouble),
    "int8": lambda: EXPECTED.astype(np.int8),
    "uint64": lambda: EXPECTED.astype(np.uint64),
    "big endian": lambda: EXPECTED.astype(">f8"),
    "Fortran order": lambda: np.asfortranarray(EXPECTED),
    "strided": strided,
    "reversed": lambda: EXPECTED[::-1, ::-1].copy()[::-1, ::-1],
    "read-only": read_only,
    "misaligned": misaligned,
    "matrix": lambda: np.matrix(EXPECTED),
    "data frame": lambda: pd.DataFrame(VALUES),
    "mixed data frame": lambda: pd.DataFrame({"a": [0, 2, 5], "b": [1.0, 3.0, 8.0]}),
    "frame of nullable columns": lambda: pd.DataFrame(VALUES, dtype="Float64"),
    "frame of nullable and numpy's columns": lambda: pd.DataFrame({"a": pd.array([0, 2, 5]), "b": [1.0, 3.0, 8.0]}),
    "frame of Arrow columns": arrow_frame,
    "memory view": lambda: memoryview(EXPECTED),
    "__array__": Duck,
    "result": lambda: vm.JointTrajectory(VALUES, dt=1.0).positions,
}


@pytest.mark.parametrize("kind", MATRICES)
@pytest.mark.filterwarnings("ignore:the matrix subclass:PendingDeprecationWarning")
def test_a_matrix_is_taken(kind: str) -> None:
    trajectory = vm.JointTrajectory(MATRICES[kind](), dt=1.0)
    assert trajectory.positions.tolist() == VALUES
    assert trajectory.positions.dtype == np.float64
    assert trajectory.positions.flags.c_contiguous


def test_what_a_frame_lacks_is_judged_as_content() -> None:
    with pytest.raises(vm.InvalidArgumentError, match=r"^JointTrajectory.positions must contain only finite values.$"):
        vm.JointTrajectory(pd.DataFrame({"a": pd.array([1.0, None]), "b": pd.array([1, 2])}), dt=1.0)


def test_a_masked_number_is_refused_at_any_depth() -> None:
    with pytest.raises(TypeError, match="a list that holds a masked array"):
        vm.joint_path_coordinate([[1.0, 2.0], [3.0, np.ma.masked]])
    with pytest.raises(TypeError, match="a list that holds a masked array"):
        vm.smootherstep([[[(0.5, np.ma.masked)]]])


@pytest.mark.parametrize(
    "weights",
    [
        [0.0, 0.5, 1.0],
        (0.0, 0.5, 1),
        np.array([0.0, 0.5, 1.0]),
        np.array([0.0, 0.5, 1.0], np.float32),
        np.array([0.0, 9.0, 0.5, 9.0, 1.0])[::2],
        pd.Series([0.0, 0.5, 1.0], index=[5, 6, 7]),
        range(3),
    ],
)
def test_a_vector_is_taken(weights: Any) -> None:
    blend = vm.blend_arrays(np.zeros((3, 1)), np.ones((3, 1)), weights)
    assert blend[:, 0].tolist() == list(map(float, weights))


@pytest.mark.parametrize(
    "half", [0.5, np.float64(0.5), np.float32(0.5), np.array(0.5), np.float16(0.5), np.longdouble(0.5)]
)
def test_a_number_is_taken(half: Any) -> None:
    assert vm.blend_arrays([[0.0]], [[1.0]], half).tolist() == [[0.5]]
    assert vm.smootherstep(half) == 0.5
    assert vm.JointTrajectory([[0.0], [1.0]], dt=half).end_time_s == 0.5


def test_an_integer_beyond_those_of_numpy_is_a_number() -> None:
    assert vm.smootherstep(2**70) == 1.0
    assert vm.smootherstep(-(2**70)) == 0.0


@pytest.mark.parametrize("one", [1, True, np.int8(1), np.bool_(True), np.array(1)])
def test_an_integer_is_a_number(one: Any) -> None:
    assert vm.JointTrajectory([[0.0], [1.0]], dt=one).end_time_s == 1.0
    assert vm.blend_arrays([[0.0]], [[1.0]], one).tolist() == [[1.0]]


MATRIX = "a 2-D array of real numbers (a row per sample, a column per joint)"
VECTOR = "a 1-D array of real numbers"
NUMBER = "a real number"
EITHER = "a real number or a 1-D array of real numbers"


def refused_kinds() -> list[tuple[Any, str]]:
    return [
        (None, "None"),
        ("text", "a str of dtype <U4"),
        (b"bytes", "a bytes of dtype |S5"),
        ([["a", "b"]], "a list of dtype <U1"),
        ([[1j]], "a list of dtype complex128"),
        (np.zeros((2, 2), np.complex64), "a ndarray of dtype complex64"),
        (np.zeros((2, 2), object), "a ndarray of dtype object"),
        (np.zeros((2, 2), "M8[s]"), "a ndarray of dtype datetime64[s]"),
        (np.zeros((2, 2), "m8[s]"), "a ndarray of dtype timedelta64[s]"),
        (np.zeros(2, [("x", float)]), "a ndarray of dtype [('x', '<f8')]"),
        (np.ma.masked_equal(np.eye(2), 1.0), "a masked array"),
        (np.ma.array(EXPECTED), "a masked array"),
        ([np.ma.masked_equal([0.0, 1.0], 1.0)] * 2, "a list that holds a masked array"),
        (([1.0, 2.0], np.ma.array([0.0, 1.0])), "a tuple that holds a masked array"),
        ([[np.ma.array(0.5), 1.0]], "a list that holds a masked array"),
        (pd.DataFrame({"a": [1.0], "b": ["text"]}), "a DataFrame of dtype object"),
        (pd.Series([1.0, "text"]), "a Series of dtype object"),
        (object(), "a object of dtype object"),
        ({"a": 1.0}, "a dict of dtype object"),
        (Decimal("0.5"), "a Decimal of dtype object"),
        ([[10**400]], "a list of dtype object"),
    ]


@pytest.mark.parametrize(("value", "got"), refused_kinds())
def test_other_kinds_are_a_type_error(value: Any, got: str) -> None:
    for call, argument, expected in (
        (lambda: vm.JointTrajectory(value, dt=1.0), "positions", MATRIX),
        (lambda: vm.JointTrajectory(VALUES, time=value if value is not None else object()), "time", VECTOR),
        (lambda: vm.smootherstep(value), "unit_progress", "a real number or an array of real numbers"),
        (lambda: vm.validate_vibration_shaping_weight(value), "vibration_shaping_weight", NUMBER),
        (lambda: vm.blend_arrays(VALUES, VALUES, value), "weight", EITHER),
    ):
        got_here = "a object of dtype object" if value is None and argument == "time" else got
        with pytest.raises(TypeError) as raised:
            call()
        assert str(raised.value) == f"{argument} must be {expected}, got {got_here}."


@pytest.mark.parametrize("shape", [(), (3,), (3, 2, 1), (0,)])
def test_another_number_of_dimensions_is_a_value_error(shape: tuple[int, ...]) -> None:
    with pytest.raises(ValueError) as raised:
        vm.joint_path_coordinate(np.zeros(shape))
    assert str(raised.value) == f"positions must be {MATRIX}, got an array of shape {shape}."
    assert not isinstance(raised.value, vm.InvalidArgumentError)


@pytest.mark.parametrize(
    ("call", "message"),
    [
        (lambda: vm.JointStateBox([[0.0]], [1.0]), f"lower must be {VECTOR}, got an array of shape (1, 1)."),
        (lambda: vm.JointStateBox([0.0], 1.0), f"upper must be {VECTOR}, got an array of shape ()."),
        (lambda: vm.blend_arrays([[0.0]], [[0.0]], [[1.0]]), f"weight must be {EITHER}, got an array of shape (1, 1)."),
        (lambda: vm.JointTrajectory(VALUES, dt=[1.0]), f"dt must be {NUMBER}, got an array of shape (1,)."),
        (
            lambda: vm.JointTrajectory(VALUES, dt=10**400),
            f"dt must be {NUMBER}, got an integer beyond the range of a double.",
        ),
        (
            lambda: vm.smootherstep(10**400),
            f"unit_progress must be {NUMBER}, got an integer beyond the range of a double.",
        ),
        (
            lambda: vm.sample_aligned_first_difference(VALUES, np.zeros((1, 1))),
            f"sample_spacing must be {EITHER}, got an array of shape (1, 1).",
        ),
    ],
)
def test_dimensions_are_named_for_every_shape(call: Callable[[], Any], message: str) -> None:
    with pytest.raises(ValueError) as raised:
        call()
    assert str(raised.value) == message


def test_rows_of_different_length_are_a_value_error() -> None:
    with pytest.raises(ValueError) as raised:
        vm.JointTrajectory([[0.0, 1.0], [2.0]], dt=1.0)
    assert str(raised.value).startswith(f"positions must be {MATRIX}, got a list of which numpy makes none (")


def test_an_error_of_the_argument_itself_comes_through() -> None:
    class Broken:
        def __array__(self, dtype: Any = None, copy: Any = None) -> Any:
            raise RuntimeError("on another device")

    with pytest.raises(RuntimeError, match="on another device"):
        vm.JointTrajectory(Broken(), dt=1.0)


T = vm.JointTrajectory(VALUES, dt=1.0)


@pytest.mark.parametrize(
    ("call", "message"),
    [
        (lambda: vm.resample_trajectory(VALUES, 0.1), "trajectory must be a JointTrajectory, got list."),
        (lambda: vm.sample_trajectory_at_times(None, [0.1]), "trajectory must be a JointTrajectory, got NoneType."),
        (lambda: vm.resample_trajectory(T, 0.1, 2.5), "method must be a ResamplingMethod or its name, got float."),
        (lambda: vm.resample_trajectory(T, 0.1, None), "method must be a ResamplingMethod or its name, got NoneType."),
        (lambda: vm.resample_trajectory(T, 0.1, True), "method must be a ResamplingMethod or its name, got bool."),
        (lambda: vm.resample_trajectory(T, 0.1, 2**40), "method must be a ResamplingMethod or its name, got int."),
        (
            lambda: vm.resample_trajectory(T, 0.1, "cubic", b"exact_dt_trim"),
            "grid_mode must be a ResamplingTimeGridMode or its name, got bytes.",
        ),
        (
            lambda: vm.resample_trajectory(T, 0.1, "cubic", "exact_dt_trim", "no"),
            "strict_cubic must be True or False, got str.",
        ),
        (lambda: vm.resample_trajectory(T, 0.1, strict_cubic=1), "strict_cubic must be True or False, got int."),
        (lambda: T.sample([0.1], None), "include_derivatives must be True or False, got NoneType."),
        (lambda: vm.parse_resampling_method(0), "text must be a str, got int."),
        (lambda: vm.parse_resampling_time_grid_mode(None), "text must be a str, got NoneType."),
        (
            lambda: vm.blend_tail_with_held_raw_endpoint([0.0], T, 0.5),
            "shaped_tail must be a ShapedTrajectory, got JointTrajectory.",
        ),
        (lambda: vm.JointStateLimits(jerk=[0.0]), "jerk must be a JointStateBox or None, got list."),
    ],
)
def test_other_objects_are_a_type_error(call: Callable[[], Any], message: str) -> None:
    with pytest.raises(TypeError) as raised:
        call()
    assert str(raised.value) == message


def test_numpys_booleans_are_booleans() -> None:
    assert T.sample([0.5], np.bool_(False)) == T.sample([0.5], False)
    assert T.resample(0.5, strict_cubic=np.bool_(True)) == T.resample(0.5, strict_cubic=True)


def test_missing_and_unknown_arguments_are_a_type_error() -> None:
    call: Any = vm.blend_arrays
    for arguments in ({}, {"raw": [[0.0]]}, {"raw": [[0.0]], "shaped": [[0.0]], "weight": 0.5, "more": 1}):
        with pytest.raises(TypeError):
            call(**arguments)


def test_kinds_are_refused_before_content_is_judged() -> None:
    with pytest.raises(TypeError, match=r"^dt must be a real number"):
        vm.JointTrajectory([[np.nan]], dt="soon")  # type: ignore[arg-type]  # refused


def test_content_keeps_the_sentence_of_the_library() -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        vm.smootherstep([0.0, np.inf])
    assert str(raised.value) == "unit_progress must be finite"
    assert raised.value.argument_name == "unit_progress"
