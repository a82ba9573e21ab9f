# SPDX-License-Identifier: Apache-2.0
# Checks that glibc's settings spare the page faults that the page on allocators says they spare: runs its lines.
import re
import subprocess
import sys

script, program = sys.argv[1:]
done = subprocess.run(["sh", "-eu", script, program], capture_output=True, text=True, check=True)
faults = [float(number) for number in re.findall(r"^ *([0-9.]+) page faults", done.stdout, re.MULTILINE)]
# Where mimalloc or jemalloc is not installed, the loader says so and glibc takes its place.
outside, _, _, as_it_starts, inside = faults
if not (as_it_starts > 50.0 and outside < 5.0 and inside < 5.0):
    sys.exit(done.stdout)
