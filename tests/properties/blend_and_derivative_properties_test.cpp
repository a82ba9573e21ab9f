// What holds for any blend, and for derivatives of parabolas.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "support/arrays.hpp"
#include "support/generator.hpp"
#include "velmora/control/shaper/blending.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::testing {
namespace {

using native::Matrix;
using native::Vector;
using util::timing::JointTrajectory;

constexpr std::uint64_t kCases = 3000;

TEST(Blending, WithWeightZeroOrOneIsTheRawOrTheShapedArray) {
  for (std::uint64_t seed = 0; seed < kCases; ++seed) {
    SplitMix64 random(seed);
    const std::size_t samples = random.Below(40);
    const std::size_t joints = random.Below(9);
    const Matrix raw = RandomMatrix(random, samples, joints, static_cast<ValueFamily>(random.Below(6)));
    const Matrix shaped = RandomMatrix(random, samples, joints, static_cast<ValueFamily>(random.Below(6)));
    const Vector zeros = Vector::Zero(raw.rows());
    const Vector ones = Vector::Ones(raw.rows());
    EXPECT_TRUE(control::shaper::BlendArrays(raw, shaped, 0.0) == raw) << seed;
    EXPECT_TRUE(control::shaper::BlendArrays(raw, shaped, 1.0) == shaped) << seed;
    EXPECT_TRUE(control::shaper::BlendArrays(raw, shaped, zeros) == raw) << seed;
    EXPECT_TRUE(control::shaper::BlendArrays(raw, shaped, ones) == shaped) << seed;
  }
}

TEST(PathCoordinate, NeverFallsAndStartsAtZero) {
  for (std::uint64_t seed = 0; seed < kCases; ++seed) {
    SplitMix64 random(seed);
    const std::size_t samples = 1 + random.Below(60);
    const Matrix positions = RandomMatrix(random, samples, random.Below(12), static_cast<ValueFamily>(random.Below(3)));
    const Vector coordinate = control::shaper::JointPathCoordinate(positions);
    EXPECT_EQ(coordinate[0], 0.0) << seed;
    for (Eigen::Index i = 1; i < coordinate.size(); ++i) EXPECT_GE(coordinate[i], coordinate[i - 1]) << seed;
  }
}

// A derivative row is a sum of three weighted samples, each weight made of at most 5 roundings, each product of one,
// the sum of two more; the samples of the parabola carry 4 roundings each: 12 epsilon of the sum of the magnitudes of
// the terms.
TEST(ThreePointDerivative, OfAParabolaIsExactToRoundings) {
  for (std::uint64_t seed = 0; seed < kCases; ++seed) {
    SplitMix64 random(seed);
    const std::size_t samples = 3 + random.Below(40);
    const Vector time = RandomTimes(random, samples, random.OneIn(2) ? TimeFamily::uniform : TimeFamily::jittered);
    const double a = random.Symmetric();
    const double b = random.Symmetric();
    const double c = random.Symmetric();
    const Matrix positions = (a + time.array() * (b + time.array() * c)).matrix();
    const JointTrajectory trajectory(positions, std::nullopt, std::nullopt, time, std::nullopt, std::nullopt);
    for (Eigen::Index i = 0; i < time.size(); ++i) {
      const Eigen::Index middle = std::clamp<Eigen::Index>(i, 1, time.size() - 2);
      const double before = time[middle] - time[middle - 1];
      const double after = time[middle + 1] - time[middle];
      const double t = std::max(std::abs(time[middle - 1]), std::abs(time[middle + 1]));
      const double scale = std::abs(a) + t * (std::abs(b) + t * std::abs(c));  // of a sample
      const double bound = 12.0 * kEpsilon * scale * 4.0 * (1.0 / before + 1.0 / after);
      const double exact = b + 2.0 * c * time[i];
      EXPECT_NEAR(trajectory.velocities()(i, 0), exact, bound) << seed << ", sample " << i;
    }
  }
}

}  // namespace
}  // namespace velmora::testing
