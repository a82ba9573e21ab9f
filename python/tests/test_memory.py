# SPDX-License-Identifier: Apache-2.0
"""Lifetimes, ownership, leaks, and the buffers that are kept for the next results."""

from __future__ import annotations

import gc
import os
import subprocess
import sys
import time
from collections.abc import Callable
from functools import partial
from operator import attrgetter
from typing import Any

import numpy as np
import pytest
import velmora as vm
from velmora import _core

NAMES = ("positions", "time", "velocities", "accelerations", "jerks")


def make(samples: int = 50, joints: int = 3) -> vm.JointTrajectory:
    values = np.random.default_rng(1).normal(size=(samples, joints))
    return vm.JointTrajectory(values, dt=0.01)


def results() -> dict[str, Callable[[], Any]]:
    trajectory = make()
    raw = np.ones((5, 2))
    box = vm.JointStateBox([0.0], [1.0])
    tail = vm.ShapedTrajectory(raw, raw, raw, np.arange(5.0))
    return {
        **{name: partial(lambda name: getattr(make(), name), name) for name in NAMES},
        "resample": lambda: trajectory.resample(0.003).velocities,
        "sample": lambda: trajectory.sample([0.1, 0.2]).accelerations,
        "difference": lambda: vm.sample_aligned_first_difference(raw, 0.1),
        "blend": lambda: vm.blend_arrays(raw, raw, 0.5),
        "path": lambda: vm.joint_path_coordinate(raw),
        "ramp": lambda: vm.smootherstep([0.1, 0.2]),
        "box": lambda: vm.JointStateBox([0.0], [1.0]).lower,
        "limits": lambda: attrgetter("position.upper")(vm.JointStateLimits(box)),
        "tail": lambda: vm.blend_tail_with_held_raw_endpoint([0.0, 0.0], tail, 0.5).positions,
    }


@pytest.mark.parametrize("name", results())
def test_results_are_read_only_views_that_outlive_their_object(name: str) -> None:
    result = results()[name]()
    expected = result.copy()
    gc.collect()
    held = [make(50, 3) for _ in range(50)]  # would write over memory that was freed
    assert result.tobytes() == expected.tobytes()
    assert result.dtype == np.float64
    assert result.flags.c_contiguous
    assert not result.flags.writeable
    assert not result.flags.owndata
    with pytest.raises(ValueError, match="read-only"):
        result[0] = 1.0
    with pytest.raises(ValueError, match="WRITEABLE"):
        result.flags.writeable = True
    assert len(held) == 50


@pytest.mark.parametrize("name", NAMES)
def test_an_attribute_is_the_same_memory_at_every_call(name: str) -> None:
    trajectory = make()
    first, second = getattr(trajectory, name), getattr(trajectory, name)
    assert first.__array_interface__["data"] == second.__array_interface__["data"]


def test_an_array_keeps_its_trajectory_alive() -> None:
    trajectory = make()
    before = sys.getrefcount(trajectory)
    view = trajectory.positions
    assert sys.getrefcount(trajectory) > before
    del view
    assert sys.getrefcount(trajectory) == before


def resident_bytes() -> int:
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def everything() -> None:
    for call in results().values():
        call()
    for call in (
        lambda: vm.JointTrajectory([[1.0]]),
        lambda: vm.JointTrajectory("text", dt=1.0),  # type: ignore[arg-type]  # refused
        lambda: vm.JointTrajectory([[1.0], [1.0, 2.0]], dt=1.0),
        lambda: vm.resample_trajectory(make(), 0.1, "quintic"),  # type: ignore[arg-type]  # refused
        lambda: make().resample(1e-300),
    ):
        with pytest.raises((ValueError, TypeError, MemoryError)):
            call()
    trajectory = make()
    assert trajectory == trajectory.copy()
    repr(trajectory)
    trajectory.__reduce__()


