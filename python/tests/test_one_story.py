# SPDX-License-Identifier: Apache-2.0
"""README, site, docstrings and code tell the same: versions, names, options, formats, paths."""

from __future__ import annotations

import re
from pathlib import Path

import pytest
import velmora as vm
from velmora import shaping

ROOT = Path(__file__).parents[2]
DOCS = ROOT / "docs"
PAGES = [ROOT / name for name in ("README.md", "CONTRIBUTING.md", "CHANGELOG.md")] + sorted(DOCS.rglob("*.md"))
REFERENCE = "".join(page.read_text(encoding="utf-8") for page in (DOCS / "reference").rglob("*.md"))

# Options in documents that are not those of the command: of the project's scripts, and of other programs.
OF_OTHERS = {
    *("--write", "--quick", "--prefix", "--like-me", "--run", "--seed", "--count", "--sanitize", "--check", "--cpp"),
    *(
        "--build",
        "--preset",
        "--target",
        "--install",
        "--libs",
        "--cflags",
        "--variable",
        "--cov",
        "--cov-config",
        "--benchmark_filter",
    ),
    *("--once", "--full-length"),
}


def found(pattern: str, name: str) -> str:
    match = re.search(pattern, (ROOT / name).read_text(encoding="utf-8"), re.MULTILINE)
    assert match is not None, name
    return match[1]


def test_one_version() -> None:
    assert {
        "CMakeLists.txt": found(r"^\s*VERSION (\d+\.\d+\.\d+)$", "CMakeLists.txt"),
        "package.xml": found(r"<version>(.*)</version>", "package.xml"),
        "CITATION.cff": found(r"^version: (.*)$", "CITATION.cff"),
        "CHANGELOG.md": found(r"^## \[(\d+\.\d+\.\d+)\] - \d{4}-\d{2}-\d{2}$", "CHANGELOG.md"),
    } == dict.fromkeys(("CMakeLists.txt", "package.xml", "CITATION.cff", "CHANGELOG.md"), vm.__version__)


def test_one_set_of_requirements() -> None:
    """What README and pages ask for is what the builds check."""
    readme = (ROOT / "README.md").read_text(encoding="utf-8")
    versions = (DOCS / "explanations" / "versions.md").read_text(encoding="utf-8")
    for text in (readme, versions):
        assert f"CMake {found(r'^cmake_minimum_required.VERSION ([0-9.]+)', 'CMakeLists.txt')}" in text
    assert f"from {found(r'^requires-python = .>=([0-9.]+)', 'pyproject.toml')} on" in versions


INCLUDES = [ROOT / "include" / "velmora", ROOT / "bundled" / "include" / "velmora"]


def declared_in_cpp() -> list[str]:
    """Every public function, class and enumeration of the headers, with its namespace."""
    names: set[str] = set()
    for header in [path for folder in INCLUDES for path in folder.rglob("*.hpp")]:
        text = re.sub(r"//.*", "", header.read_text(encoding="utf-8"))
        namespace = re.search(r"^namespace (velmora::[\w:]+) \{", text, re.MULTILINE)
        if namespace is None:
            continue
        functions = re.findall(r"^(?:\[\[\w+\]\] )?VELMORA_EXPORT [\w:<>, ]+?&? ?(\w+)\(", text, re.MULTILINE)
        classes = re.findall(r"^(?:class|struct|enum class) (?:VELMORA_EXPORT )?(\w+)[^;]*?\{", text, re.MULTILINE)
        names.update(f"{namespace[1]}::{name}" for name in [*functions, *classes])
    return sorted(names)


def test_the_headers_are_read() -> None:
    assert {
        "velmora::shaping::Zvd",
        "velmora::shaping::ShapedCommand",
        "velmora::util::Smootherstep",
        "velmora::util::timing::JointTrajectory",
        "velmora::util::timing::ResamplingMethod",
        "velmora::native::InvalidArgumentError",
    } <= set(declared_in_cpp())


@pytest.mark.parametrize("name", declared_in_cpp())
def test_what_cpp_callers_see_has_a_page(name: str) -> None:
    assert re.search(rf"\{{doxygen\w+\}} {name}\b", REFERENCE)


def test_every_header_is_in_the_reference() -> None:
    index = (DOCS / "reference" / "index.md").read_text(encoding="utf-8")
    listed = set(re.findall(r"`([\w/]+\.hpp)`", index))
    headers = {path.relative_to(folder).as_posix() for folder in INCLUDES for path in folder.rglob("*.hpp")}
    # What other headers include alone.
    assert listed == headers - {"native/eigen_abi.hpp", "native/error.hpp", "native/export.hpp"}


