// Non-negative amplitudes average: nothing lies beyond the extremes of the raw command, standstill included for
// velocities and accelerations, but for roundings.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "shaping/commands.hpp"
#include "support/arrays.hpp"
#include "support/generator.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::shaping {
namespace {

using native::Matrix;

struct Range {
  double bottom;
  double top;

  void Take(double value) {
    bottom = std::min(bottom, value);
    top = std::max(top, value);
  }
};

void ExpectWithin(const Range& range, const Matrix& values, Eigen::Index joint, int number) {
  const double slack = 64.0 * testing::kEpsilon * std::max(std::abs(range.top), std::abs(range.bottom));
  EXPECT_LE(values.col(joint).maxCoeff(), range.top + slack) << "case " << number;
  EXPECT_GE(values.col(joint).minCoeff(), range.bottom - slack) << "case " << number;
}

// Of one joint, with what lies between the samples: a straight line, or a cubic with these values at its ends.
struct Ranges {
  Range position;
  Range velocity;
  Range acceleration;
};

Ranges RangesOf(const ShapedTrajectory& raw, Eigen::Index joint, bool cubic) {
  Ranges ranges{{raw.positions(0, joint), raw.positions(0, joint)}, {0.0, 0.0}, {0.0, 0.0}};
  for (Eigen::Index i = 0; i < raw.time.size(); ++i) {
    const double p = raw.positions(i, joint);
    const double v = raw.velocities(i, joint);
    const double a = raw.accelerations(i, joint);
    ranges.position.Take(p);
    ranges.velocity.Take(v);
    ranges.acceleration.Take(a);
    if (!cubic || i + 1 == raw.time.size()) continue;
    const double h = raw.time[i + 1] - raw.time[i];
    const double jerk = (raw.accelerations(i + 1, joint) - a) / h;
    const auto inside = [h](double dx) { return dx > 0.0 && dx < h; };
    const double flat = -a / jerk;
    if (inside(flat)) ranges.velocity.Take(v + 0.5 * a * flat);
    const double sum = -a - std::copysign(std::sqrt(a * a - 2.0 * jerk * v), a);  // nothing cancels
    for (const double dx : {sum / jerk, 2.0 * v / sum}) {
      if (inside(dx)) ranges.position.Take(p + dx * (v + dx * (a / 2.0 + dx * jerk / 6.0)));
    }
  }
  return ranges;
}

TEST(ShapeTrajectory, StaysWithinTheExtremesOfTheRawCommand) {
  testing::SplitMix64 random(42);
  const ImpulseSequence unshaped(testing::Values({0.0}), testing::Values({1.0}));
  for (int k = 0; k < 400; ++k) {
    const bool cubic = k % 4 >= 2;
    const ResamplingMethod method = cubic ? ResamplingMethod::cubic : ResamplingMethod::linear;
    const std::size_t samples = 2 + random.Below(60);
    const Vector time = testing::RandomTimes(random, samples, testing::TimeFamily::jittered);
    const JointTrajectory raw =
        testing::Trajectory(testing::RandomMatrix(random, samples, 3, testing::ValueFamily::moderate), time);
    const double span_s = time[time.size() - 1] - time[0];
    const VibrationMode mode((0.5 + 4.0 * random.Unit()) / span_s, 0.3 * random.Unit());
    const ImpulseSequence sequence = k % 2 == 0 ? Ei(mode, 0.05) : Convolve(Zvd(mode), Mzv(mode));
    const ShapedTrajectory before = ShapeTrajectory(raw, {unshaped}, time, method).move;
    const ShapedTrajectory shaped = JoinMoveAndTail(ShapeTrajectory(raw, {sequence}, span_s / 40.0, method));
    for (Eigen::Index joint = 0; joint < 3; ++joint) {
      const Ranges ranges = RangesOf(before, joint, cubic);
      ExpectWithin(ranges.position, shaped.positions, joint, k);
      ExpectWithin(ranges.velocity, shaped.velocities, joint, k);
      ExpectWithin(ranges.acceleration, shaped.accelerations, joint, k);
    }
  }
}

}  // namespace
}  // namespace velmora::shaping