def test_ten_thousand_calls_leak_nothing() -> None:
    shared: list[Any] = [np.ones((5, 2)), [0.1, 0.2], vm, vm.JointTrajectory, vm.ResamplingMethod, None]
    for _ in range(60):
        everything()
    gc.collect()
    counts, blocks, before = [sys.getrefcount(one) for one in shared], sys.getallocatedblocks(), resident_bytes()
    calls_per_round = len(results()) + 8
    for _ in range(10_000 // calls_per_round):
        everything()
    gc.collect()
    assert [sys.getrefcount(one) for one in shared] == pytest.approx(counts, abs=20)
    assert sys.getallocatedblocks() - blocks < 500
    assert resident_bytes() - before < 2_000_000


def kept_bytes() -> int:
    core: Any = _core  # the stubs leave out what is for tests alone
    return int(core._kept_buffer_bytes())


def give_back_after_idling() -> None:
    time.sleep(1.1)
    gc.collect()


def test_large_buffers_are_kept_bounded_and_given_back() -> None:
    give_back_after_idling()
    assert kept_bytes() == 0
    large = vm.smootherstep(np.zeros(100_000))
    address = large.__array_interface__["data"][0]
    del large
    assert 800_000 <= kept_bytes() < 1_700_000
    again = vm.smootherstep(np.zeros(100_000))
    assert again.__array_interface__["data"][0] == address
    many = [vm.smootherstep(np.zeros(1_000_000)) for _ in range(8)]
    del many
    assert 8_000_000 <= kept_bytes() <= 32 << 20
    give_back_after_idling()
    assert kept_bytes() == 0


def test_many_small_blocks_are_kept_bounded_too() -> None:
    many = [vm.smootherstep(np.zeros(5_000)) for _ in range(100)]
    del many
    assert kept_bytes() <= 32 * 50_000


def test_a_block_beyond_the_bound_is_not_kept() -> None:
    give_back_after_idling()
    vm.smootherstep(np.zeros(5_000_000))
    assert kept_bytes() == 0


KEPT_IN_THE_WAY = """
import pathlib, resource
import numpy as np
import velmora as vm
from velmora import _core

wanted = np.zeros((3_000_000, 1))
many = [vm.smootherstep(np.zeros(1_000_000)) for _ in range(4)]
del many
assert _core._kept_buffer_bytes() > 24_000_000
mapped = int(pathlib.Path("/proc/self/statm").read_text().split()[0]) * resource.getpagesize()
resource.setrlimit(resource.RLIMIT_AS, (mapped + 4_000_000, resource.RLIM_INFINITY))
try:
    vm.JointTrajectory(wanted, dt=-1.0)  # copies its argument first
except vm.InvalidArgumentError:
    print(_core._kept_buffer_bytes())
"""


def test_kept_buffers_make_room_where_memory_runs_out() -> None:
    # Blocks of this size stand alone whatever the allocator learned before.
    environment = {**os.environ, "GLIBC_TUNABLES": "glibc.malloc.mmap_threshold=131072", "OPENBLAS_NUM_THREADS": "1"}
    run = subprocess.run(
        [sys.executable, "-c", KEPT_IN_THE_WAY], env=environment, capture_output=True, text=True, check=False
    )
    assert run.returncode == 0, run.stderr
    assert int(run.stdout) < 26_000_000  # of the refused argument alone


@pytest.mark.filterwarnings("ignore::DeprecationWarning")
def test_a_forked_process_goes_on() -> None:
    trajectory = make(5000)
    trajectory.resample(0.0025)
    child = os.fork()
    if child == 0:
        os._exit(0 if trajectory.resample(0.0025).sample_count == 19997 else 1)
    assert os.waitpid(child, 0)[1] == 0


def test_objects_held_at_the_end_of_the_program_are_no_fault() -> None:
    program = "import velmora as vm; t = vm.JointTrajectory([[0.0], [1.0]], dt=0.1); keep = [t, t.velocities]; t.me = 0"
    program = program.rsplit(";", 1)[0]
    run = subprocess.run([sys.executable, "-W", "error", "-c", program], capture_output=True, check=True)
    assert (run.stdout, run.stderr) == (b"", b"")