def test_the_table_of_headers_names_what_they_declare() -> None:
    index = (DOCS / "reference" / "index.md").read_text(encoding="utf-8")
    for files, names in re.findall(r"^\| (`[\w/]+\.hpp`.*?) \| (.*) \|$", index, re.MULTILINE):
        paths = [folder / file for folder in INCLUDES for file in re.findall(r"`([^`]+)`", files)]
        declared = "".join(path.read_text(encoding="utf-8") for path in paths if path.exists())
        assert [name for name in re.findall(r"`([^`]+)`", names) if not re.search(rf"\b{name}\b", declared)] == []


def python_names() -> list[str]:
    names = [f"velmora.{name}" for name in vm.__all__ if not name.startswith("_")]
    names += [f"velmora.shaping.{name}" for name in shaping.__all__]
    # Read from the text: to import it takes scipy, which belongs to the tools.
    listed = found(r"^__all__ = \[(.*)\]$", "python/velmora/identify.py")
    return names + [f"velmora.identify.{name}" for name in re.findall(r'"(\w+)"', listed)]


@pytest.mark.parametrize("name", python_names())
def test_what_python_callers_see_has_a_page(name: str) -> None:
    assert re.search(rf"\.\. auto\w+:: {re.escape(name)}\n", REFERENCE)


# No routines: nothing of these can be drawn, and nothing can be wrong.
TYPES_ALONE = {"errors.md", "records.md"}


@pytest.mark.parametrize("page", sorted((DOCS / "reference" / "routines").glob("*.md")), ids=lambda page: page.name)
def test_a_page_of_a_routine_is_whole(page: Path) -> None:
    text = page.read_text(encoding="utf-8")
    assert (".. plot:: figures/" in text) == (page.name not in TYPES_ALONE)
    assert ("\n## Edge cases\n" in text and "```pycon\n" in text) == (page.name not in TYPES_ALONE)
    assert text.count(".. plot::") == text.count("   :alt: ")


def test_options_in_documents_exist() -> None:
    pytest.importorskip("click", reason="the command belongs to the extra tools")
    import click
    from velmora.tools.main import COMMANDS, commands

    context = click.Context(commands)
    known = {"--help", "--version"}
    for name in COMMANDS:
        command = commands.get_command(context, name)
        assert command is not None
        for parameter in command.params:
            known.update([*parameter.opts, *parameter.secondary_opts])
    reports = {DOCS / "performance.md", DOCS / "quality.md"}  # they name the options of many a benchmark and check
    for page in [page for page in PAGES if page not in reports]:
        named = set(re.findall(r"(?<![\w-])--[a-z][a-z_-]+", page.read_text(encoding="utf-8")))
        assert named <= known | OF_OTHERS, page


def test_every_command_is_in_the_reference() -> None:
    pytest.importorskip("click", reason="the command belongs to the extra tools")
    from velmora.tools.main import COMMANDS

    page = (DOCS / "reference" / "command.md").read_text(encoding="utf-8")
    shown = re.findall(
        r"^\.\. click:: velmora\.tools\.commands\.(\w+):command\n   :prog: velmora (\w+)$", page, re.MULTILINE
    )
    assert shown == [(name, name) for name in COMMANDS]


def test_formats_in_documents_are_those_of_the_command() -> None:
    pytest.importorskip("click", reason="the command belongs to the extra tools")
    from velmora.tools import formats

    page = (DOCS / "how-to" / "files.md").read_text(encoding="utf-8")
    rows = dict(re.findall(r"^\| ([\w 1]+?) \| (.*?) \|", page.partition("## Convert")[0], re.MULTILINE))
    rows = {name: set(re.findall(r"`(\.[\w.]+)`", endings)) for name, endings in rows.items()}
    packed = {".gz", ".zst"}
    assert rows.pop("format") == rows.pop("---", set()) == set()
    known = formats.FORMATS
    assert rows == {
        "CSV": {*known["csv"], *packed},
        "TSV": {*known["tsv"], *packed},
        "Parquet": {*known["parquet"]},
        "Feather": {*known["feather"]},
        "NPZ": {*known["npz"]},
        "rosbag2": {*known["mcap"], *known["sqlite3"]},
        "ROS 1 bag": {*known["bag"]},
        "one message": {*known["json"], *known["yaml"]},
    }
    assert {ending for endings in rows.values() for ending in endings} - packed == {
        ending for ending in formats.suffixes() if not ending.endswith(tuple(packed))
    }


@pytest.mark.parametrize("page", PAGES, ids=lambda page: str(page.relative_to(ROOT)))
def test_paths_in_documents_exist(page: Path) -> None:
    text = page.read_text(encoding="utf-8")
    paths = re.findall(
        r"(?<![\w/$<}-])(?:scripts|src|tests|docs|include|examples|benchmarks|fuzz|cmake|python)/[\w/.-]*[\w/]", text
    )
    assert [path for path in paths if not (ROOT / path).exists()] == []
