# SPDX-License-Identifier: Apache-2.0
"""velmora.shaping: the C++ library's results in Python's terms, its errors, and what Python adds."""

from __future__ import annotations

import copy
import math
import pickle
from collections.abc import Callable
from typing import Any, cast

import numpy as np
import pytest
import velmora as vm
from velmora import shaping

MODE = shaping.VibrationMode(5.0, 0.02)
LATE = shaping.ImpulseSequence([0.0, 1.7e308], [0.5, 0.5])
PART = vm.ShapedTrajectory([[0.0]], [[0.0]], [[0.0]], [0.0])
WIDER_PART = vm.ShapedTrajectory([[0.0, 0.0]], [[0.0, 0.0]], [[0.0, 0.0]], [1.0])


def move(samples: int = 101, joints: int = 3) -> vm.JointTrajectory:
    x = np.linspace(0.0, 1.0, samples)[:, None]
    return vm.JointTrajectory(x**3 * (10 + x * (-15 + x * 6)) * np.arange(1, joints + 1), dt=0.005)


def plain_residual(sequence: shaping.ImpulseSequence, mode: shaping.VibrationMode) -> float:
    w = 2 * math.pi * mode.frequency_hz
    z = mode.damping_ratio
    poles = np.exp((z * w + 1j * w * math.sqrt(1 - z * z)) * sequence.times_s)
    return float(np.exp(-z * w * sequence.times_s[-1]) * abs(np.sum(sequence.amplitudes * poles)))


DESIGNS: dict[str, tuple[Callable[[shaping.VibrationMode], shaping.ImpulseSequence], int]] = {
    "zv": (shaping.zv, 2),
    "zvd": (shaping.zvd, 3),
    "zvdd": (shaping.zvdd, 4),
    "mzv": (shaping.mzv, 3),
    "ei": (lambda mode: shaping.ei(mode, 0.05), 3),
    "two_hump_ei": (lambda mode: shaping.two_hump_ei(mode, 0.05), 4),
    "three_hump_ei": (lambda mode: shaping.three_hump_ei(mode, 0.05), 5),
    "um_zv": (shaping.um_zv, 3),
    "um_zvd": (shaping.um_zvd, 5),
    "specified_insensitivity": (lambda mode: shaping.specified_insensitivity(mode, 4.5, 5.5, 0.05), 3),
}


@pytest.mark.parametrize("name", DESIGNS)
def test_designs_leave_what_they_promise(name: str) -> None:
    design, impulses = DESIGNS[name]
    sequence = design(MODE)
    assert sequence.times_s.shape == sequence.amplitudes.shape == (impulses,)
    residual = shaping.residual_vibration(sequence, MODE)
    assert residual == pytest.approx(plain_residual(sequence, MODE), abs=1e-13)
    if name == "specified_insensitivity":
        assert residual <= 0.05
    else:
        assert residual == pytest.approx(0.05 if name in ("ei", "three_hump_ei") else 0.0, abs=1e-9)


def test_modes_and_sequences_are_records() -> None:
    sequence = shaping.zvd(MODE)
    for record in (MODE, sequence, shaping.insensitivity(sequence, MODE, 0.05)):
        assert pickle.loads(pickle.dumps(record)) == record
        assert copy.deepcopy(record) == record
    assert shaping.VibrationMode(5.0, 0.03) != MODE
    assert repr(MODE) == "VibrationMode(frequency_hz=5.0, damping_ratio=0.02)"
    with pytest.raises(ValueError, match="read-only"):
        sequence.times_s[0] = 1.0
    with pytest.raises(AttributeError):
        MODE.frequency_hz = 6.0  # type: ignore[misc]  # read-only


def test_derived_figures() -> None:
    mode = shaping.VibrationMode(5.0, 0.6)
    assert mode.damped_frequency_hz == pytest.approx(4.0)
    assert mode.damped_period_s == pytest.approx(0.25)
    assert mode.half_period_decay == pytest.approx(math.exp(-0.75 * math.pi))
    assert shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5]).centroid_s == 0.25
    assert shaping.convolve(shaping.zv(MODE), shaping.zv(MODE)).duration_s == shaping.zvd(MODE).duration_s


