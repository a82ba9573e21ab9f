# SPDX-License-Identifier: Apache-2.0
"""Commands on many files: what fails alone, what is left out, and what the summary says."""

from __future__ import annotations

import csv
import json
import os
from pathlib import Path
from xml.etree import ElementTree

import pytest
from bags import STATE, STORE, bag, header, point, state, states
from support import InProcess, write_log


@pytest.fixture
def logs(tmp_path: Path) -> Path:
    for name in ("a", "b"):
        write_log(tmp_path / f"logs/{name}.csv")
    return tmp_path / "logs"


def test_a_file_named_twice_is_one(tmp_path: Path, here: InProcess) -> None:
    write_log(tmp_path / "log.csv")
    run = here("resample", "log.csv", "log.csv", "--rate", "50", "--output-dir", "out")
    assert run.code == 0, run.err
    assert run.err.splitlines()[0] == "log.csv -> out/log.csv"
    assert "  method   cubic, exact_dt_append_endpoint, sample time 0.02 s" in run.err


def test_resuming_depends_on_files_and_not_on_how_they_were_named(logs: Path, here: InProcess) -> None:
    common = ("--rate", "50", "--output-dir", "out")
    assert here("resample", "logs", *common).code == 0
    named = here("resample", "logs/a.csv", "logs/b.csv", *common, "--resume")
    assert (named.code, named.err.splitlines()[0][:18]) == (0, "2 files: 2 skipped")
    one = here("resample", "logs/a.csv", *common, "--resume")
    assert (one.code, one.err) == (0, "logs/a.csv -> out/a.csv: 50 -> 26 samples, 0.49 s\n")


@pytest.mark.parametrize("command", [("resample", "--rate", "50"), ("convert",)])
def test_results_in_the_folder_of_the_inputs(command: tuple[str, ...], logs: Path, here: InProcess) -> None:
    common = (*command, "logs", "--output-dir", "logs/out", "--resume")
    assert here(*common).code == 0
    assert "2 files: 2 skipped" in here(*common).err


