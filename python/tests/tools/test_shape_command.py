# SPDX-License-Identifier: Apache-2.0
"""`velmora shape`: what it writes, and what it says of peaks and limits."""

import itertools
from pathlib import Path

import jsonschema
import numpy as np
import pytest
import velmora as vm
from bags import bag, states
from scipy.integrate import solve_ivp
from scipy.interpolate import CubicSpline
from velmora import shaping
from velmora.tools.main import run
from vibrating_machine import SCHEMA, as_json, drive, here, machine

__all__ = ["here", "machine"]


def test_shaping_keeps_the_promise_of_its_report(here: Path, capsys: pytest.CaptureFixture[str]) -> None:
    report = as_json(
        capsys,
        *("shape", "move.csv", "--mode", "5:0.02", "--shaper", "zvd", "--weight", "0.7"),
        *("-o", "calm7.csv", "--limits", "limits.yaml", "--period", "0.01"),
    )
    jsonschema.validate(report, SCHEMA)
    (report,) = report["files"][0]["recordings"]
    assert report["added_s"] == pytest.approx(0.2, rel=1e-3)
    assert 0.0 < report["lag_s"] < 0.1
    (mode,) = report["modes"]
    # The sequence of the blend is 0.3 of nothing and 0.7 of a shaper that leaves nothing.
    decay = np.exp(-0.02 * 2.0 * np.pi * 5.0 * report["added_s"])
    assert mode["predicted"] == pytest.approx(0.3 * decay, rel=1e-6)
    assert mode["swing_after"] / mode["swing_before"] == pytest.approx(mode["predicted"], rel=0.01)
    assert mode["delays_rounded"] == pytest.approx(mode["predicted"], abs=0.02)
    for peak in report["peaks_beside"]:
        if peak["quantity"] != "jerk":
            assert abs(peak["after"]) <= abs(peak["before"]) * 1.001
    assert any(peak["limit"] is not None for peak in report["peaks_beside"])
    raw = np.loadtxt("move.csv", delimiter=",", skiprows=1)
    calm = np.genfromtxt("calm7.csv", delimiter=",", skip_header=1)
    assert calm.shape[0] == raw.shape[0] + round(0.2 / 0.004) + (1 if report["added_s"] > 0.2 else 0)
    np.testing.assert_allclose(calm[-1, 1:4], raw[-1, 1:4], atol=1e-6)
    drive("calm7.csv", "after7.csv")
    verified = as_json(capsys, "verify", "before.csv", "after7.csv", "--mode", "5:0.02", "--weight", "0.7")
    assert verified["as_predicted"] is True
    assert verified["modes"][0]["left"]["value"] == pytest.approx(mode["predicted"], abs=0.01)


def test_a_limit_is_violated_on_either_side(here: Path, capsys: pytest.CaptureFixture[str]) -> None:
    Path("one_sided.csv").write_text("joint,min_acceleration,max_acceleration\nbase,-0.1,1e6\n", encoding="utf-8")
    arguments = ["shape", "move.csv", "--mode", "5:0.02", "--limits", "one_sided.csv", "--force", "-o", "calm8.csv"]
    (report,) = as_json(capsys, *arguments)["files"][0]["recordings"]
    judged = {(peak["joint"], peak["quantity"]): peak["violated"] for peak in report["peaks_beside"]}
    assert judged["base", "acceleration"] is True
    assert judged["base", "velocity"] is None
    assert run(arguments) == 0
    assert "-0.1 to 1e+06  over" in capsys.readouterr().err


def trapezoid(path: Path, rate_hz: float = 100.0) -> None:
    """A move within a velocity of 1 and an acceleration of 5, in one joint; its corners are samples."""
    t = np.arange(round(1.6 * rate_hz)) / rate_hz
    u = np.clip(t - 0.1, 0.0, 1.4)
    position = 2.5 * np.minimum(u, 0.2) ** 2 + np.clip(u - 0.2, 0.0, 1.0)
    braking = np.maximum(u - 1.2, 0.0)
    position += braking - 2.5 * braking**2
    rows = (f"{time!r},{value!r}" for time, value in zip(t.tolist(), position.tolist(), strict=True))
    path.write_text("\n".join(["time,a_pos", *rows]) + "\n", encoding="utf-8")


OVER = "the spline between the samples takes velocity a, acceleration a over limits that the samples keep; a move "


