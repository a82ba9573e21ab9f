# SPDX-License-Identifier: Apache-2.0
"""The command line beats the environment beats velmora.toml; the report says which value came from where."""

from __future__ import annotations

import json
from pathlib import Path
from typing import Any

import pytest
from support import InProcess, velmora, write_log


@pytest.fixture
def project(tmp_path: Path) -> Path:
    write_log(tmp_path / "log.csv")
    (tmp_path / "velmora.toml").write_text('time-unit = "s"\n[resample]\nrate = 20\nmethod = "linear"\n')
    return tmp_path


def settings(folder: Path, *arguments: str, **environment: str) -> dict[str, tuple[str, str]]:
    run = velmora("resample", "log.csv", "-o", "out.csv", "--force", "--json", *arguments, cwd=folder, env=environment)
    assert run.code == 0, run.err
    report: dict[str, Any] = json.loads(run.out)
    return {entry["name"]: (entry["value"], entry["origin"]) for entry in report["settings"]}


def test_values_come_from_the_project(project: Path) -> None:
    found = settings(project)
    assert found["rate"] == ("20.0", f"{project}/velmora.toml [resample]")
    assert found["time-unit"] == ("s", f"{project}/velmora.toml")
    assert found["output"] == ("out.csv", "command line")
    assert "grid" not in found


def test_the_environment_beats_the_project(project: Path) -> None:
    found = settings(project, VELMORA_RESAMPLE_RATE="40")
    assert found["rate"] == ("40.0", "environment VELMORA_RESAMPLE_RATE")


def test_the_command_line_beats_both_also_with_an_option_that_excludes_theirs(project: Path) -> None:
    assert settings(project, "--rate", "80", VELMORA_RESAMPLE_RATE="40")["rate"] == ("80.0", "command line")
    assert settings(project, "--samples", "7")["samples"] == ("7", "command line")


def test_two_that_exclude_each_other_on_the_command_line(project: Path) -> None:
    run = velmora("resample", "log.csv", "-o", "out.csv", "--rate", "3", "--samples", "7", cwd=project)
    assert (run.code, run.err) == (2, "--rate and --samples exclude each other; give one of them\n")


def test_the_nearest_file_above_counts(project: Path) -> None:
    (project / "deep/er").mkdir(parents=True)
    run = velmora("resample", "../../log.csv", "-o", "out.csv", cwd=project / "deep/er")
    assert run.code == 0
    assert f"rate is 20.0 ({project}/velmora.toml [resample])" in run.err


def test_files_named_in_it_are_looked_for_beside_it(project: Path) -> None:
    (project / "limits.csv").write_text("joint,max_velocity\njoint_1,9\njoint_2,9\n")
    (project / "velmora.toml").write_text('[check]\nlimits = "limits.csv"\n')
    (project / "deep").mkdir()
    assert velmora("check", "../log.csv", cwd=project / "deep").code == 0


@pytest.mark.parametrize(
    ("text", "expected"),
    [
        ("[resmple]\nrate = 3\n", "velmora.toml: table [resmple] is not known; did you mean 'resample'?\n"),
        (
            "[info]\ntime-uint = 's'\n",
            "velmora.toml: option 'time-uint' in [info] is not known; did you mean 'time-unit'?\n",
        ),
        ("sampels = 3\n", "velmora.toml: option 'sampels' is not known; did you mean 'samples'?\n"),
        ("rate = \n", "velmora.toml: Invalid value (at line 1, column 8); a TOML file was expected\n"),
    ],
)
def test_what_is_not_known_is_refused(project: Path, text: str, expected: str) -> None:
    (project / "velmora.toml").write_text(text)
    run = velmora("info", "log.csv", cwd=project)
    assert (run.code, run.err) == (2, f"{project}/{expected}")


def test_an_option_of_another_command_is_left_to_it(project: Path) -> None:
    (project / "velmora.toml").write_text("samples = 3\n")
    assert velmora("info", "log.csv", cwd=project).code == 0


def test_an_option_that_gives_way_is_no_setting(project: Path) -> None:
    found = settings(project, VELMORA_RESAMPLE_SAMPLES="7")
    assert found["samples"] == ("7", "environment VELMORA_RESAMPLE_SAMPLES")
    assert "rate" not in found


