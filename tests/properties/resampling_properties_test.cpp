// What holds for any trajectory that is resampled or sampled.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/generator.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::testing {
namespace {

using native::Matrix;
using native::Vector;
using util::timing::JointTrajectory;
using util::timing::ResamplingMethod;
using util::timing::ResamplingTimeGridMode;

constexpr std::uint64_t kCases = 3000;

// Any values and times whose derivatives do not overflow.
JointTrajectory AnyTrajectory(SplitMix64& random) {
  const std::size_t samples = 1 + random.Below(40);
  const std::size_t joints = random.Below(9);
  const auto values = static_cast<ValueFamily>(random.Below(3));
  const std::array<TimeFamily, 5> families = {TimeFamily::uniform, TimeFamily::jittered, TimeFamily::geometric,
                                              TimeFamily::integers, TimeFamily::late_start};
  const TimeFamily times = families.at(random.Below(families.size()));
  const Matrix positions = RandomMatrix(random, samples, joints, values);
  return {positions, std::nullopt, std::nullopt, RandomTimes(random, samples, times), std::nullopt, std::nullopt};
}

TEST(Sampling, OntoTheOwnTimesIsTheIdentity) {
  for (std::uint64_t seed = 0; seed < kCases; ++seed) {
    SplitMix64 random(seed);
    const JointTrajectory trajectory = AnyTrajectory(random);
    const JointTrajectory sampled = SampleTrajectoryAtTimes(trajectory, trajectory.time, true);
    EXPECT_TRUE(SameBits(trajectory.time, sampled.time)) << seed;
    // 0 * x of the neighbour turns -0.0 into +0.0, so values are compared and not bits.
    EXPECT_TRUE(trajectory.positions == sampled.positions) << seed;
    EXPECT_TRUE(trajectory.velocities() == sampled.velocities()) << seed;
    EXPECT_TRUE(trajectory.accelerations() == sampled.accelerations()) << seed;
  }
}

TEST(Resampling, OntoTheOwnUniformTimesIsTheIdentity) {
  for (std::uint64_t seed = 0; seed < kCases; ++seed) {
    SplitMix64 random(seed);
    const std::size_t samples = 2 + random.Below(60);
    const double dt = std::ldexp(static_cast<double>(1 + random.Below(9)), -static_cast<int>(random.Below(12)));
    const Matrix positions = RandomMatrix(random, samples, 1 + random.Below(5), ValueFamily::moderate);
    const JointTrajectory trajectory(positions, std::nullopt, std::nullopt, std::nullopt, dt, std::nullopt);
    for (int mode = 0; mode < 4; ++mode) {
      const auto grid_mode = static_cast<ResamplingTimeGridMode>(mode);
      const JointTrajectory linear = ResampleTrajectory(trajectory, dt, ResamplingMethod::linear, grid_mode, true);
      EXPECT_TRUE(SameBits(trajectory.time, linear.time)) << seed << ", mode " << mode;
      EXPECT_TRUE(trajectory.positions == linear.positions) << seed << ", mode " << mode;
      // The spline reproduces every sample but the last, at the far end of its polynomial, without rounding.
      const JointTrajectory cubic = ResampleTrajectory(trajectory, dt, ResamplingMethod::cubic, grid_mode, true);
      const Eigen::Index last = positions.rows() - 1;
      EXPECT_TRUE(positions.topRows(last) == cubic.positions.topRows(last)) << seed << ", mode " << mode;
    }
  }
}

// w * b rounded and (1 - w) * a fused onto it: the result leaves [a, b] by no more than a rounding of either product
// and of 1 - w.
TEST(LinearInterpolation, StaysWithinTheHullOfTheNeighbours) {
  for (std::uint64_t seed = 0; seed < kCases; ++seed) {
    SplitMix64 random(seed);
    const JointTrajectory trajectory = AnyTrajectory(random);
    const Vector& time = trajectory.time;
    const Eigen::Index last = time.size() - 1;
    const double u = random.Unit();
    const double query = std::clamp((1.0 - u) * time[0] + u * time[last], time[0], time[last]);
    const JointTrajectory sampled = SampleTrajectoryAtTimes(trajectory, Values({query}), false);
    const Eigen::Index after =
        std::min<Eigen::Index>(std::upper_bound(time.begin(), time.end(), query) - time.begin(), last);
    const Eigen::Index before = std::max<Eigen::Index>(after - 1, 0);
    for (Eigen::Index j = 0; j < trajectory.positions.cols(); ++j) {
      const double a = trajectory.positions(before, j);
      const double b = trajectory.positions(after, j);
      const double slack = 1.5 * kEpsilon * std::max(std::abs(a), std::abs(b));
      EXPECT_GE(sampled.positions(0, j), std::min(a, b) - slack) << seed;
      EXPECT_LE(sampled.positions(0, j), std::max(a, b) + slack) << seed;
    }
  }
}

}  // namespace
}  // namespace velmora::testing
