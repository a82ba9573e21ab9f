# SPDX-License-Identifier: Apache-2.0
"""What the wheels and the source distribution hold: the package, its stubs and the licence, and nothing else."""

from __future__ import annotations

import os
import re
import subprocess
import tarfile
import zipfile
from email.parser import Parser
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[3]
DIST = Path(os.environ.get("VELMORA_DIST", ROOT / "build" / "dist"))
WHEELS = sorted(DIST.glob("*.whl"))

pytestmark = pytest.mark.skipif(not WHEELS, reason="there are no wheels: ./scripts/wheel builds them")


def tracked(*patterns: str) -> set[str]:
    listed = subprocess.run(["git", "ls-files", *patterns], cwd=ROOT, capture_output=True, text=True, check=True)
    return set(listed.stdout.split())


def package_files() -> set[str]:
    files = {path.removeprefix("python/") for path in tracked("python/velmora")}
    return {path for path in files if not re.search(r"/package(-lock)?\.json$|/\.npmrc$", path)}


@pytest.mark.parametrize("wheel", WHEELS, ids=lambda wheel: wheel.name)
def test_a_wheel_holds_the_package_and_the_licence(wheel: Path) -> None:
    with zipfile.ZipFile(wheel) as archive:
        names = {name for name in archive.namelist() if not name.endswith("/")}
        metadata = Parser().parsestr(archive.read(next(n for n in names if n.endswith("/METADATA"))).decode())
    extension = {name for name in names if re.fullmatch(r"velmora/_core\.[\w-]+\.so", name)}
    drawing = {name for name in names if name.startswith("velmora/tools/report/uplot/")}
    about = {name for name in names if name.startswith("velmora-") and ".dist-info/" in name}
    assert len(extension) == 1
    assert names - extension - drawing - about == package_files()
    assert {name.rsplit("/", 1)[1] for name in drawing} == {"LICENSE", "uPlot.iife.min.js", "uPlot.min.css"}
    # Newer versions of auditwheel list what they bundled, which is nothing.
    described = {name.split(".dist-info/")[1] for name in about} - {"sboms/auditwheel.cdx.json"}
    assert described == {"METADATA", "RECORD", "WHEEL", "entry_points.txt", "licenses/LICENSE"}
    required = [one for one in metadata.get_all("Requires-Dist", []) if "extra ==" not in one]
    assert [re.split(r"[<>=]", one)[0] for one in required] == ["numpy"]
    project = (ROOT / "CMakeLists.txt").read_text()
    assert [metadata["Version"]] == re.findall(r"^ +VERSION (\d+\.\d+\.\d+)$", project, re.MULTILINE)


def test_wheels_are_for_each_python_and_for_all_from_3_12() -> None:
    tags = {wheel.name.split("-", 2)[2].split("-manylinux")[0] for wheel in WHEELS}
    assert "cp312-abi3" in tags
    assert all(re.fullmatch(r"cp31[012]-(cp31[01]|abi3)", tag) for tag in tags)
    assert all("manylinux" in wheel.name for wheel in WHEELS)


def test_the_source_distribution_holds_what_it_takes_to_build() -> None:
    (sdist,) = DIST.glob("*.tar.gz")
    with tarfile.open(sdist) as archive:
        names = {name.split("/", 1)[1] for name in archive.getnames() if "/" in name}
    needed = tracked("src", "include", "bundled", "cmake", "python/src", "python/velmora")
    needed |= {"CMakeLists.txt", "pyproject.toml", "LICENSE", "README.md", "python/CMakeLists.txt"}
    assert needed <= names
    extra = {name for name in names - needed if not name.startswith("build/report/node_modules/uplot/")}
    assert extra <= tracked() | {"PKG-INFO"}
    assert not [name for name in extra if name.split("/")[0] in {"tests", "fuzz", "benchmarks", "abi", ".ci", "docs"}]