@pytest.mark.parametrize("weight", ["1", "0.7", "0"])
def test_a_limit_that_only_the_spline_exceeds_is_said_to_be_so(
    here: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str], weight: str
) -> None:
    trapezoid(tmp_path / "trapezoid.csv")
    limits, output = tmp_path / "limits.csv", str(tmp_path / "o.csv")
    limits.write_text("joint,max_velocity,max_acceleration\na,1,5\n", encoding="utf-8")
    arguments = ["shape", str(tmp_path / "trapezoid.csv"), "--mode", "5:0.02", "--shaper", "zv", "--weight", weight]
    arguments += ["--limits", str(limits), "--force", "-o", output]
    (report,) = as_json(capsys, *arguments)["files"][0]["recordings"]
    for peak in report["peaks_beside"][:2]:
        assert abs(peak["before"]) >= abs(peak["after"]) > peak["limit"]["upper"] and peak["violated"]
    (warning,) = report["warnings"]
    assert OVER in warning and "--method linear" in warning
    (report,) = as_json(capsys, *arguments, "--method", "linear")["files"][0]["recordings"]
    assert [abs(peak["before"]) for peak in report["peaks_beside"][:2]] == pytest.approx([1.0, 5.0])
    assert not any(peak["violated"] for peak in report["peaks_beside"]) and report["warnings"] == []
    limits.write_text("joint,max_velocity,max_acceleration\na,0.9,4\n", encoding="utf-8")
    (report,) = as_json(capsys, *arguments)["files"][0]["recordings"]
    # The samples do not keep these limits either: the peaks say so.
    assert all(peak["violated"] for peak in report["peaks_beside"][:2]) and report["warnings"] == []


@pytest.mark.parametrize("method", ["cubic", "linear"])
def test_positive_impulses_raise_no_peak(
    here: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str], method: str
) -> None:
    rng = np.random.default_rng(3)
    walk = np.cumsum(np.cumsum(rng.standard_normal((60, 2)), axis=0), axis=0)
    rows = (f"{0.01 * k},{a!r},{b!r}" for k, (a, b) in enumerate(walk.tolist()))
    (tmp_path / "walk.csv").write_text("\n".join(["time,a,b", *rows]) + "\n", encoding="utf-8")
    # Delays of no whole number of samples: copies take the velocity between samples.
    for mode in ("40:0.02", "77:0.02", "130:0"):
        arguments = ["shape", str(tmp_path / "walk.csv"), "--mode", mode, "--shaper", "zv", "--method", method]
        (report,) = as_json(capsys, *arguments, "--force", "-o", str(tmp_path / "o.csv"))["files"][0]["recordings"]
        for peak in report["peaks_beside"][:4]:
            assert abs(peak["after"]) <= abs(peak["before"]) * (1.0 + 1e-12)


def test_a_blend_is_one_of_commands_of_the_same_interpolation(here: Path, tmp_path: Path) -> None:
    trapezoid(tmp_path / "trapezoid.csv")
    raw = np.loadtxt(tmp_path / "trapezoid.csv", delimiter=",", skiprows=1)
    found = {}
    for weight in ("0", "0.7", "1"):
        arguments = ["shape", str(tmp_path / "trapezoid.csv"), "--mode", "5:0.02", "--weight", weight, "--force"]
        assert run([*arguments, "-o", str(tmp_path / "o.csv")]) == 0
        found[weight] = np.genfromtxt(tmp_path / "o.csv", delimiter=",", skip_header=1)[: len(raw)]
    assert np.array_equal(found["0"][:, 1], raw[:, 1])
    np.testing.assert_allclose(found["0.7"], 0.3 * found["0"] + 0.7 * found["1"], atol=1e-9)
    spline = vm.resample_trajectory(vm.JointTrajectory(raw[:, 1:], time=raw[:, 0]), 0.01, "cubic")
    np.testing.assert_allclose(found["0"][:, 3], spline.accelerations[: len(raw), 0], atol=1e-8)


def test_many_moves_are_shaped_alike(here: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str]) -> None:
    for name in ("one.csv", "two.csv"):
        (tmp_path / name).write_bytes((here / "move.csv").read_bytes())
    (tmp_path / "short.csv").write_text("time,a\n0,0\n0.004,1\n", encoding="utf-8")
    arguments = ["--mode", "5:0.02", "--output-dir", str(tmp_path / "calm"), "--jobs", "1"]
    report = as_json(capsys, "shape", str(tmp_path), *arguments, code=1)
    errors = {Path(entry["source"]).name: entry["error"] for entry in report["files"]}
    assert errors["short.csv"].endswith("short.csv: 2 samples; at least 4 of a move were expected")
    assert run(["shape", str(here / "move.csv"), "--mode", "5:0.02", "-o", str(tmp_path / "alone.csv")]) == 0
    alone = (tmp_path / "alone.csv").read_bytes()
    assert [(tmp_path / "calm" / name).read_bytes() == alone for name in ("one.csv", "two.csv")] == [True, True]
    capsys.readouterr()
    assert run(["shape", str(tmp_path / "one.csv"), str(tmp_path / "two.csv"), *arguments, "--plot", "left.png"]) == 2
    assert "--plot, --report: of one move, which is read twice; one FILE was expected" in capsys.readouterr().err


