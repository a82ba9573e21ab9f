# SPDX-License-Identifier: Apache-2.0
"""What every user meets first: names, version, enumerations."""

from __future__ import annotations

import enum
import re
from pathlib import Path

import velmora as vm

ROOT = Path(__file__).resolve().parents[2]


def test_version_is_that_of_the_build() -> None:
    declared = re.search(r"VERSION (\d+\.\d+\.\d+)", (ROOT / "CMakeLists.txt").read_text())
    assert declared is not None
    assert vm.__version__ == declared.group(1)


def test_every_exported_name_exists() -> None:
    assert all(hasattr(vm, name) for name in vm.__all__)
    assert len(set(vm.__all__)) == len(vm.__all__)


def test_enumerations_are_integers_with_the_values_of_the_cpp_interface() -> None:
    assert issubclass(vm.ResamplingMethod, enum.IntEnum)
    assert {member.name: member.value for member in vm.ResamplingMethod} == {"linear": 0, "cubic": 1}
    assert {member.name: member.value for member in vm.ResamplingTimeGridMode} == {
        "exact_dt_append_endpoint": 0,
        "exact_dt_trim": 1,
        "exact_duration_adjust_dt": 2,
        "exact_dt_extend_endpoint": 3,
    }
