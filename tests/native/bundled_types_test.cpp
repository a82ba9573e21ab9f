// The values, types and memory layout of what is bundled where the companion library is not installed.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <type_traits>

#include "velmora/native/array_types.hpp"
#include "velmora/native/error.hpp"
#include "velmora/native/shaped_trajectory.hpp"

namespace velmora::native {
namespace {

static_assert(static_cast<int>(ErrorCode::invalid_argument) == 0);
static_assert(std::is_same_v<std::underlying_type_t<ErrorCode>, int>);
static_assert(std::is_same_v<Matrix, Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>);
static_assert(std::is_same_v<Vector, Eigen::Matrix<double, Eigen::Dynamic, 1>>);
static_assert(std::is_same_v<decltype(ShapedTrajectory::positions), Matrix>);
static_assert(std::is_same_v<decltype(ShapedTrajectory::velocities), Matrix>);
static_assert(std::is_same_v<decltype(ShapedTrajectory::accelerations), Matrix>);
static_assert(std::is_same_v<decltype(ShapedTrajectory::time), Vector>);
static_assert(sizeof(ShapedTrajectory) == 3 * sizeof(Matrix) + sizeof(Vector), "four fields and nothing else");

TEST(ShapedTrajectory, HoldsItsFieldsInTheDocumentedOrder) {
  const ShapedTrajectory record;
  const char* start = reinterpret_cast<const char*>(&record);
  EXPECT_EQ(reinterpret_cast<const char*>(&record.positions) - start, 0);
  EXPECT_EQ(reinterpret_cast<const char*>(&record.velocities) - start, 1 * static_cast<long>(sizeof(Matrix)));
  EXPECT_EQ(reinterpret_cast<const char*>(&record.accelerations) - start, 2 * static_cast<long>(sizeof(Matrix)));
  EXPECT_EQ(reinterpret_cast<const char*>(&record.time) - start, 3 * static_cast<long>(sizeof(Matrix)));
}

}  // namespace
}  // namespace velmora::native