@pytest.mark.parametrize(
    ("call", "message"),
    [
        (lambda: shaping.VibrationMode(0.0, 0.1), "VibrationMode.frequency_hz must be finite and positive."),
        (lambda: shaping.VibrationMode(5.0, 1.0), "VibrationMode.damping_ratio must be in [0, 1)."),
        (lambda: shaping.ImpulseSequence([], []), "ImpulseSequence requires at least 1 impulse, got 0."),
        (lambda: shaping.ImpulseSequence([0.0, 1.0], [0.5, 0.6]), "ImpulseSequence.amplitudes must sum to 1."),
        (lambda: shaping.ei(MODE, 1.0), "tolerance must be in (0, 1)."),
        (
            lambda: shaping.specified_insensitivity(MODE, 5.1, 5.5, 0.05),
            "mode.frequency_hz must lie between low_hz and high_hz.",
        ),
        (
            lambda: shaping.residual_over_damping(shaping.zv(MODE), MODE, [1.0]),
            "damping_ratios must be in [0, 1).",
        ),
        (
            lambda: shaping.shape_trajectory(move(), [shaping.zv(MODE)] * 2, 0.005),
            "sequences must hold one sequence, or one per joint.",
        ),
        (lambda: shaping.blended_sequence(shaping.zv(MODE), 1.1), "vibration_shaping_weight must be in [0.0, 1.0]"),
        (lambda: shaping.StreamingShaper(shaping.zv(MODE), -1, 0.005), "joints must be non-negative."),
        (
            lambda: shaping.residual_over_frequency(shaping.zv(MODE), MODE, [-1.0]),
            "frequencies_hz must be finite and non-negative.",
        ),
        (lambda: shaping.residual_over_damping(shaping.zv(MODE), MODE, [1.0]), "damping_ratios must be in [0, 1)."),
        (lambda: shaping.insensitivity(shaping.zv(MODE), MODE, 2.0), "tolerance must be in (0, 1)."),
        (lambda: shaping.convolve(LATE, LATE), "ImpulseSequence.times_s must contain only finite values."),
        (
            lambda: shaping.specified_insensitivity(MODE, 6.0, 7.0, 0.05),
            "mode.frequency_hz must lie between low_hz and high_hz.",
        ),
        (
            lambda: shaping.path_deviation(move(joints=2), shaping.shape_trajectory(move(), LATE, times_s=[0.0])),
            "trajectory and command must have the same number of joints.",
        ),
        (
            lambda: shaping.join_move_and_tail(
                shaping.ShapedCommand(PART, WIDER_PART, 0.0, 0.0, [0.0], [0.0], [0.0], [0.0])
            ),
            "command parts must have matching sample and joint shapes",
        ),
    ],
)
def test_messages_of_the_library(call: Callable[[], object], message: str) -> None:
    with pytest.raises(vm.InvalidArgumentError) as caught:
        call()
    assert str(caught.value) == message


def test_arguments_of_other_kinds_are_named() -> None:
    with pytest.raises(TypeError, match="frequency_hz"):
        shaping.VibrationMode("5", 0.1)  # type: ignore[arg-type]  # refused
    with pytest.raises(TypeError, match="sequences"):
        shaping.shape_trajectory(move(), [1.0], 0.005)  # type: ignore[list-item]  # refused
    with pytest.raises(ValueError, match="exactly one of sample_time_s and times_s"):
        shaping.shape_trajectory(move(), shaping.zv(MODE))
    with pytest.raises(ValueError, match="exactly one of sample_time_s and times_s"):
        shaping.shape_trajectory(move(), shaping.zv(MODE), 0.005, [0.0])


def test_every_argument_of_another_kind_is_named() -> None:
    zv, wrong = shaping.zv(MODE), cast(Any, "text")
    command = shaping.shape_trajectory(move(), zv, 0.005)
    sample = shaping.JointSample([1.0], [0.0], [0.0])
    calls: list[tuple[Callable[[], object], str]] = [
        (lambda: shaping.shape_trajectory(move(), cast(Any, 1.0), 0.005), "sequences"),
        (lambda: shaping.shape_trajectory(move(), zv, 0.005, method=cast(Any, 1.5)), "method"),
        (lambda: shaping.StreamingShaper(zv, cast(Any, 1.5), 0.005), "joints"),
        (lambda: shaping.StreamingShaper(zv, 1, wrong), "sample_time_s"),
        (lambda: shaping.JointSample([1.0], [0.0], wrong), "acceleration"),
        (lambda: shaping.InsensitivityBand(1.0, 2.0, wrong), "width"),
        (lambda: shaping.residual_over_frequency(zv, MODE, wrong), "frequencies_hz"),
        (lambda: shaping.residual_over_damping(zv, MODE, wrong), "damping_ratios"),
        (lambda: shaping.insensitivity(zv, MODE, wrong), "tolerance"),
        (lambda: shaping.blended_sequence(zv, wrong), "weight"),
        (lambda: shaping.specified_insensitivity(MODE, 4.0, 6.0, wrong), "tolerance"),
        (lambda: shaping.ImpulseSequence([0.0], wrong), "amplitudes"),
        (lambda: shaping.blend_shaped_trajectory(move(), command, wrong), "weight"),
        (lambda: vm.ShapedTrajectory([[0.0]], [[0.0]], [[0.0]], wrong), "time"),
    ]
    for call, argument in calls:
        with pytest.raises(TypeError, match=f"^{argument} must be "):
            call()
    for unfit in (lambda: shaping.join_move_and_tail(wrong), lambda: shaping.path_deviation(move(), wrong)):
        with pytest.raises(TypeError):
            unfit()
    assert sample == shaping.JointSample([1.0], [0.0], [0.0])
    for other in ([2.0], [0.0], [0.0]), ([1.0], [1.0], [0.0]), ([1.0], [0.0], [1.0]):
        assert sample != shaping.JointSample(*other)