@pytest.mark.parametrize(
    ("line", "expected"),
    [
        ("samples = 3.5", "'--samples' / '-n': '3.5' is not a valid integer"),
        ("samples = true", "'--samples' / '-n': 'True' is not a valid integer"),
        ('rate = "abc"', "'--rate' / '-r': 'abc' is not a valid float"),
    ],
)
def test_a_value_of_another_kind_is_refused_with_its_file(
    project: Path, here: InProcess, line: str, expected: str
) -> None:
    (project / "velmora.toml").write_text(f"[resample]\n{line}\n")
    run = here("resample", "log.csv", "-o", "out.csv")
    assert (run.code, run.out) == (2, "")
    assert run.err.endswith(f"Error: Invalid value for {expected} ({project}/velmora.toml [resample]).\n")


def test_a_value_of_another_kind_is_refused_with_its_variable(
    project: Path, here: InProcess, monkeypatch: pytest.MonkeyPatch
) -> None:
    monkeypatch.setenv("VELMORA_RESAMPLE_RATE", "abc")
    run = here("resample", "log.csv", "-o", "out.csv")
    assert run.err.endswith("'abc' is not a valid float (environment VELMORA_RESAMPLE_RATE).\n")
    typed = here("resample", "log.csv", "-o", "out.csv", "--rate", "x")
    assert typed.err.endswith("'x' is not a valid float.\n")


def test_lists_are_taken_for_names(project: Path, here: InProcess) -> None:
    lists = 'columns = ["positions", "velocities"]\njoints = ["joint_2"]\nrate = 20\n'
    (project / "velmora.toml").write_text(f"[resample]\n{lists}")
    run = here("resample", "log.csv", "-o", "out.csv")
    assert run.code == 0, run.err
    assert (project / "out.csv").read_text().splitlines()[0] == "time_s,joint_2,joint_2_velocity"
    assert f"  columns is positions,velocities ({project}/velmora.toml [resample])\n" in run.err


def test_check_says_where_its_limits_come_from(project: Path, here: InProcess) -> None:
    (project / "limits.csv").write_text("joint,max_velocity\njoint_1,9\njoint_2,9\n")
    (project / "velmora.toml").write_text('[check]\nlimits = "limits.csv"\n')
    run = here("check", "log.csv")
    assert (run.code, run.err) == (0, f"  limits is {project}/limits.csv ({project}/velmora.toml [check])\n")


def test_names_are_those_of_the_flags(project: Path, here: InProcess, monkeypatch: pytest.MonkeyPatch) -> None:
    (project / "velmora.toml").write_text('[resample]\nrate = 20\nformat = "tsv"\noutput = "out.txt"\n')
    (project / "deep").mkdir()
    monkeypatch.chdir(project / "deep")
    assert here("resample", "../log.csv").code == 0
    assert (project / "out.txt").read_text().startswith("time_s\t")
    monkeypatch.setenv("VELMORA_RESAMPLE_FORMAT", "csv")
    run = here("resample", "../log.csv", "--force")
    assert "  format is csv (environment VELMORA_RESAMPLE_FORMAT)\n" in run.err
    assert (project / "out.txt").read_text().startswith("time_s,")


def test_a_rate_is_that_of_the_input_in_a_table_of_its_command_alone(project: Path, here: InProcess) -> None:
    (project / "velmora.toml").write_text("rate = 20\n")
    assert "100 Hz" in here("info", "log.csv").out
    (project / "velmora.toml").write_text("[info]\nrate = 20\n")
    assert "20 Hz" in here("info", "log.csv").out


def test_options_that_may_be_given_several_times(
    project: Path, here: InProcess, monkeypatch: pytest.MonkeyPatch
) -> None:
    expected = here("shapers", "--mode", "5:0.02", "--mode", "12:0.05").out
    monkeypatch.setenv("VELMORA_SHAPERS_MODE", "5:0.02 12:0.05")
    assert here("shapers").out == expected
    monkeypatch.delenv("VELMORA_SHAPERS_MODE")
    (project / "velmora.toml").write_text('[shapers]\nmode = ["5:0.02", "12:0.05"]\n')
    assert here("shapers").out == expected


def test_a_variable_that_is_not_known_is_refused(
    project: Path, here: InProcess, monkeypatch: pytest.MonkeyPatch
) -> None:
    monkeypatch.setenv("VELMORA_INFO_TIME_UINT", "s")
    assert here("resample", "log.csv", "-o", "out.csv").code == 0
    run = here("info", "log.csv")
    assert (run.code, run.err) == (
        2,
        "environment: VELMORA_INFO_TIME_UINT is not known; did you mean 'VELMORA_INFO_TIME_UNIT'?\n",
    )


