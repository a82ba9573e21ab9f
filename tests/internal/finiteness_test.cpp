// The two finiteness rules.
// SPDX-License-Identifier: Apache-2.0
#include "internal/finiteness.hpp"

#include <gtest/gtest.h>

#include "support/arrays.hpp"

namespace velmora::internal {
namespace {

using native::Matrix;
using native::Vector;
using testing::kInfinity;
using testing::kLargest;
using testing::kNan;
using testing::kSmallest;

TEST(IsFinite, AcceptsEverythingUpToTheLargestDouble) {
  for (const double x : {0.0, -0.0, 1.0, kSmallest, -kSmallest, kLargest, -kLargest}) EXPECT_TRUE(IsFinite(x)) << x;
}

TEST(IsFinite, RejectsNanAndBothInfinities) {
  for (const double x : {kNan, -kNan, kInfinity, -kInfinity}) EXPECT_FALSE(IsFinite(x)) << x;
}

TEST(AllFinite, AcceptsFiniteAndEmptyArrays) {
  EXPECT_TRUE(AllFinite(Matrix(0, 3)));
  EXPECT_TRUE(AllFinite(Matrix(3, 0)));
  EXPECT_TRUE(AllFinite(Vector(0)));
  EXPECT_TRUE(AllFinite(testing::Values({kLargest, -kLargest, kSmallest, -0.0})));
}

TEST(AllFinite, FindsABadElementAtEveryPlaceOfEverySize) {
  for (Eigen::Index size = 1; size <= 40; ++size) {
    for (Eigen::Index place = 0; place < size; ++place) {
      for (const double bad : {kNan, kInfinity, -kInfinity}) {
        Vector values = Vector::Constant(size, kLargest);
        values[place] = bad;
        EXPECT_FALSE(AllFinite(values)) << "size " << size << ", place " << place;
      }
    }
  }
}

}  // namespace
}  // namespace velmora::internal
