// The exported forward differences.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/differentiation.hpp"

#include <gtest/gtest.h>

#include <type_traits>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kLargest;
using testing::kNan;
using testing::Rows;
using testing::SameBits;
using testing::Values;

static_assert(std::is_same_v<decltype(static_cast<Matrix (*)(const Matrix&, double)>(SampleAlignedFirstDifference)),
                             Matrix (*)(const Matrix&, double)>);
static_assert(
    std::is_same_v<decltype(static_cast<Matrix (*)(const Matrix&, const Vector&)>(SampleAlignedFirstDifference)),
                   Matrix (*)(const Matrix&, const Vector&)>);

constexpr char kSpacing[] = "sample_spacing must be finite and positive.";
constexpr char kLength[] = "sample_spacing length must match signal samples.";
constexpr char kIncreasing[] = "sample_spacing times must be strictly increasing.";

const Matrix kSquares = Rows({{0.0}, {1.0}, {4.0}, {9.0}});

TEST(SampleAlignedFirstDifference, RepeatsTheLastDifference) {
  EXPECT_TRUE(SameBits(Rows({{1.0}, {3.0}, {5.0}, {5.0}}), SampleAlignedFirstDifference(kSquares, 1.0)));
  EXPECT_TRUE(
      SameBits(Rows({{1.0}, {4.0}, {7.0}, {7.0}}),
               SampleAlignedFirstDifference(Rows({{0.0}, {1.0}, {9.0}, {16.0}}), Values({0.0, 1.0, 3.0, 4.0}))));
}

TEST(SampleAlignedFirstDifference, GivesTwoSamplesTheSameRow) {
  const Matrix signal = Rows({{0.0, 0.0}, {2.0, 4.0}});
  EXPECT_TRUE(SameBits(Rows({{4.0, 8.0}, {4.0, 8.0}}), SampleAlignedFirstDifference(signal, 0.5)));
  EXPECT_TRUE(SameBits(Rows({{4.0, 8.0}, {4.0, 8.0}}), SampleAlignedFirstDifference(signal, Values({0.0, 0.5}))));
}

TEST(SampleAlignedFirstDifference, DividesByTheStepRatherThanMultiplyingByItsReciprocal) {
  const Matrix signal = Rows({{0.0}, {3.0}});
  ASSERT_NE(3.0 / 5.0, 3.0 * (1.0 / 5.0));
  EXPECT_TRUE(SameBits(Rows({{3.0 / 5.0}, {3.0 / 5.0}}), SampleAlignedFirstDifference(signal, 5.0)));
  EXPECT_TRUE(SameBits(Rows({{3.0 / 5.0}, {3.0 / 5.0}}), SampleAlignedFirstDifference(signal, Values({1.0, 6.0}))));
}

TEST(SampleAlignedFirstDifference, GivesZerosForOneSampleBeforeAnyCheck) {
  const Matrix one = Rows({{1.0, kNan}});
  for (const double spacing : {0.5, 0.0, -1.0, kNan, kInfinity}) {
    EXPECT_TRUE(SameBits(Rows({{0.0, 0.0}}), SampleAlignedFirstDifference(one, spacing)));
  }
  for (const Vector& times : {Values({0.0}), Values({kNan}), Values({}), Values({3.0, 2.0, 1.0})}) {
    EXPECT_TRUE(SameBits(Rows({{0.0, 0.0}}), SampleAlignedFirstDifference(one, times)));
  }
}

TEST(SampleAlignedFirstDifference, ChecksTheSpacingBeforeItReturnsNoSamples) {
  EXPECT_TRUE(SameBits(Matrix(0, 3), SampleAlignedFirstDifference(Matrix(0, 3), 0.5)));
  EXPECT_TRUE(SameBits(Matrix(0, 3), SampleAlignedFirstDifference(Matrix(0, 3), Vector(0))));
  for (const double spacing : {0.0, -0.0, -1.0, kNan, kInfinity, -kInfinity}) {
    ExpectInvalidArgument([=] { SampleAlignedFirstDifference(Matrix(0, 3), spacing); }, kSpacing);
    ExpectInvalidArgument([=] { SampleAlignedFirstDifference(kSquares, spacing); }, kSpacing);
  }
  ExpectInvalidArgument([] { SampleAlignedFirstDifference(Matrix(0, 3), Values({1.0})); }, kLength);
}

TEST(SampleAlignedFirstDifference, ThrowsForTimesOfAnotherLengthBeforeTheirOrder) {
  for (const Vector& times : {Values({}), Values({0.0}), Values({2.0, 1.0, 0.0}), Values({0.0, 1.0, 2.0, 3.0, kNan})}) {
    ExpectInvalidArgument([&] { SampleAlignedFirstDifference(kSquares, times); }, kLength);
  }
}

TEST(SampleAlignedFirstDifference, ThrowsForAStepThatIsNotFiniteAndPositive) {
  for (const Vector& times :
       {Values({0.0, 1.0, 1.0, 2.0}), Values({0.0, 1.0, 0.5, 2.0}), Values({0.0, 1.0, kNan, 3.0}),
        Values({kNan, 1.0, 2.0, 3.0}), Values({0.0, 1.0, 2.0, kNan}), Values({0.0, kInfinity, 2.0, 3.0}),
        Values({-kInfinity, 1.0, 2.0, 3.0}), Values({0.0, 1.0, 2.0, kInfinity}),
        Values({-kLargest, kLargest, kLargest, kLargest}), Values({-0.0, 0.0, 1.0, 2.0})}) {
    ExpectInvalidArgument([&] { SampleAlignedFirstDifference(kSquares, times); }, kIncreasing);
  }
}

TEST(SampleAlignedFirstDifference, AppliesTheSameChecksWithoutJoints) {
  EXPECT_TRUE(SameBits(Matrix(3, 0), SampleAlignedFirstDifference(Matrix(3, 0), 0.5)));
  EXPECT_TRUE(SameBits(Matrix(3, 0), SampleAlignedFirstDifference(Matrix(3, 0), Values({0.0, 1.0, 2.0}))));
  ExpectInvalidArgument([] { SampleAlignedFirstDifference(Matrix(3, 0), 0.0); }, kSpacing);
  ExpectInvalidArgument([] { SampleAlignedFirstDifference(Matrix(3, 0), Values({0.0, 1.0})); }, kLength);
  ExpectInvalidArgument([] { SampleAlignedFirstDifference(Matrix(3, 0), Values({0.0, 1.0, 1.0})); }, kIncreasing);
}

TEST(SampleAlignedFirstDifference, DoesNotCheckTheSignal) {
  const Matrix signal = Rows({{0.0}, {kInfinity}, {kInfinity}, {kNan}});
  EXPECT_TRUE(SameBits(Rows({{kInfinity}, {kNan}, {kNan}, {kNan}}), SampleAlignedFirstDifference(signal, 1.0)));
}

}  // namespace
}  // namespace velmora::util::timing
