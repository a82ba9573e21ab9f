// Not-a-knot cubic splines.
#include "util/timing/cubic_spline.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"
#include "support/generator.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;
using testing::kEpsilon;
using testing::kInfinity;
using testing::kNan;
using testing::Rows;
using testing::SameBits;
using testing::Values;

constexpr char kTooFewKnots[] = "`x` must contain at least 2 elements.";
constexpr char kCoefficients[] = "Cubic-spline construction produced non-finite coefficients.";

CubicSpline TwoIntervals() {
  return {Values({0.0, 1.0, 3.0}), Rows({{1.0}, {10.0}}), Rows({{2.0}, {20.0}}), Rows({{3.0}, {30.0}}),
          Rows({{4.0}, {40.0}})};
}

TEST(BuildCubicSpline, ThrowsForFewerThanTwoKnots) {
  ExpectInvalidArgument([] { BuildCubicSpline(Values({1.0}), Rows({{1.0}})); }, kTooFewKnots);
  ExpectInvalidArgument([] { BuildCubicSpline(Vector(0), Matrix(0, 2)); }, kTooFewKnots);
}

TEST(BuildCubicSpline, IsALineForTwoKnots) {
  const CubicSpline spline = BuildCubicSpline(Values({1.0, 3.0}), Rows({{1.0, 0.0}, {5.0, -1.0}}));
  EXPECT_TRUE(SameBits(Values({1.0, 3.0}), spline.x));
  EXPECT_TRUE(SameBits(Rows({{1.0, 0.0}}), spline.a));
  EXPECT_TRUE(SameBits(Rows({{2.0, -0.5}}), spline.b));
  EXPECT_TRUE(SameBits(Rows({{0.0, 0.0}}), spline.c));
  EXPECT_TRUE(SameBits(Rows({{0.0, 0.0}}), spline.d));
}

TEST(BuildCubicSpline, TestsNothingForTwoKnots) {
  const CubicSpline spline = BuildCubicSpline(Values({0.0, 1.0}), Rows({{-1e308}, {1e308}}));
  EXPECT_TRUE(SameBits(Rows({{kInfinity}}), spline.b));
}

TEST(BuildCubicSpline, IsOneParabolaForThreeKnots) {
  const CubicSpline spline = BuildCubicSpline(Values({0.0, 1.0, 3.0}), Rows({{0.0}, {1.0}, {9.0}}));
  constexpr double kTolerance = 16.0 * kEpsilon;
  EXPECT_TRUE(testing::IsNear(Rows({{1.0}, {1.0}}), spline.c, kTolerance));
  EXPECT_TRUE(testing::IsNear(Rows({{0.0}, {0.0}}), spline.d, kTolerance));
  EXPECT_TRUE(testing::IsNear(Rows({{0.0}, {2.0}}), spline.b, kTolerance));
}

TEST(BuildCubicSpline, ThrowsWhenTheSecondDerivativesAreNotFinite) {
  const Matrix steep = Rows({{0.0, -1e308}, {0.0, 1e308}, {0.0, -1e308}});
  ExpectInvalidArgument([&] { BuildCubicSpline(Values({0.0, 1.0, 2.0}), steep); }, kCoefficients);
  const Matrix positions = Rows({{0.0}, {1.0}, {0.0}, {1.0}, {0.0}});
  ExpectInvalidArgument(
      [&] {
        BuildCubicSpline(Values({0.0, 1e-320, 2e-320, 3e-320, 4e-320}), positions);
      },
      kCoefficients);
}

// The second derivatives, -0.8e308, are finite; what overflows in the coefficients afterwards is not tested here.
TEST(BuildCubicSpline, TestsTheSecondDerivativesOnly) {
  const CubicSpline spline = BuildCubicSpline(Values({0.0, 0.25, 0.5}), Rows({{0.0}, {2.5e306}, {0.0}}));
  EXPECT_TRUE(std::isfinite(spline.c(0, 0)));
  EXPECT_TRUE(SameBits(Rows({{kInfinity}, {kInfinity}}), spline.b)) << "2 M + M overflows";
}

