// Comparison of the library's records with those of the reference.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include "oracle/blending.hpp"
#include "oracle/trajectory.hpp"
#include "support/compare_bits.hpp"
#include "velmora/native/shaped_trajectory.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::testing {

/// Positions, times and all three derivatives, which are computed where they were not carried over.
inline ::testing::AssertionResult SameBits(oracle::Trajectory expected, const util::timing::JointTrajectory& actual) {
  if (auto result = SameBits(expected.time, actual.time); !result) return result << " in the times";
  if (auto result = SameBits(expected.positions, actual.positions); !result) return result << " in the positions";
  if (auto result = SameBits(oracle::Velocities(expected), actual.velocities()); !result) {
    return result << " in the velocities";
  }
  if (auto result = SameBits(oracle::Accelerations(expected), actual.accelerations()); !result) {
    return result << " in the accelerations";
  }
  if (auto result = SameBits(oracle::Jerks(expected), actual.jerks()); !result) return result << " in the jerks";
  return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult SameBits(const oracle::ShapedTrajectory& expected,
                                           const native::ShapedTrajectory& actual) {
  if (auto result = SameBits(expected.positions, actual.positions); !result) return result << " in the positions";
  if (auto result = SameBits(expected.velocities, actual.velocities); !result) return result << " in the velocities";
  if (auto result = SameBits(expected.accelerations, actual.accelerations); !result) {
    return result << " in the accelerations";
  }
  if (auto result = SameBits(expected.time, actual.time); !result) return result << " in the times";
  return ::testing::AssertionSuccess();
}

}  // namespace velmora::testing
