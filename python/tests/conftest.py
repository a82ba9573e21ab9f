# SPDX-License-Identifier: Apache-2.0
"""Settings of all tests: properties are judged by what they find, not by how busy the machine is."""

import os

# Before numpy is loaded: threads of its linear algebra that wait for each other make small problems ten times slower on
# a busy machine.
os.environ.setdefault("OPENBLAS_NUM_THREADS", "1")

from hypothesis import HealthCheck, settings

settings.register_profile("any machine", deadline=None, suppress_health_check=[HealthCheck.too_slow])
settings.load_profile("any machine")