@pytest.mark.parametrize("command", ["report", "plot"])
def test_resuming_pictures(command: str, logs: Path, here: InProcess, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr("sys.argv", ["velmora", command, "first"])
    assert here(command, "logs", "--output-dir", "out").code == 0
    monkeypatch.setattr("sys.argv", ["velmora", command, "--resume"])
    run = here(command, "logs", "--output-dir", "out", "--resume")
    assert run.code == 0, run.err
    assert "2 files: 2 skipped" in run.err


def test_resuming_replaces_what_it_wrote_and_nobody_changed(logs: Path, here: InProcess) -> None:
    common = ("resample", "logs", "--output-dir", "out", "--resume")
    out = logs.parent / "out"
    assert here(*common, "--rate", "50").code == 0
    other = here(*common, "--rate", "25")
    assert (other.code, other.err.splitlines()[0][:15]) == (0, "2 files: 2 done")
    assert len((out / "a.csv").read_text().splitlines()) == 15
    write_log(logs / "a.csv", samples=40)
    changed = here(*common, "--rate", "25")
    assert (changed.code, changed.err.splitlines()[0][:26]) == (0, "2 files: 1 done, 1 skipped")
    # Changed by hand, to the same size: its time tells, also where nothing else has changed.
    os.utime(out / "b.csv", ns=(1, 1))
    assert here(*common, "--rate", "25").code == 2
    write_log(logs / "b.csv", samples=40)
    text = (out / "b.csv").read_text()
    refused = here(*common, "--rate", "25")
    assert (refused.code, refused.err) == (
        2,
        "out/b.csv: exists already; a name that is free was expected; --force replaces it\n",
    )
    assert (out / "b.csv").read_text() == text
    assert here(*common, "--rate", "25", "--force").code == 0
    assert (out / "b.csv").read_text() != text


def test_resuming_after_other_options(logs: Path, here: InProcess) -> None:
    common = ("resample", "logs", "-o", "out/{stem}.feather", "--rate", "40", "--columns", "positions")
    (logs.parent / "out").mkdir()

    def content(method: str, status: str) -> bytes:
        run = here(*common, "--resume", "--method", method)
        assert (run.code, run.err.partition(";")[0]) == (0, f"2 files: 2 {status}")
        return (logs.parent / "out/a.feather").read_bytes()

    linear, cubic = content("linear", "done"), content("cubic", "done")
    assert linear != cubic
    assert len(linear) == len(cubic)
    assert content("linear", "done") == linear
    assert content("linear", "skipped") == linear


def test_resuming_replaces_the_pieces_of_a_recording(tmp_path: Path, here: InProcess) -> None:
    rows = [f"{index * 0.01 + (index > 20):.2f},{index}" for index in range(40)]
    (tmp_path / "gap.csv").write_text("time_s,a\n" + "\n".join(rows) + "\n")
    common = ("resample", "gap.csv", "--output-dir", "out", "--gaps", "split", "--resume")
    assert here(*common, "--rate", "50").code == 0
    before = (tmp_path / "out/gap_2.csv").read_text()
    run = here(*common, "--rate", "25")
    assert run.code == 0, run.err
    assert (tmp_path / "out/gap_2.csv").read_text() != before


def test_a_name_that_does_not_exist_fails_alone(logs: Path, here: InProcess) -> None:
    missing = "logs/c.csv: there is no such file; a recording was expected; did you mean 'b.csv'?"
    run = here("info", "logs/a.csv", "logs/c.csv", "none*.csv", "--json", "--jobs", "1")
    assert run.code == 1
    files = json.loads(run.out)["files"]
    assert [(entry["status"], entry["error"]) for entry in files] == [
        ("done", None),
        ("failed", missing),
        ("failed", "none*.csv: no file has such a name; at least one was expected"),
    ]
    alone = here("info", "logs/c.csv")
    assert (alone.code, alone.out, alone.err) == (1, "", missing + "\n")
    (logs.parent / "out").mkdir()
    (logs.parent / "out/c.csv").write_text("")
    written = here("resample", "logs/a.csv", "logs/c.csv", "--rate", "50", "--output-dir", "out")
    assert (written.code, written.err.splitlines()[0]) == (1, missing)
    assert len((logs.parent / "out/a.csv").read_text().splitlines()) == 27


def test_the_summary_says_which_files_failed(logs: Path, here: InProcess) -> None:
    (logs / "broken.csv").write_text("time_s,joint_1,joint_2\n0.0,1,\n0.1,1,1\n")
    (logs.parent / "l.csv").write_text("joint,max_velocity\njoint_1,0.5\njoint_2,9\n")

    def messages() -> list[str]:
        with (logs.parent / "s.csv").open() as file:
            return [row["message"] for row in csv.DictReader(file)]

    missing = "'joint_2' is missing; a finite number was expected; --missing drop leaves such rows out"
    assert here("check", "logs", "--limits", "l.csv", "--summary", "s.csv", "--jobs", "1").code == 1
    violated = "1 of 2 limits violated (three-point derivatives)"
    assert messages() == [violated, violated, f"logs/broken.csv:2: {missing}"]
    again = here("info", "logs", "--summary", "s.csv", "--jobs", "1")
    assert (again.code, again.err) == (
        2,
        "s.csv: exists already; a name that is free was expected; --force replaces it\n",
    )
    assert here("info", "logs", "--summary", "s.csv", "--jobs", "1", "--force").code == 1
    assert messages() == ["", "", f"logs/broken.csv:2: {missing}"]
    (logs.parent / "l.csv").write_text("joint,max_velocity\njoint_1,5\njoint_2,9\n")
    assert here("check", "logs/a.csv", "--limits", "l.csv", "--summary", "s.csv", "--force").code == 0
    assert messages() == [""]


@pytest.mark.parametrize(
    "arguments",
    [
        ("info", "logs/a.csv", "--summary", "logs/a.csv"),
        ("check", "logs", "--limits", "l.csv", "--junit", "logs/b.csv"),
        ("resample", "logs", "--rate", "50", "--output-dir", "out", "--summary", "out/a.csv"),
    ],
)
def test_a_table_of_a_run_replaces_no_recording_of_it(arguments: tuple[str, ...], logs: Path, here: InProcess) -> None:
    (logs.parent / "l.csv").write_text("joint,max_velocity\njoint_1,9\njoint_2,9\n")
    before = (logs / "a.csv").read_bytes()
    run = here(*arguments, "--force")
    assert (run.code, run.err) == (
        2,
        f"{arguments[-1]}: is the name of a recording of this run; another name was expected\n",
    )
    assert (logs / "a.csv").read_bytes() == before


def gapped(path: Path) -> None:
    path.parent.mkdir(exist_ok=True)
    path.write_text("time_s,a\n0.0,0\n0.1,1\n0.2,2\n5.0,0\n5.1,1\n5.2,3\n")


def test_two_outputs_of_one_name_that_are_known_after_reading(tmp_path: Path, here: InProcess) -> None:
    gapped(tmp_path / "in/run.csv")
    write_log(tmp_path / "in/run_1.csv")
    run = here("resample", "in", "--rate", "50", "--gaps", "split", "--output-dir", "o", "--force", "--jobs", "1")
    assert run.code == 1
    # The first one that is finished has the name.
    assert "its output would be 'o/run_1.csv', as that of in/run" in run.err
    assert "2 files: 1 done, 1 failed" in run.err


def test_what_is_in_the_way_of_a_name_that_is_known_after_reading(tmp_path: Path, here: InProcess) -> None:
    gapped(tmp_path / "in/run.csv")
    (tmp_path / "o").mkdir()
    (tmp_path / "o/run_1.csv").write_text("precious")
    run = here("resample", "in/run.csv", "--rate", "50", "--gaps", "split", "--output-dir", "o")
    assert (run.code, run.err) == (
        2,
        "o/run_1.csv: exists already; a name that is free was expected; --force replaces it\n",
    )
    assert (tmp_path / "o/run_1.csv").read_text() == "precious"


def test_folders_of_names_that_are_known_after_reading(tmp_path: Path, here: InProcess) -> None:
    (tmp_path / "ep.csv").write_text("time_s,a,episode\n0.0,0,1\n0.1,1,1\n0.0,2,2\n0.1,3,2\n")
    run = here(
        "resample", "ep.csv", "--group-by", "episode", "--rate", "20", "--output-dir", "o", "-o", "{group}/a.csv"
    )
    assert run.code == 0, run.err
    assert sorted(str(path.relative_to(tmp_path)) for path in tmp_path.rglob("a.csv")) == ["o/1/a.csv", "o/2/a.csv"]
    address = here(
        "resample", "ep.csv", "--group-by", "episode", "--rate", "20", "--output-dir", f"file://{tmp_path}/n"
    )
    assert address.code == 0, address.err
    assert (tmp_path / "n/ep.csv").exists()


@pytest.mark.parametrize(
    ("pattern", "more"),
    [("o/{group}/{stem}.csv", ("--group-by", "a")), ("o/{segment}/{stem}.csv", ("--gaps", "split"))],
)
def test_the_record_lies_above_folders_that_are_known_after_reading(
    pattern: str, more: tuple[str, ...], tmp_path: Path, here: InProcess
) -> None:
    for name in ("x", "y"):
        (tmp_path / f"{name}.csv").write_text("time_s,a,b\n0.0,1,0\n0.1,1,1\n0.2,1,2\n5.0,2,0\n5.1,2,1\n5.2,2,3\n")
    common = ("resample", "x.csv", "y.csv", "--rate", "20", "-o", pattern, *more)
    run = here(*common)
    assert run.code == 0, run.err
    found = {str(path.relative_to(tmp_path / "o")) for path in (tmp_path / "o").rglob("*")}
    assert found == {".velmora-manifest.jsonl", "1", "1/x.csv", "1/y.csv", "2", "2/x.csv", "2/y.csv"}
    assert "2 files: 2 skipped" in here(*common, "--resume").err


def test_resuming_one_recording_whose_folders_are_known_after_reading(tmp_path: Path, here: InProcess) -> None:
    (tmp_path / "ep.csv").write_text("time_s,a,episode\n0.0,0,1\n0.1,1,1\n0.0,2,2\n0.1,3,2\n")
    common = ("resample", "ep.csv", "--group-by", "episode", "--rate", "20", "-o", "{group}/a.csv", "--resume")
    assert here(*common).code == 0
    before = (tmp_path / "1/a.csv").stat()
    again = here(*common)
    assert again.code == 0, again.err
    assert (tmp_path / "1/a.csv").stat() == before


@pytest.mark.parametrize("command", [("resample", "--rate", "20"), ("convert",)])
def test_one_table_of_all_groups_is_no_piece(command: tuple[str, ...], tmp_path: Path, here: InProcess) -> None:
    (tmp_path / "ep.csv").write_text("time_s,a,episode\n0.0,0,1\n0.1,1,1\n0.0,2,2\n0.1,3,2\n")
    run = here(*command, "ep.csv", "--group-by", "episode", "-o", "all{segment}.csv")
    assert run.code == 0, run.err
    assert (tmp_path / "all.csv").exists()
    assert "ep.csv[episode=1] -> all.csv" in run.err


def test_signs_in_the_values_of_a_column_belong_to_the_group(tmp_path: Path, here: InProcess) -> None:
    (tmp_path / "ep.csv").write_text("run,time_s,a\na=1,0,1\na=1,1,2\nb=1,0,3\nb=1,1,4\n[c],0,5\n[c],1,6\n")
    run = here("convert", "ep.csv", "--group-by", "run", "--output-dir", "out", "-o", "{group}.csv")
    assert run.code == 0, run.err
    assert sorted(path.name for path in (tmp_path / "out").iterdir()) == ["[c].csv", "a=1.csv", "b=1.csv"]


def test_the_messages_of_every_topic_have_outputs_of_their_own(tmp_path: Path, here: InProcess) -> None:
    kind = "trajectory_msgs/msg/JointTrajectory"
    plan = STORE.types[kind](header(0), ["a", "b"], [point([1, 2], 10**9), point([3, 4], 2 * 10**9)])
    measured = [("/js][2]", STATE, k, state(k * 10**9, ["a"], [k], [], [])) for k in range(1, 4)]
    bag(tmp_path / "log", [*((topic, kind, 1, plan) for topic in ("/left", "/left", "/right", "/right")), *measured])
    run = here("convert", "log", "--output-dir", "out", "--format", "csv")
    assert run.code == 0, run.err
    names = sorted(path.name for path in (tmp_path / "out").iterdir())
    assert names == ["log_js][2].csv", *(f"log_{topic}_{k}.csv" for topic in ("left", "right") for k in (1, 2))]
    run = here("resample", "log", "--rate", "2", "--output-dir", "named", "-o", "{group}.csv")
    assert run.code == 0, run.err
    assert (tmp_path / "named/left_2.csv").exists()


def test_braces_in_the_name_of_an_input_stay(tmp_path: Path, here: InProcess) -> None:
    write_log(tmp_path / "logs/{group}.csv")
    write_log(tmp_path / "logs/{segment}.csv")
    common = ("resample", "logs", "--rate", "50", "--output-dir", "{group}")
    run = here(*common)
    assert run.code == 0, run.err
    assert sorted(path.name for path in (tmp_path / "{group}").glob("*.csv")) == ["{group}.csv", "{segment}.csv"]
    assert "{group}/{group}.csv: exists already; " in here(*common).err


def test_one_file_that_is_not_there_has_a_report_too(tmp_path: Path, here: InProcess) -> None:
    run = here("info", "gone.csv", "--json", "--summary", "s.json")
    fault = "gone.csv: there is no such file; a recording was expected"
    assert (run.code, run.err) == (1, f"{fault}\n")
    assert json.loads(run.out)["files"][0]["error"] == fault
    assert json.loads((tmp_path / "s.json").read_text())[0]["message"] == fault


@pytest.mark.parametrize("command", [("resample", "--rate", "50"), ("convert",)])
def test_resuming_says_again_what_is_lost(command: tuple[str, ...], tmp_path: Path, here: InProcess) -> None:
    whole = bag(tmp_path / "bag", states(2000)) / "bag.mcap"
    (tmp_path / "good.mcap").write_bytes(whole.read_bytes())
    (tmp_path / "cut.mcap").write_bytes(whole.read_bytes()[:70_000])
    for files in (("cut.mcap", "good.mcap"), ("cut.mcap",)):
        common = (*command, *files, "--salvage", "--format", "csv", "--output-dir", "out", "--resume", "--json")
        first, again = here(*common), here(*common)
        assert (first.code, again.code) == (1, 1)
        said = json.loads(again.out)["files"][0]
        assert said["status"] == "skipped"
        assert said["warnings"] == json.loads(first.out)["files"][0]["warnings"]
        (lost,) = (line for line in again.err.splitlines() if line.startswith("warning: cut.mcap"))
        assert ": is cut short " in lost


def uneven(path: Path) -> Path:
    """A table with two groups, a time between two nanoseconds, and a column of text."""
    rows = "0,1,1,x\n0.01,2,1,x\n0.02,3,1,x\n0,1,2,x\n0.0033333333333,2,2,x\n0.02,3,2,x\n"
    path.parent.mkdir(exist_ok=True)
    path.write_text(f"time_s,a,g,said\n{rows}")
    return path


def test_what_a_format_cannot_hold_is_said_with_the_name_of_the_recording(tmp_path: Path, here: InProcess) -> None:
    for name in ("a", "b"):
        uneven(tmp_path / f"logs/{name}.csv")
    run = here("convert", "logs", "--group-by", "g", "--format", "mcap", "--output-dir", "out", "-j", "1")
    assert run.err.splitlines()[:-1] == [
        line
        for name in ("a", "b")
        for line in (
            f"warning: logs/{name}.csv: columns left out: 'said'",
            f"warning: logs/{name}.csv[g=1]: stamps of messages are whole nanoseconds: the times were rounded",
            f"warning: logs/{name}.csv[g=2]: stamps of messages are whole nanoseconds: the times were rounded",
        )
    ]


@pytest.mark.parametrize(
    "command", [("resample", "--rate", "100", "--format", "json"), ("convert", "--format", "mcap")]
)
def test_the_summary_counts_all_warnings_about_a_recording(
    command: tuple[str, ...], tmp_path: Path, here: InProcess
) -> None:
    uneven(tmp_path / "two.csv")
    (tmp_path / "one.csv").write_text("time_s,a,said\n0,1,x\n0.0033333333333,2,x\n0.02,3,x\n")
    for options, counts in ((("two.csv", "--group-by", "g"), [2, 2]), (("one.csv",), [2])):
        run = here(*command, *options, "--output-dir", "out", "--summary", "s.json", "--force")
        assert run.code == 0, run.err
        assert [row["warnings"] for row in json.loads((tmp_path / "s.json").read_text())] == counts


@pytest.fixture
def cut(tmp_path: Path) -> Path:
    """A bag that ends within a message, with its joints in two topics."""
    both = [(topic, *rest) for _, *rest in states(2000) for topic in ("/joint_states", "/gripper")]
    whole = bag(tmp_path / "bag", both) / "bag.mcap"
    (tmp_path / "cut.mcap").write_bytes(whole.read_bytes()[:70_000])
    return tmp_path / "cut.mcap"


def test_what_is_lost_is_in_the_summary(cut: Path, here: InProcess) -> None:
    (cut.parent / "l.csv").write_text("joint,max_velocity\na,0.001\nb,2000\n")
    resample = ("resample", "--rate", "50", "--format", "csv", "--output-dir", "out", "--resume")
    for command in (("info",), resample, resample, ("check", "--limits", "l.csv")):
        run = here(*command, "cut.mcap", "--salvage", "--summary", "s.json", "--force")
        assert run.code == 1
        rows = json.loads((cut.parent / "s.json").read_text())
        assert [row["source"] for row in rows] == ["cut.mcap[/joint_states]", "cut.mcap[/gripper]"]
        for row in rows:
            (loss,) = (line for line in run.err.splitlines() if line.startswith(f"warning: {row['source']}: is cut "))
            violated = "; 1 of 2 limits violated (three-point derivatives)" if command[0] == "check" else ""
            assert row["message"] == loss.removeprefix("warning: ") + violated


def test_what_is_lost_is_an_error_of_the_checks(cut: Path, here: InProcess) -> None:
    (cut.parent / "l.csv").write_text("joint,max_velocity\na,2000\nb,2000\n")
    run = here("check", "cut.mcap", "--salvage", "--limits", "l.csv", "--junit", "j.xml")
    assert run.code == 1
    for suite in ElementTree.parse(cut.parent / "j.xml").getroot():
        assert (suite.get("tests"), suite.get("errors"), suite.get("failures")) == ("3", "1", "0")
        assert [case.get("name") for case in suite] == ["whole", "a velocity", "b velocity"]
        (error,) = suite[0]
        assert error.tag == "error"
        assert f"warning: {error.get('message')}" in run.err.splitlines()
        assert str(error.get("message")).startswith(f"{suite.get('name')}: is cut short ")


def test_a_damaged_record_of_what_is_done(logs: Path, here: InProcess) -> None:
    common = ("resample", "logs", "--rate", "50", "--output-dir", "out", "--resume")
    assert here(*common).code == 0
    record = logs.parent / "out/.velmora-manifest.jsonl"
    lines = record.read_bytes().splitlines(keepends=True)
    record.write_bytes(b'\xff\n{"key": "x"}\n[]\n{"key": 1, "source": 2, "outputs": 3}\n' + lines[0])
    run = here(*common)
    assert run.code == 2  # the other output is there, and nothing says that it was written by an earlier run
    assert "exists already" in run.err
    record.write_bytes(b"\xff\n" + b"".join(lines))
    assert "2 files: 2 skipped" in here(*common).err
    record.unlink()
    record.mkdir()
    run = here(*common)
    assert (run.code, run.err) == (
        2,
        f"{record}: Is a directory; the record of what is done was expected; --resume goes by it\n",
    )