def test_curves_and_the_band() -> None:
    sequence = shaping.ei(MODE, 0.05)
    band = shaping.insensitivity(sequence, MODE, 0.05)
    assert band.width == (band.high_hz - band.low_hz) / 5.0
    curve = shaping.residual_over_frequency(sequence, MODE, np.linspace(band.low_hz, band.high_hz, 200))
    assert curve.max() <= 0.05 * (1 + 2e-6)
    assert shaping.residual_over_damping(sequence, MODE, [0.02])[0] == shaping.residual_vibration(sequence, MODE)


def test_a_shaped_trajectory_is_the_sum_of_its_copies() -> None:
    raw = move()
    sequence = shaping.zvd(MODE)
    shaped = shaping.shape_trajectory(raw, sequence, 0.005, method="linear")
    whole = shaping.join_move_and_tail(shaped)
    assert np.array_equal(shaped.move.time, raw.time)
    expected = sum(
        amplitude * np.stack([np.interp(whole.time - delay, raw.time, joint) for joint in raw.positions.T], axis=1)
        for delay, amplitude in zip(sequence.times_s, sequence.amplitudes, strict=True)
    )
    assert np.allclose(whole.positions, expected, rtol=0.0, atol=1e-13)
    assert np.array_equal(whole.positions[-1], raw.positions[-1])
    assert shaped.added_duration_s == sequence.duration_s
    assert shaped.lag_s == sequence.centroid_s
    assert pickle.loads(pickle.dumps(shaped)) == shaped
    at_times = shaping.shape_trajectory(raw, [sequence] * 3, times_s=whole.time, method=vm.ResamplingMethod.linear)
    assert np.array_equal(shaping.join_move_and_tail(at_times).positions, whole.positions)
    assert shaping.path_deviation(raw, shaped) < 1e-12


def test_blends() -> None:
    raw = move()
    shaped = shaping.shape_trajectory(raw, shaping.zv(MODE), 0.005)
    half = shaping.blend_shaped_trajectory(raw, shaped, 0.5)
    assert np.allclose(half.move.positions, 0.5 * (raw.positions + shaped.move.positions))
    each = shaping.blend_shaped_trajectory(raw, shaped, np.full(101, 0.5))
    assert np.allclose(each.move.velocities, half.move.velocities)
    ramp = shaping.blend_shaped_trajectory(raw, shaped, 0.5, transition_s=0.1)
    assert np.array_equal(ramp.move.positions[0], raw.positions[0])
    assert shaping.blended_sequence(shaping.zv(MODE), 0.0).duration_s == 0.0


@pytest.mark.parametrize(
    "call",
    [
        lambda raw, shaped: shaping.shape_trajectory(raw, shaping.zv(MODE), -0.005, method="linear"),
        lambda raw, shaped: shaping.blend_shaped_trajectory(raw, shaped, [0.5]),
    ],
)
def test_a_call_that_fails_leaves_the_trajectory_as_it_was(call: Callable[[Any, Any], object]) -> None:
    raw = move()
    shaped = shaping.shape_trajectory(raw, shaping.zv(MODE), 0.005)
    before = pickle.dumps(raw)
    with pytest.raises(vm.InvalidArgumentError):
        call(raw, shaped)
    assert pickle.dumps(raw) == before


def test_streaming_gives_the_bits_of_the_whole() -> None:
    raw = move()
    sequence = shaping.zvd(MODE)
    whole = shaping.join_move_and_tail(
        shaping.shape_trajectory(raw, sequence, times_s=0.005 * np.arange(160), method="linear")
    )
    shaper = shaping.StreamingShaper(sequence, 3, 0.005)
    assert shaper.at_rest
    for i in range(160):
        if i < 101:
            sample = shaping.JointSample(raw.positions[i], raw.velocities[i], raw.accelerations[i])
            shaped = shaper.step(sample)
        else:
            shaped = shaper.step_tail()
        assert np.array_equal(shaped.position, whole.positions[i])
        assert np.array_equal(shaped.velocity, whole.velocities[i])
    assert shaper.at_rest
    assert np.array_equal(shaper.hard_stop().velocity, np.zeros(3))