def test_a_variable_of_a_misspelt_command_is_refused(
    project: Path, here: InProcess, monkeypatch: pytest.MonkeyPatch
) -> None:
    monkeypatch.setenv("VELMORA_BUILD_DIR", "somebody's own")
    monkeypatch.setenv("VELMORA_REPO_DIR", "another's own, though nearly a report's")
    assert here("info", "log.csv").code == 0
    monkeypatch.setenv("VELMORA_RESAMPEL_RATE", "5")
    run = here("info", "log.csv")
    assert (run.code, run.err) == (
        2,
        "environment: VELMORA_RESAMPEL_RATE is not known; did you mean 'VELMORA_RESAMPLE_RATE'?\n",
    )


@pytest.mark.parametrize("value", ["1", "1.0.0"])
def test_a_variable_with_the_version_that_somebody_pins_changes_nothing(
    project: Path, here: InProcess, monkeypatch: pytest.MonkeyPatch, value: str
) -> None:
    (project / "limits.csv").write_text("joint,max_velocity\njoint_1,0.1\njoint_2,9\n")
    expected = here("check", "log.csv", "--limits", "limits.csv")
    assert expected.code == 1
    monkeypatch.setenv("VELMORA_VERSION", value)
    assert here("check", "log.csv", "--limits", "limits.csv") == expected


def test_an_output_that_is_typed_takes_the_place_of_a_folder_of_the_project(project: Path, here: InProcess) -> None:
    (project / "velmora.toml").write_text('[resample]\nrate = 20\noutput-dir = "o"\n')
    piped = here("resample", "log.csv", "-o", "-")
    assert piped.out.splitlines()[0].startswith("time_s,joint_1,joint_2")
    assert piped.err.splitlines()[0] == "log.csv -> standard output"
    assert "output-dir is" not in piped.err
    assert here("resample", "log.csv", "-o", "near.csv").code == 0
    assert here("resample", "log.csv", "-o", project / "whole.csv").code == 0
    assert sorted(path.name for path in project.iterdir()) == ["log.csv", "near.csv", "velmora.toml", "whole.csv"]


def test_a_folder_that_is_typed_takes_the_place_of_an_output_of_the_environment(
    project: Path, here: InProcess, monkeypatch: pytest.MonkeyPatch
) -> None:
    monkeypatch.setenv("VELMORA_CONVERT_OUTPUT", "-")
    run = here("convert", "log.csv", "--output-dir", "o")
    assert (run.code, run.out) == (0, "")
    assert [path.name for path in (project / "o").iterdir()] == ["log.csv"]


def test_an_output_and_a_folder_of_the_project_go_together(project: Path, here: InProcess) -> None:
    (project / "velmora.toml").write_text('output-dir = "o"\n[convert]\noutput = "{stem}.npz"\n')
    run = here("convert", "log.csv")
    assert run.code == 0, run.err
    assert [path.name for path in (project / "o").iterdir()] == ["log.npz"]


def test_an_output_and_a_folder_that_are_typed_go_together(project: Path, here: InProcess) -> None:
    run = here("convert", "log.csv", "--output-dir", "o", "-o", "{stem}.npz")
    assert run.code == 0, run.err
    assert [path.name for path in (project / "o").iterdir()] == ["log.npz"]
    refused = here("convert", "log.csv", "--output-dir", "other", "-o", "-")
    assert (refused.code, refused.out, refused.err) == (
        2,
        "",
        "-o -: --output-dir names a folder already; a name below it was expected\n",
    )
    assert not (project / "other").exists()


def test_a_flag_of_the_project_is_told_and_taken_back_by_the_environment(
    project: Path, here: InProcess, monkeypatch: pytest.MonkeyPatch
) -> None:
    (project / "velmora.toml").write_text("json = true\n")
    run = here("resample", "log.csv", "--rate", "20", "-o", "-")
    assert (run.code, run.out, run.err) == (
        2,
        "",
        f"--json -o -: both go to standard output; one of them was expected; json is True ({project}/velmora.toml)\n",
    )
    monkeypatch.setenv("VELMORA_RESAMPLE_JSON", "0")
    taken_back = here("resample", "log.csv", "--rate", "20", "-o", "-")
    assert taken_back.code == 0
    assert taken_back.out.splitlines()[0].startswith("time_s,joint_1,joint_2")