def test_a_picture_is_of_one_move_however_that_is_named(
    here: Path, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, capsys: pytest.CaptureFixture[str]
) -> None:
    move = (here / "move.csv").read_bytes()
    monkeypatch.chdir(tmp_path)
    for name in ("one/move.csv", "two/a.csv", "two/b.csv"):
        Path(name).parent.mkdir(exist_ok=True)
        Path(name).write_bytes(move)
    common = ("--mode", "5:0.02", "--output-dir", "calm", "--force", "--plot")
    for named in ("one", "one/m*.csv"):
        assert run(["shape", named, *common, "calm/left.png"]) == 0
        assert Path("calm/left.png").read_bytes().startswith(b"\x89PNG")
        Path("calm/left.png").unlink()
        Path("calm/move.csv").unlink()
    Path("calm").rmdir()
    capsys.readouterr()
    for named in ("two", "two/*.csv", "-", "/dev/null"):
        assert run(["shape", named, *common, "left.png"]) == 2
        assert capsys.readouterr().err == (
            "--plot, --report: of one move, which is read twice; one FILE was expected\n"
        )
    assert run(["shape", "one/move.csv", *common, "none/left.png"]) == 1
    assert capsys.readouterr().err == "none/left.png: the folder does not exist; a place to write to was expected\n"
    assert sorted(path.name for path in tmp_path.iterdir()) == ["one", "two"]


def test_a_picture_of_two_moves_in_a_file_is_refused_before_they_are_shaped(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch, capsys: pytest.CaptureFixture[str]
) -> None:
    monkeypatch.chdir(tmp_path)
    bag(Path("log"), [(topic, *rest) for _, *rest in states(20) for topic in ("/left", "/right")])
    assert run(["shape", "log", "--mode", "5:0.02", "-o", "{group}.csv", "--plot", "left.png"]) == 2
    assert capsys.readouterr().err == "log: 2 recordings; one was expected; --topic or one file of a group\n"
    assert [path.name for path in tmp_path.iterdir()] == ["log"]


def test_a_weight_may_rise_within_a_transition(here: Path, capsys: pytest.CaptureFixture[str]) -> None:
    arguments = ("shape", "move.csv", "--mode", "5:0.02", "--weight", "0.8", "--transition", "0.3", "-o", "rising.csv")
    (report,) = as_json(capsys, *arguments, "--force")["files"][0]["recordings"]
    assert report["shaper"]["transition_s"] == 0.3
    raw = np.loadtxt("move.csv", delimiter=",", skiprows=1)
    rising = np.genfromtxt("rising.csv", delimiter=",", skip_header=1)[: len(raw)]
    assert run(["shape", "move.csv", "--mode", "5:0.02", "-o", "whole.csv", "--force"]) == 0
    whole = np.genfromtxt("whole.csv", delimiter=",", skip_header=1)[: len(raw)]
    u = np.clip((raw[:, 0] - raw[0, 0]) / 0.3, 0.0, 1.0)
    weights = 0.8 * u**3 * (10.0 + u * (-15.0 + 6.0 * u))
    expected = raw[:, 1:4] + weights[:, None] * (whole[:, 1:4] - raw[:, 1:4])
    np.testing.assert_allclose(rising[:, 1:4], expected, atol=1e-9)
    assert run([*arguments, "--force"]) == 0
    assert "zvd, weight 0.8 within 0.3 s: " in capsys.readouterr().err


def test_a_weight_of_zero_changes_the_duration_alone(here: Path, capsys: pytest.CaptureFixture[str]) -> None:
    arguments = ["shape", "move.csv", "--mode", "5:0.02", "--weight", "0", "--force", "-o", "calm0.csv"]
    (report,) = as_json(capsys, *arguments)["files"][0]["recordings"]
    assert report["added_s"] == pytest.approx(0.2, rel=1e-3)
    assert report["modes"][0]["predicted"] == 1.0
    assert report["modes"][0]["swing_after"] == pytest.approx(report["modes"][0]["swing_before"], rel=1e-3)


def test_swings_before_and_after_come_from_the_same_interpolation(
    here: Path, capsys: pytest.CaptureFixture[str]
) -> None:
    rows = np.loadtxt("move.csv", delimiter=",", skiprows=1)[::5]
    coarse = [Path("move.csv").read_text().splitlines()[0], *(",".join(map(repr, row.tolist())) for row in rows)]
    Path("coarse.csv").write_text("\n".join(coarse) + "\n", encoding="utf-8")
    arguments = ["shape", "coarse.csv", "--mode", "12:0", "--shaper", "zv", "--weight", "0.5", "--force", "-o", "c.csv"]
    (report,) = as_json(capsys, *arguments)["files"][0]["recordings"]
    (mode,) = report["modes"]
    assert mode["swing_after"] / mode["swing_before"] == pytest.approx(mode["predicted"], abs=0.01)


