# SPDX-License-Identifier: Apache-2.0
# The same five samples resampled every 0.01 s, by lines and by a spline.
import matplotlib.pyplot as plt
import velmora as vm

move = vm.JointTrajectory([[0.0], [0.08], [0.42], [0.82], [1.0]], time=[0.0, 0.2, 0.45, 0.7, 1.0])
figure, (above, below) = plt.subplots(2, 1, sharex=True, figsize=(7.5, 5))
for method in ("cubic", "linear"):
    fine = move.resample(0.01, method=method, grid_mode="exact_duration_adjust_dt")
    above.plot(fine.time, fine.positions, label=method)
    below.plot(fine.time, fine.velocities, label=method)
above.plot(move.time, move.positions, "o", color="#1f2d3d", label="samples")
above.set_ylabel("position in rad")
below.set(xlabel="time in s", ylabel="velocity in rad/s")
above.legend()
