#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# Writes the bundled recording: a pick-and-place of a 7-joint arm as a real logger would have seen it.
#   ./examples/data/generate_pick_and_place.py > examples/data/pick_and_place_250hz.csv
import math
import random
import sys

SEED = 7
NOMINAL_STEP_S = 0.004
STEP_JITTER_S = 0.0003
LATE_SHARE = 0.02
LATE_BY_S = 0.0012
# The logger lost these stretches: one in a fast move, one in a slow approach.
DROPPED_STRETCHES_S = ((2.310, 2.362), (5.640, 5.672))
MOTOR_ENCODER_COUNTS_PER_TURN = 1 << 17
GEAR_RATIO = 100

HOME = (0.000, -0.640, 0.000, -1.980, 0.000, 1.340, 0.785)
ABOVE_PICK = (0.610, 0.230, -0.090, -1.790, 0.040, 2.020, 1.130)
PICK = (0.612, 0.455, -0.094, -1.752, 0.052, 2.207, 1.128)
ABOVE_PLACE = (-0.840, -0.090, 0.120, -2.210, -0.060, 2.120, 0.490)
PLACE = (-0.843, 0.138, 0.127, -2.166, -0.078, 2.304, 0.486)

# (goal, duration of the rest-to-rest move in s, dwell at the goal in s)
MOVES = (
    (HOME, 0.0, 0.25),
    (ABOVE_PICK, 1.45, 0.05),
    (PICK, 0.70, 0.35),
    (ABOVE_PICK, 0.60, 0.05),
    (ABOVE_PLACE, 1.60, 0.05),
    (PLACE, 0.75, 0.30),
    (ABOVE_PLACE, 0.60, 0.05),
    (HOME, 1.05, 0.20),
)


def ramp(x):
    """Rest-to-rest polynomial of degree 7: velocity, acceleration and jerk vanish at both ends."""
    return x**4 * (35.0 + x * (-84.0 + x * (70.0 - 20.0 * x)))


def position_rad(time_s):
    start = MOVES[0][0]
    for goal, move_s, dwell_s in MOVES:
        if time_s < move_s:
            share = ramp(time_s / move_s)
            return [a + share * (b - a) for a, b in zip(start, goal, strict=True)]
        time_s -= move_s
        if time_s < dwell_s:
            return list(goal)
        time_s -= dwell_s
        start = goal
    return list(start)


def encoder_reading_rad(angle_rad):
    count_rad = 2.0 * math.pi / (MOTOR_ENCODER_COUNTS_PER_TURN * GEAR_RATIO)
    return math.floor(angle_rad / count_rad) * count_rad


def sample_times_s(rng):
    """Stamps in whole microseconds: jitter around the nominal step, now and then a late cycle, two losses."""
    end_s = sum(move_s + dwell_s for _, move_s, dwell_s in MOVES)
    cycle = 0
    while True:
        time_s = cycle * NOMINAL_STEP_S + rng.uniform(0.0, STEP_JITTER_S)
        if rng.random() < LATE_SHARE:
            time_s += LATE_BY_S * rng.random()
        if time_s > end_s:
            return
        if not any(begin_s <= time_s < stop_s for begin_s, stop_s in DROPPED_STRETCHES_S):
            yield round(time_s, 6)
        cycle += 1


def main():
    rng = random.Random(SEED)
    joints = range(1, len(HOME) + 1)
    out = sys.stdout
    out.write("# Simulated pick-and-place, written by generate_pick_and_place.py.\n")
    out.write("time_s," + ",".join(f"joint_{joint}_rad" for joint in joints) + "\n")
    for time_s in sample_times_s(rng):
        readings = (encoder_reading_rad(angle_rad) for angle_rad in position_rad(time_s))
        out.write(f"{time_s:.6f}," + ",".join(f"{reading_rad:.9f}" for reading_rad in readings) + "\n")


if __name__ == "__main__":
    main()