def swing_left(t: np.ndarray, x: np.ndarray, sequence: shaping.ImpulseSequence, mode: shaping.VibrationMode) -> float:
    """Amplitude of the mode when the last copy of the spline through the samples has ended, piece by piece."""
    w, z = 2.0 * np.pi * mode.frequency_hz, mode.damping_ratio
    acceleration = CubicSpline(t, x).derivative(2)
    delays, amplitudes = sequence.times_s, sequence.amplitudes
    edges = np.unique((t[:, None] + delays).round(12))
    state = np.zeros(2)
    for start, end in itertools.pairwise(edges):
        middle = (start + end) / 2.0 - delays
        acting = np.where((middle > t[0]) & (middle < t[-1]), amplitudes, 0.0)

        def rate(s: float, y: np.ndarray, acting: np.ndarray = acting) -> list[float]:
            return [y[1], -2.0 * z * w * y[1] - w * w * y[0] - float(acting @ acceleration(s - delays))]

        state = solve_ivp(rate, (start, end), state, rtol=1e-8, atol=1e-12, method="DOP853").y[:, -1]
    return float(np.hypot(state[0], (state[1] + z * w * state[0]) / (w * np.sqrt(1.0 - z * z))))


@pytest.mark.parametrize("move", ["cubic ramp", "trapezoid"])
@pytest.mark.parametrize(("frequency", "shaper"), [(4.3, "zv"), (7.7, "zv"), (13.3, "zvd"), (7.7, "ei")])
def test_the_swings_of_a_move_whose_acceleration_jumps_are_those_of_an_integration(
    tmp_path: Path, capsys: pytest.CaptureFixture[str], move: str, frequency: float, shaper: str
) -> None:
    t = np.arange(61) / 100.0
    x = 3.0 * (t / 0.6) ** 2 - 2.0 * (t / 0.6) ** 3
    if move == "trapezoid":
        braking = np.maximum(t - 0.4, 0.0)
        x = 2.5 * np.minimum(t, 0.2) ** 2 + np.maximum(t - 0.2, 0.0) - 2.5 * braking**2
    rows = (f"{time!r},{value!r}" for time, value in zip(t.tolist(), x.tolist(), strict=True))
    (tmp_path / "move.csv").write_text("\n".join(["time,a", *rows]) + "\n", encoding="utf-8")
    arguments = ["shape", str(tmp_path / "move.csv"), "--mode", f"{frequency}:0.02", "--shaper", shaper]
    swings = {}
    for method in ("cubic", "linear"):
        output = str(tmp_path / f"{method}.csv")
        (report,) = as_json(capsys, *arguments, "--method", method, "-o", output)["files"][0]["recordings"]
        swings[method] = report["modes"][0]["swing_before"], report["modes"][0]["swing_after"]
    sequence = shaping.ImpulseSequence(report["shaper"]["times_s"], report["shaper"]["amplitudes"])
    mode = shaping.VibrationMode(frequency, 0.02)
    before = swing_left(t, x, shaping.ImpulseSequence([0.0], [1.0]), mode)
    after = swing_left(t, x, sequence, mode)
    assert swings["cubic"] == pytest.approx((before, after), abs=1e-3 * before)
    # Straight lines between the samples leave something else; the same share of it, for the copies are the same.
    before, after = swings["linear"]
    assert after / before == pytest.approx(report["modes"][0]["predicted"], abs=2e-3)


def test_a_move_that_is_not_at_rest_swings_by_its_jumps_too(tmp_path: Path, capsys: pytest.CaptureFixture[str]) -> None:
    rows = (f"{k / 100.0},{k / 100.0}" for k in range(61))
    (tmp_path / "line.csv").write_text("\n".join(["time,a", *rows]) + "\n", encoding="utf-8")
    arguments = ["shape", str(tmp_path / "line.csv"), "--mode", "7.7:0", "--shaper", "zv", "--weight", "0.5"]
    (report,) = as_json(capsys, *arguments, "-o", str(tmp_path / "o.csv"))["files"][0]["recordings"]
    # The velocity jumps from 0 to 1 and, 0.6 s later, back.
    w = 2.0 * np.pi * 7.7
    (mode,) = report["modes"]
    assert mode["swing_before"] == pytest.approx(abs(np.exp(0.6j * w) - 1.0) / w, rel=2.5e-3)
    assert mode["swing_after"] / mode["swing_before"] == pytest.approx(0.5, abs=1e-3)
    assert len(report["warnings"]) == 2