// The error of the computed second derivatives is a few eps times the second differences of the data; each coefficient
// adds a few roundings of its own terms.
TEST(BuildCubicSpline, ReproducesCubicPolynomials) {
  constexpr double kRoundings = 64.0;
  for (int run = 0; run < 300; ++run) {
    testing::SplitMix64 random(8200 + static_cast<std::uint64_t>(run));
    const std::size_t knots = 4 + random.Below(30);
    Vector x(static_cast<Eigen::Index>(knots));
    double t = 0.0;
    double shortest = kInfinity;
    for (Eigen::Index k = 0; k < x.size(); ++k) {
      x[k] = t;
      const double step = (1.0 + static_cast<double>(random.Below(64))) / 64.0;  // every time is exact
      if (k + 1 < x.size()) shortest = std::min(shortest, step);
      t += step;
    }
    const double p[] = {random.Symmetric(), random.Symmetric(), random.Symmetric(), random.Symmetric()};
    Matrix y(x.size(), 1);
    for (Eigen::Index k = 0; k < x.size(); ++k) y(k, 0) = p[0] + x[k] * (p[1] + x[k] * (p[2] + x[k] * p[3]));
    const double scale = y.cwiseAbs().maxCoeff() + 1.0;
    const CubicSpline spline = BuildCubicSpline(x, y);
    const Vector queries = Vector::LinSpaced(50, x[0], x[x.size() - 1]);
    Matrix expected[3] = {Matrix(50, 1), Matrix(50, 1), Matrix(50, 1)};
    for (Eigen::Index q = 0; q < 50; ++q) {
      const double s = queries[q];
      expected[0](q, 0) = p[0] + s * (p[1] + s * (p[2] + s * p[3]));
      expected[1](q, 0) = p[1] + s * (2.0 * p[2] + s * 3.0 * p[3]);
      expected[2](q, 0) = 2.0 * p[2] + 6.0 * p[3] * s;
    }
    double tolerance = kRoundings * kEpsilon * scale;
    for (std::uint32_t order = 0; order < 3; ++order) {
      EXPECT_TRUE(testing::IsNear(expected[order], EvaluateCubicSpline(spline, queries, order), tolerance))
          << "run " << run << ", order " << order;
      tolerance /= shortest;
    }
    const Eigen::Index last = spline.d.rows() - 1;
    const double third_tolerance = kRoundings * kEpsilon * scale / (shortest * shortest * shortest);
    EXPECT_NEAR(spline.d(0, 0), spline.d(1, 0), third_tolerance);
    EXPECT_NEAR(spline.d(last - 1, 0), spline.d(last, 0), third_tolerance);
  }
}

TEST(EvaluateCubicSpline, ChoosesTheIntervalThatStartsAtAnInnerKnot) {
  EXPECT_TRUE(SameBits(Rows({{1.0}, {10.0}}), EvaluateCubicSpline(TwoIntervals(), Values({0.0, 1.0}), 0)));
}

TEST(EvaluateCubicSpline, ContinuesTheOuterPolynomials) {
  const Vector queries = Values({-1.0, 3.0, 4.0});
  EXPECT_TRUE(SameBits(Rows({{-2.0}, {490.0}, {1420.0}}), EvaluateCubicSpline(TwoIntervals(), queries, 0)));
  EXPECT_TRUE(SameBits(Rows({{8.0}, {620.0}, {1280.0}}), EvaluateCubicSpline(TwoIntervals(), queries, 1)));
  EXPECT_TRUE(SameBits(Rows({{-18.0}, {540.0}, {780.0}}), EvaluateCubicSpline(TwoIntervals(), queries, 2)));
}

TEST(EvaluateCubicSpline, GivesSecondDerivativesForEveryOtherOrder) {
  const Vector queries = Values({0.5, 2.0});
  const Matrix second = EvaluateCubicSpline(TwoIntervals(), queries, 2);
  EXPECT_TRUE(SameBits(Rows({{18.0}, {300.0}}), second));
  EXPECT_TRUE(SameBits(second, EvaluateCubicSpline(TwoIntervals(), queries, 3)));
  EXPECT_TRUE(SameBits(second, EvaluateCubicSpline(TwoIntervals(), queries, 4294967295U)));
}

TEST(EvaluateCubicSpline, UsesTheFirstIntervalForNanAndTakesQueriesInAnyOrder) {
  EXPECT_TRUE(
      SameBits(Rows({{kNan}, {10.0}, {1.0}}), EvaluateCubicSpline(TwoIntervals(), Values({kNan, 1.0, 0.0}), 0)));
  CubicSpline spline = TwoIntervals();
  spline.d.setZero();
  EXPECT_TRUE(SameBits(Rows({{kNan}}), EvaluateCubicSpline(spline, Values({kNan}), 2)));
}

TEST(EvaluateCubicSpline, AcceptsNoQueriesAndNoJoints) {
  for (std::uint32_t order = 0; order < 3; ++order) {
    EXPECT_TRUE(SameBits(Matrix(0, 1), EvaluateCubicSpline(TwoIntervals(), Vector(0), order)));
    const CubicSpline spline = BuildCubicSpline(Values({0.0, 1.0, 2.0, 3.0}), Matrix(4, 0));
    EXPECT_TRUE(SameBits(Matrix(2, 0), EvaluateCubicSpline(spline, Values({0.5, 1.5}), order)));
  }
}

}  // namespace
}  // namespace velmora::util::timing
