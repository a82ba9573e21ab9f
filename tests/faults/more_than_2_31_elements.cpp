// Matrices of more than 2^31 elements: indices are 64-bit throughout. Needs 17 GiB of address space and 5 GiB of
// memory, so it is run by scripts/check-huge-arrays and not with the other tests.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <optional>
#include <utility>

#include "support/arrays.hpp"
#include "support/expect_throws.hpp"
#include "velmora/control/shaper/blending.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::testing {
namespace {

using native::Matrix;
using util::timing::JointTrajectory;
using util::timing::ResamplingMethod;
using util::timing::ResamplingTimeGridMode;

constexpr Eigen::Index kJoints = 8;
constexpr Eigen::Index kSamples = (Eigen::Index{1} << 28) + 5;  // 2^31 + 40 elements
constexpr Eigen::Index kLast = kSamples - 1;

// Fresh pages of a large block are zero and cost no memory until they are written. A sanitizer would fill them.
Matrix ZerosButForTheEnd() {
  Matrix positions(kSamples, kJoints);
  positions.row(kLast).setConstant(3.0);
  positions(kLast, kJoints - 1) = 4.0;
  return positions;
}

TEST(MoreThan2To31Elements, HaveAPathCoordinate) {
  const Matrix positions = ZerosButForTheEnd();
  const native::Vector coordinate = control::shaper::JointPathCoordinate(positions);
  EXPECT_EQ(coordinate[kLast - 1], 0.0);
  EXPECT_EQ(coordinate[kLast], std::sqrt(7.0 * 9.0 + 16.0));
}

TEST(MoreThan2To31Elements, AreCheckedToTheLast) {
  Matrix positions = ZerosButForTheEnd();
  positions(kLast, kJoints - 1) = kNan;
  ExpectInvalidArgument(
      [&] { JointTrajectory(std::move(positions), std::nullopt, std::nullopt, std::nullopt, 1.0, std::nullopt); },
      "JointTrajectory.positions must contain only finite values.");
}

TEST(MoreThan2To31Elements, AreSampledAndResampledLinearly) {
  const JointTrajectory trajectory(ZerosButForTheEnd(), std::nullopt, std::nullopt, std::nullopt, 1.0, std::nullopt);
  const double end = static_cast<double>(kLast);
  const JointTrajectory sampled = SampleTrajectoryAtTimes(trajectory, Values({end - 0.5, end}), false);
  EXPECT_EQ(sampled.positions(0, kJoints - 1), 2.0);
  EXPECT_EQ(sampled.positions(1, kJoints - 1), 4.0);
  const JointTrajectory resampled = ResampleTrajectory(trajectory, 0.7 * end, ResamplingMethod::linear,
                                                       ResamplingTimeGridMode::exact_dt_append_endpoint, true);
  EXPECT_EQ(resampled.positions.rows(), 3);
  EXPECT_EQ(resampled.positions(2, 0), 3.0);
}

}  // namespace
}  // namespace velmora::testing
