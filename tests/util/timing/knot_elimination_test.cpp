// The elimination of the spline's system, bit for bit against the dense solve that defines it.
#include <gtest/gtest.h>

#include <Eigen/Core>
#include <cmath>
#include <optional>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/generator.hpp"
#include "util/timing/knot_factors.hpp"
#include "util/timing/knot_second_derivatives.hpp"
#include "util/timing/knot_substitution.hpp"

namespace velmora::util::timing {
namespace {

using testing::SameBits;
using testing::SplitMix64;

enum class Steps { uniform, jittered, gaps, uneven, wild, subnormal };
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
    case Steps::subnormal:
      break;
  }
  return std::ldexp(1.0 + random.Unit(), -1000);
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

// The blocks of the dense solve depend on the cache that Eigen finds; the elimination keeps to those of a first-level
// cache of 32 KiB.
class KnotElimination : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { Eigen::setCpuCacheSizes(32 * 1024, 512 * 1024, 8 * 1024 * 1024); }

  static void Check(std::uint64_t seed, Eigen::Index knots, Eigen::Index joints) {
    SplitMix64 random(seed);
    const auto steps = static_cast<Steps>(random.Below(6));
    const auto signal = static_cast<Signal>(random.Below(6));
    Vector h(knots - 1);
    for (double& step : h) step = Step(random, steps);
    Matrix y(knots, joints);
    for (Eigen::Index i = 0; i < knots; ++i) {
      for (Eigen::Index j = 0; j < joints; ++j) y(i, j) = Value(random, signal, i, j);
    }
    ASSERT_TRUE(FactoriseKnotSystem(h).has_value()) << "seed " << seed;
    const Matrix expected = SolveKnotSecondDerivativesDense(h, y);
    const Matrix actual = SolveKnotSecondDerivatives(h, y);
    ASSERT_EQ(expected.allFinite(), actual.allFinite()) << "seed " << seed;
    if (expected.allFinite()) {
      ASSERT_TRUE(SameBits(expected, actual)) << "seed " << seed << ", " << knots << " knots, " << joints << " joints";
    }
  }
};

TEST_F(KnotElimination, HasTheBitsOfTheDenseSolve) {
  for (std::uint64_t seed = 0; seed < 20'000; ++seed) {
    SplitMix64 random(9'000'000 + seed);
    const auto knots = static_cast<Eigen::Index>(kDenseKnots + 1 + random.Below(100));
    Check(seed, knots, static_cast<Eigen::Index>(1 + random.Below(9)));
  }
}

TEST_F(KnotElimination, HasTheBitsOfTheDenseSolveForMoreKnotsThanABlock) {
  for (std::uint64_t seed = 0; seed < 600; ++seed) {
    SplitMix64 random(9'500'000 + seed);
    const auto knots = static_cast<Eigen::Index>(121 + random.Below(480));
    Check(20'000 + seed, knots, static_cast<Eigen::Index>(1 + random.Below(4)));
  }
}

TEST_F(KnotElimination, HasTheBitsOfTheDenseSolveForEveryWidth) {
  for (Eigen::Index joints = 0; joints <= 33; ++joints) {
    for (std::uint64_t seed = 0; seed < 12; ++seed) Check(30'000 + seed, 40 + joints, joints);
  }
}

// A pivot of which the reciprocal overflows, and one that overflows itself.
TEST_F(KnotElimination, LeavesPivotsThatItCannotUseToTheDenseSolve) {
  EXPECT_FALSE(FactoriseKnotSystem(Vector::Constant(40, 5e-324)).has_value());
  EXPECT_FALSE(FactoriseKnotSystem(Vector::Constant(40, 1e308)).has_value());
  const Vector h = Vector::Constant(40, 1e308);
  const Matrix y = Matrix::Constant(41, 2, 1.0);
  EXPECT_TRUE(SameBits(SolveKnotSecondDerivativesDense(h, y), SolveKnotSecondDerivatives(h, y)));
}

// Two steps next to each other so short that the reciprocal of one pivot overflows: the first, an inner one, and those
// of the last rows.
TEST_F(KnotElimination, LeavesASinglePivotThatItCannotUseToTheDenseSolve) {
  for (const Eigen::Index step : {0, 20, 37, 38}) {
    Vector h = Vector::Constant(40, 1.0);
    h.segment<2>(step).setConstant(1e-310);
    EXPECT_FALSE(FactoriseKnotSystem(h).has_value()) << step;
  }
  // Here the first pivot alone: the entry beside it is twice as large.
  Vector h = Vector::Constant(40, 1.0);
  h.head<2>().setConstant(4e-309);
  EXPECT_FALSE(FactoriseKnotSystem(h).has_value());
}

TEST_F(KnotElimination, IsNotFiniteWhereTheDenseSolveIsNot) {
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
TEST_F(KnotElimination, SolvesAMillionKnots) {
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
