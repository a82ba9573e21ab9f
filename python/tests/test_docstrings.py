# SPDX-License-Identifier: Apache-2.0
"""Docstrings: every public one has the sections of numpydoc, and its example runs."""

from __future__ import annotations

import doctest
import enum
import importlib.util
import inspect
from types import ModuleType
from typing import Any

import pytest
import velmora as vm
from velmora import shaping

MODULES = [shaping]
if importlib.util.find_spec("scipy") is not None:  # not everybody who has the library has it
    from velmora import identify

    MODULES.append(identify)


def documented() -> dict[str, Any]:
    members: dict[str, Any] = {name: getattr(vm, name) for name in vm.__all__ if name != "__version__"}
    return members | methods(vm)


def methods(module: ModuleType) -> dict[str, Any]:
    """Of the classes of the extension; the others are enumerations and errors."""
    return {
        f"{name}.{member}": function
        for name, item in inspect.getmembers(module, inspect.isclass)
        if item.__module__ == "velmora._core"
        for member, function in inspect.getmembers(item, callable)
        if not member.startswith("_")
    }


def with_examples() -> dict[str, Any]:
    """With the modules that are imported by name."""
    return (
        documented()
        | methods(shaping)
        | {f"{module.__name__}.{name}": getattr(module, name) for module in MODULES for name in module.__all__}
    )


@pytest.mark.parametrize("name", with_examples())
def test_examples_run(name: str) -> None:
    item = with_examples()[name]
    if isinstance(item, enum.EnumMeta):
        return
    examples = doctest.DocTestParser().get_doctest(inspect.getdoc(item) or "", {}, name, None, None)
    assert examples.examples, f"{name} has no example"
    failed = doctest.DocTestRunner().run(examples).failed
    assert failed == 0


@pytest.mark.parametrize("name", documented() | methods(shaping))
def test_sections_are_there(name: str) -> None:
    item = (documented() | methods(shaping))[name]
    text = inspect.getdoc(item) or ""
    if isinstance(item, enum.EnumMeta):
        sections = ["Attributes"]
    elif item is vm.InvalidArgumentError:
        sections = ["Parameters", "Attributes", "Examples"]
    elif name in methods(vm) | methods(shaping):
        signature = str(getattr(item, "__nb_signature__", None) or inspect.signature(item))
        sections = ["Parameters"] * ("(self)" not in signature) + ["Returns", "Raises", "Examples"]
    else:
        sections = ["Parameters", "Raises", "Notes", "Examples"]
    for section in sections:
        assert f"\n{section}\n{'-' * len(section)}\n" in text, section


def test_attributes_are_documented() -> None:
    for item in (vm.JointTrajectory, vm.JointStateBox, vm.JointStateLimits, vm.ShapedTrajectory):
        for name, member in inspect.getmembers(item, inspect.isdatadescriptor):
            if not name.startswith("_"):
                assert member.__doc__, f"{item.__name__}.{name}"
