#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The script that people write: pandas reads, scipy's spline and its derivatives, pandas writes.

./benchmarks/tools_pandas_script.py IN.csv OUT.(csv|parquet) SAMPLE_TIME_S
"""

import sys

import numpy as np
import pandas as pd
from scipy.interpolate import CubicSpline


def main() -> None:
    source, target, sample_time_s = sys.argv[1], sys.argv[2], float(sys.argv[3])
    log = pd.read_parquet(source) if source.endswith(".parquet") else pd.read_csv(source)
    joints = [name for name in log.columns if name != "time_s"]
    spline = CubicSpline(log["time_s"], log[joints])
    times_s = np.arange(log["time_s"].iloc[0], log["time_s"].iloc[-1], sample_time_s)
    columns = {"time_s": times_s}
    for order, suffix in enumerate(("", "_velocity", "_acceleration")):
        values = spline(times_s, order)
        columns |= {joint + suffix: values[:, j] for j, joint in enumerate(joints)}
    result = pd.DataFrame(columns)
    if target.endswith(".parquet"):
        result.to_parquet(target, index=False)
    else:
        result.to_csv(target, index=False)


if __name__ == "__main__":
    main()
