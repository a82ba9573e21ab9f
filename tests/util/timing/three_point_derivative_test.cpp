// The derivative scheme of the trajectory.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/three_point_derivative.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/generator.hpp"

namespace velmora::util::timing {
namespace {

using testing::kEpsilon;
using testing::kInfinity;
using testing::kNan;
using testing::Rows;
using testing::SameBits;
using testing::Values;

TEST(ThreePointSampleDerivative, GivesZerosForOneSample) {
  EXPECT_TRUE(SameBits(Rows({{0.0, 0.0}}), ThreePointSampleDerivative(Rows({{3.0, kNan}}), Values({7.0}))));
}

TEST(ThreePointSampleDerivative, GivesTwoSamplesTheSameQuotient) {
  EXPECT_TRUE(SameBits(Rows({{4.0, 8.0}, {4.0, 8.0}}),
                       ThreePointSampleDerivative(Rows({{0.0, 0.0}, {2.0, 4.0}}), Values({0.0, 0.5}))));
  ASSERT_NE(3.0 / 5.0, 3.0 * (1.0 / 5.0));
  EXPECT_TRUE(
      SameBits(Rows({{3.0 / 5.0}, {3.0 / 5.0}}), ThreePointSampleDerivative(Rows({{0.0}, {3.0}}), Values({0.0, 5.0}))));
}

TEST(ThreePointSampleDerivative, IsExactForASquareOnUniformTimes) {
  EXPECT_TRUE(SameBits(Rows({{0.0}, {2.0}, {4.0}, {6.0}}),
                       ThreePointSampleDerivative(Rows({{0.0}, {1.0}, {4.0}, {9.0}}), Values({0.0, 1.0, 2.0, 3.0}))));
}

TEST(ThreePointSampleDerivative, IsExactUpToRoundingForASquareOnUnevenTimes) {
  const Matrix derivative =
      ThreePointSampleDerivative(Rows({{0.0}, {1.0}, {9.0}, {16.0}}), Values({0.0, 1.0, 3.0, 4.0}));
  EXPECT_TRUE(testing::IsNear(Rows({{0.0}, {2.0}, {6.0}, {8.0}}), derivative, 4.0 * 24.0 * kEpsilon));
}

// Rounding of each weight, product and sample is bounded by a few eps of (weight * sample); 16 counts them generously.
TEST(ThreePointSampleDerivative, DifferentiatesQuadraticsOnAnyTimes) {
  constexpr double kRoundings = 16.0;
  for (int run = 0; run < 400; ++run) {
    testing::SplitMix64 random(8000 + static_cast<std::uint64_t>(run));
    const auto family = static_cast<testing::TimeFamily>(random.Below(3));
    const Vector time = RandomTimes(random, 3 + random.Below(40), family);
    const double a = random.Symmetric();
    const double b = random.Symmetric();
    const double c = random.Symmetric();
    Matrix signal(time.size(), 1);
    Matrix expected(time.size(), 1);
    double scale = 0.0;
    double shortest = kInfinity;
    for (Eigen::Index i = 0; i < time.size(); ++i) {
      const double t = time[i] - time[0];
      signal(i, 0) = a + t * (b + t * c);
      expected(i, 0) = b + 2.0 * c * t;
      scale = std::max(scale, std::abs(a) + std::abs(t) * (std::abs(b) + std::abs(t * c)));
      if (i > 0) shortest = std::min(shortest, time[i] - time[i - 1]);
    }
    const double stamp_error = kEpsilon * time.cwiseAbs().maxCoeff() / shortest * (std::abs(b) + std::abs(c)) * 8.0;
    const double tolerance = kRoundings * kEpsilon * scale / shortest * 4.0 + stamp_error;
    EXPECT_TRUE(testing::IsNear(expected, ThreePointSampleDerivative(signal, time), tolerance)) << "run " << run;
  }
}

TEST(ThreePointSampleDerivative, PropagatesWhatIsNotFiniteToTheNeighbours) {
  const Vector time = Values({0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
  Matrix signal = Matrix::Zero(7, 1);
  signal(3, 0) = kNan;
  const Matrix derivative = ThreePointSampleDerivative(signal, time);
  EXPECT_TRUE(SameBits(Rows({{0.0}, {0.0}, {kNan}, {kNan}, {kNan}, {0.0}, {0.0}}), derivative));
}

TEST(ThreePointSampleDerivative, AcceptsNoJoints) {
  for (const Eigen::Index samples : {1, 2, 3, 5}) {
    EXPECT_TRUE(SameBits(Matrix(samples, 0),
                         ThreePointSampleDerivative(Matrix(samples, 0), Vector::LinSpaced(samples, 0.0, 1.0))));
  }
}

}  // namespace
}  // namespace velmora::util::timing
