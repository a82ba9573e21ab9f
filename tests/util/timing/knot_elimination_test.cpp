// The elimination of the spline's system, bit for bit against the dense solve that defines it, entry by entry and as a
// whole, and against another dense solve.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "oracle/cubic.hpp"
#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/generator.hpp"
#include "util/timing/dense_solve.hpp"
#include "util/timing/knot_factors.hpp"
#include "util/timing/knot_second_derivatives.hpp"

namespace velmora::util::timing {
namespace {

using testing::SameBits;
using testing::SameBitsIfFinite;
using testing::SplitMix64;
using testing::ToStd;
using testing::ToTable;

enum class Steps { uniform, jittered, gaps, uneven, wild, tiny, subnormal, huge, ties };
enum class Signal { noise, smooth, mixed, constant, signed_zeros, only_zeros };

double Step(SplitMix64& random, Steps family) {
  switch (family) {
    case Steps::uniform:
      return 0.004;
    case Steps::jittered:
      return 0.004 * (0.5 + random.Unit());
    case Steps::gaps:
      return (random.Below(20) == 0 ? 0.5 : 0.004) * (1.0 + 0.01 * random.Unit());
    case Steps::uneven:
      return std::exp(8.0 * random.Symmetric());
    case Steps::wild:
      return std::exp(20.0 * random.Symmetric());
    case Steps::tiny:
      return std::ldexp(1.0 + random.Unit(), -1000);
    case Steps::subnormal:  // where the reciprocals of pivots overflow, some of them
      return std::ldexp(1.0 + random.Unit(), -1020 - static_cast<int>(random.Below(50)));
    case Steps::huge:  // where pivots overflow, some of them
      return random.Below(3) == 0 ? std::ldexp(1.0 + random.Unit(), 1022) : std::exp(300.0 * random.Symmetric());
    case Steps::ties:
      break;
  }
  return static_cast<double>(1 + random.Below(4));
}

double Value(SplitMix64& random, Signal family, Eigen::Index i, Eigen::Index j) {
  switch (family) {
    case Signal::noise:
      return random.Symmetric();
    case Signal::smooth:
      return std::sin(0.1 * static_cast<double>(i) + static_cast<double>(j));
    case Signal::mixed:
      return random.Symmetric() * std::exp(15.0 * random.Symmetric());
    case Signal::constant:
      return j % 2 == 1 ? 1.5 : random.Symmetric();
    case Signal::only_zeros:
      return random.Below(3) == 0 ? -0.0 : 0.0;
    case Signal::signed_zeros:
      break;
  }
  if (random.Below(3) == 0) return -0.0;
  return random.Below(2) == 0 ? 0.0 : std::round(3.0 * random.Symmetric());
}

Vector RandomIntervals(SplitMix64& random, Eigen::Index knots) {
  const auto family = static_cast<Steps>(random.Below(9));
  Vector h(knots - 1);
  for (double& step : h) step = Step(random, family);
  return h;
}

void CheckSolution(std::uint64_t seed, Eigen::Index knots, Eigen::Index joints) {
  SplitMix64 random(seed);
  const Vector h = RandomIntervals(random, knots);
  const auto signal = static_cast<Signal>(random.Below(6));
  Matrix y(knots, joints);
  for (Eigen::Index i = 0; i < knots; ++i) {
    for (Eigen::Index j = 0; j < joints; ++j) y(i, j) = Value(random, signal, i, j);
  }
  const Matrix definition = SolveKnotSecondDerivativesDense(h, y);
  ASSERT_TRUE(SameBitsIfFinite(definition, SolveKnotSecondDerivatives(h, y)))
      << "seed " << seed << ", " << knots << " knots, " << joints << " joints";
  ASSERT_TRUE(SameBitsIfFinite(oracle::SolveKnotSecondDerivatives(ToStd(h), ToTable(y)), definition))
      << "seed " << seed << ", " << knots << " knots, " << joints << " joints, against another dense solve";
}

TEST(KnotElimination, HasTheBitsOfTheDenseSolve) {
  for (std::uint64_t seed = 0; seed < 20'000; ++seed) {
    SplitMix64 random(9'000'000 + seed);
    const auto knots = static_cast<Eigen::Index>(3 + random.Below(40));
    CheckSolution(seed, knots, static_cast<Eigen::Index>(1 + random.Below(9)));
  }
}

TEST(KnotElimination, HasTheBitsOfTheDenseSolveForMoreKnotsThanABlock) {
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    SplitMix64 random(9'500'000 + seed);
    const auto knots = static_cast<Eigen::Index>(121 + random.Below(240));
    CheckSolution(20'000 + seed, knots, static_cast<Eigen::Index>(1 + random.Below(4)));
  }
}

TEST(KnotElimination, HasTheBitsOfTheDenseSolveForEveryWidth) {
  for (Eigen::Index joints = 0; joints <= 33; ++joints) {
    for (std::uint64_t seed = 0; seed < 12; ++seed) CheckSolution(30'000 + seed, 40 + joints, joints);
  }
}

// Every entry, the signs of zeros too, where the system is: found from what the factorisation does to unit vectors.
TEST(KnotElimination, HasTheFactorsOfTheDenseSolve) {
  for (std::uint64_t seed = 0; seed < 2'000; ++seed) {
    SplitMix64 random(9'700'000 + seed);
    const auto knots = static_cast<Eigen::Index>(kDenseKnots + 1 + random.Below(20));
    const Vector h = RandomIntervals(random, knots);
    Matrix dense = KnotSystem(h);
    Matrix rows = Matrix::Identity(knots, knots);
    FactoriseDense(dense, rows);
    if (!dense.allFinite()) continue;
    const KnotFactors factors = FactoriseKnotSystem(h);
    for (Eigen::Index i = 0; i < knots; ++i) {
      for (Eigen::Index c = 0; c < knots; ++c) {
        ASSERT_TRUE(SameBits(dense(i, c), factors(i, c))) << "seed " << seed << ", entry " << i << ", " << c;
      }
    }
    EXPECT_EQ(rows(0, 1) == 1.0, factors.first_exchanged) << "seed " << seed;
    EXPECT_EQ(rows(knots - 1, knots - 3) == 1.0, factors.last_exchanged) << "seed " << seed;
  }
}

// The first entry of the largest magnitude is the pivot, so a row is exchanged for a larger entry only.
TEST(KnotElimination, ExchangesNoRowsOnATie) {
  EXPECT_FALSE(FactoriseKnotSystem(Vector::Constant(6, 1.0)).first_exchanged);
  Vector h = Vector::Constant(6, 1.0);
  const double pivot = 1.0 / FactoriseKnotSystem(h).inverse_pivot[4];
  for (const double last : {std::nextafter(pivot, 0.0), pivot, std::nextafter(pivot, 8.0)}) {
    h[5] = last;
    EXPECT_EQ(FactoriseKnotSystem(h).last_exchanged, last > pivot) << last - pivot;
  }
}

// A pivot whose reciprocal overflows makes its row of every solution infinite, or not a number where the rest is zero.
TEST(KnotElimination, IsNotFiniteWhereTheReciprocalOfAPivotOverflows) {
  for (const Eigen::Index step : {0, 20, 37, 38}) {
    Vector h = Vector::Constant(40, 1.0);
    h.segment<2>(step).setConstant(1e-310);
    EXPECT_FALSE(SolveKnotSecondDerivatives(h, Matrix::Zero(41, 2)).allFinite()) << step;
    EXPECT_FALSE(SolveKnotSecondDerivativesDense(h, Matrix::Zero(41, 2)).allFinite()) << step;
    EXPECT_EQ(SolveKnotSecondDerivatives(h, Matrix(41, 0)).rows(), 41) << "without joints nothing is not finite";
  }
  EXPECT_FALSE(SolveKnotSecondDerivatives(Vector::Constant(40, 5e-324), Matrix::Zero(41, 1)).allFinite());
}

// A pivot that overflows itself has the reciprocal zero, and so has its knot's second derivative.
TEST(KnotElimination, MayBeFiniteWhereAPivotOverflows) {
  Vector h = Vector::Constant(40, 1e292);
  h.segment<2>(20).setConstant(8e307);
  Matrix y = Matrix::Zero(41, 1);
  y.col(0).setLinSpaced(0.0, 1.0);
  const Matrix m = SolveKnotSecondDerivatives(h, y);
  EXPECT_TRUE(m.allFinite());
  EXPECT_EQ(m(21, 0), 0.0);
  EXPECT_TRUE(SameBits(SolveKnotSecondDerivativesDense(h, y), m));
}

TEST(KnotElimination, IsNotFiniteWhereAnIntervalOverflows) {
  for (const Eigen::Index step : {0, 1, 2, 20, 37, 38, 39}) {
    Vector h = Vector::Constant(40, 1e307);
    h[step] = testing::kInfinity;
    EXPECT_FALSE(SolveKnotSecondDerivatives(h, Matrix::Zero(41, 2)).allFinite()) << step;
    EXPECT_FALSE(SolveKnotSecondDerivativesDense(h, Matrix::Zero(41, 2)).allFinite()) << step;
  }
}

TEST(KnotElimination, IsNotFiniteWhereTheDenseSolveIsNot) {
  const Vector h = Vector::Constant(40, 1.0);
  for (const Eigen::Index knot : {0, 1, 20, 39, 40}) {
    Matrix y = Matrix::Zero(41, 2);
    y(knot, 1) = 1.7e308;
    y(knot == 0 ? 1 : knot - 1, 1) = -1.7e308;
    EXPECT_FALSE(SolveKnotSecondDerivativesDense(h, y).allFinite());
    EXPECT_FALSE(SolveKnotSecondDerivatives(h, y).allFinite());
  }
}

// Longer than any dense solve: held to the equations themselves. Each residual is a few roundings of its largest term.
TEST(KnotElimination, SolvesAMillionKnots) {
  constexpr Eigen::Index kKnots = 1'000'000;
  SplitMix64 random(9'900'000);
  Vector h(kKnots - 1);
  for (double& step : h) step = Step(random, Steps::jittered);
  Matrix y(kKnots, 7);
  for (Eigen::Index i = 0; i < kKnots; ++i) {
    for (Eigen::Index j = 0; j < 7; ++j) y(i, j) = Value(random, Signal::noise, i, j);
  }
  const Matrix m = SolveKnotSecondDerivatives(h, y);
  constexpr double kRoundings = 16.0;
  for (Eigen::Index i = 1; i + 1 < kKnots; ++i) {
    for (Eigen::Index j = 0; j < 7; ++j) {
      const double right_hand_side = 6.0 * ((y(i + 1, j) - y(i, j)) / h[i] - (y(i, j) - y(i - 1, j)) / h[i - 1]);
      const double terms[] = {h[i - 1] * m(i - 1, j), 2.0 * (h[i - 1] + h[i]) * m(i, j), h[i] * m(i + 1, j)};
      const double scale = std::abs(right_hand_side) + std::abs(terms[0]) + std::abs(terms[1]) + std::abs(terms[2]);
      ASSERT_LE(std::abs(terms[0] + terms[1] + terms[2] - right_hand_side), kRoundings * testing::kEpsilon * scale)
          << "knot " << i << ", joint " << j;
    }
  }
}

}  // namespace
}  // namespace velmora::util::timing
