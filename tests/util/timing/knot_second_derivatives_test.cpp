// The linear system behind the spline, against a dense solve and against one in a wider type.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/knot_second_derivatives.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "oracle/cubic.hpp"
#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/generator.hpp"

namespace velmora::util::timing {
namespace {

using testing::kEpsilon;
using testing::Rows;
using testing::SameBits;
using testing::ToStd;
using testing::ToTable;
using testing::Values;

// Gaussian elimination with row pivoting in `long double`, of the system as the reference assembles it.
std::vector<long double> SolveInLongDouble(const oracle::KnotSystem& system, std::size_t joint) {
  const std::size_t n = system.matrix.rows;
  std::vector<std::vector<long double>> k(n, std::vector<long double>(n + 1));
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) k[i][j] = system.matrix(i, j);
    k[i][n] = system.right_hand_side(i, joint);
  }
  for (std::size_t p = 0; p < n; ++p) {
    std::size_t pivot = p;
    for (std::size_t i = p + 1; i < n; ++i) {
      if (std::fabs(k[i][p]) > std::fabs(k[pivot][p])) pivot = i;
    }
    std::swap(k[p], k[pivot]);
    for (std::size_t i = p + 1; i < n; ++i) {
      const long double factor = k[i][p] / k[p][p];
      if (factor == 0.0L) continue;
      for (std::size_t j = p; j <= n; ++j) k[i][j] -= factor * k[p][j];
    }
  }
  std::vector<long double> m(n);
  for (std::size_t i = n; i-- > 0;) {
    long double sum = k[i][n];
    for (std::size_t j = i + 1; j < n; ++j) sum -= k[i][j] * m[j];
    m[i] = sum / k[i][i];
  }
  return m;
}

Vector IntervalsOf(const Vector& x) { return x.tail(x.size() - 1) - x.head(x.size() - 1); }

TEST(SolveKnotSecondDerivatives, IsConstantForThreeKnots) {
  const Matrix m = SolveKnotSecondDerivatives(Values({1.0, 2.0}), Rows({{0.0, 3.0}, {1.0, 3.0}, {9.0, 3.0}}));
  EXPECT_TRUE(testing::IsNear(Rows({{2.0, 0.0}, {2.0, 0.0}, {2.0, 0.0}}), m, 16.0 * kEpsilon));
}

TEST(SolveKnotSecondDerivatives, HasTheBitsOfTheDenseSolve) {
  for (const std::size_t knots : {3U, 4U, 5U, 6U, 7U, 8U, 15U, 16U, 17U, 33U, 64U, 100U, 200U}) {
    for (const std::size_t joints : {0U, 1U, 2U, 3U, 4U, 7U, 33U}) {
      testing::SplitMix64 random(8300 + 64 * knots + joints);
      const Vector x = RandomTimes(random, knots, testing::RandomTimeFamily(random));
      const Matrix y = RandomMatrix(random, knots, joints, testing::ValueFamily::moderate);
      const Vector h = IntervalsOf(x);
      EXPECT_TRUE(SameBits(oracle::SolveKnotSecondDerivatives(ToStd(h), ToTable(y)), SolveKnotSecondDerivatives(h, y)))
          << knots << " knots, " << joints << " joints";
    }
  }
}

// Backward stable elimination: |error| <= c eps ||K^-1|| (||K|| ||M||). For steps within a factor of 8 the inverse is
// of the order of 1 / h with a modest constant; c = 64 covers it, the scale being the largest |y| and h the shortest
// step.
TEST(SolveKnotSecondDerivatives, IsCloseToASolutionInLongDouble) {
  constexpr double kRoundings = 64.0;
  for (int run = 0; run < 200; ++run) {
    testing::SplitMix64 random(8400 + static_cast<std::uint64_t>(run));
    const std::size_t knots = 3 + random.Below(60);
    const Vector x = RandomTimes(random, knots, testing::TimeFamily::jittered);
    const Matrix y = RandomMatrix(random, knots, 2, testing::ValueFamily::moderate);
    const Vector h = IntervalsOf(x);
    const oracle::KnotSystem system = oracle::AssembleKnotSystem(ToStd(h), ToTable(y));
    Matrix expected(y.rows(), y.cols());
    for (std::size_t j = 0; j < 2; ++j) {
      const std::vector<long double> m = SolveInLongDouble(system, j);
      for (std::size_t i = 0; i < knots; ++i) {
        expected(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(j)) = static_cast<double>(m[i]);
      }
    }
    const double shortest = h.minCoeff();
    const double tolerance = kRoundings * kEpsilon * y.cwiseAbs().maxCoeff() / (shortest * shortest);
    EXPECT_TRUE(testing::IsNear(expected, SolveKnotSecondDerivatives(h, y), tolerance)) << "run " << run;
  }
}

TEST(SolveKnotSecondDerivatives, ReturnsWhatIsNotFiniteAsItComes) {
  const Matrix m = SolveKnotSecondDerivatives(Values({1.0, 1.0, 1.0}), Rows({{-1e308}, {1e308}, {-1e308}, {1e308}}));
  EXPECT_FALSE(m.allFinite());
}

}  // namespace
}  // namespace velmora::util::timing
