# SPDX-License-Identifier: Apache-2.0
"""A short program that uses an installed package; run where nothing else is installed."""

import sys
from pathlib import Path

import numpy as np
import velmora as vm

assert Path(vm.__file__).is_relative_to(sys.prefix), vm.__file__
recorded = vm.JointTrajectory([[0.0, 1.0], [0.2, 0.9], [0.7, 0.5], [1.0, 0.0]], time=[0.00, 0.10, 0.25, 0.35])
regular = recorded.resample(0.004, strict_cubic=True)
assert regular.sample_count == 89
assert np.isfinite(regular.jerks).all()
assert vm.blend_arrays([[0.0]], [[1.0]], 0.5).tolist() == [[0.5]]
try:
    recorded.resample(-1.0)
except vm.InvalidArgumentError as error:
    assert str(error) == "sample_time_s must be positive."
else:
    raise AssertionError("a negative sample time was accepted")
print(f"velmora {vm.__version__} works with Python {sys.version.split()[0]} and numpy {np.__version__}")
