// Not-a-knot cubic splines.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/cubic_spline.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

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

// From 0 to 1 the cubic 1 + 2 dx + 3 dx^2 + 4 dx^3, from 1 to 3 the cubic 10 + 20 dx + 15 dx^2 + 6 dx^3.
const Vector kKnots = Values({0.0, 1.0, 3.0});
const Matrix kValues = Rows({{1.0}, {10.0}, {158.0}});

SplineSamples SamplesOfTwoIntervals(const Vector& queries) {
  return EvaluateCubicSpline(kKnots, kValues, Rows({{6.0}, {30.0}, {102.0}}), queries);
}

SplineSamples SamplesOf(const Vector& x, const Matrix& y, const Vector& queries) {
  return EvaluateCubicSpline(x, y, BuildCubicSpline(x, y), queries);
}

TEST(BuildCubicSpline, ThrowsForFewerThanTwoKnots) {
  ExpectInvalidArgument([] { BuildCubicSpline(Values({1.0}), Rows({{1.0}})); }, kTooFewKnots);
  ExpectInvalidArgument([] { BuildCubicSpline(Vector(0), Matrix(0, 2)); }, kTooFewKnots);
}

TEST(BuildCubicSpline, IsALineForTwoKnots) {
  const Vector x = Values({1.0, 3.0});
  const Matrix y = Rows({{1.0, 0.0}, {5.0, -1.0}});
  const SplineSamples samples = SamplesOf(x, y, Values({1.0, 2.0, 3.0}));
  EXPECT_TRUE(SameBits(Rows({{0.0, 0.0}, {0.0, 0.0}}), BuildCubicSpline(x, y)));
  EXPECT_TRUE(SameBits(Rows({{1.0, 0.0}, {3.0, -0.5}, {5.0, -1.0}}), samples.values));
  EXPECT_TRUE(SameBits(Rows({{2.0, -0.5}, {2.0, -0.5}, {2.0, -0.5}}), samples.first_derivatives));
  EXPECT_TRUE(SameBits(Rows({{0.0, 0.0}, {0.0, 0.0}, {0.0, 0.0}}), samples.second_derivatives));
  EXPECT_TRUE(samples.all_finite);
}

TEST(BuildCubicSpline, TestsNothingForTwoKnots) {
  const Vector x = Values({0.0, 1.0});
  const Matrix y = Rows({{-1e308}, {1e308}});
  const SplineSamples samples = SamplesOf(x, y, Values({0.5}));
  EXPECT_TRUE(SameBits(Rows({{kInfinity}}), samples.first_derivatives));
  EXPECT_FALSE(samples.all_finite);
}

TEST(BuildCubicSpline, IsOneParabolaForThreeKnots) {
  const Vector x = Values({0.0, 1.0, 3.0});
  const Matrix y = Rows({{0.0}, {1.0}, {9.0}});
  constexpr double kTolerance = 16.0 * kEpsilon;
  EXPECT_TRUE(testing::IsNear(Rows({{2.0}, {2.0}, {2.0}}), BuildCubicSpline(x, y), kTolerance));
  EXPECT_TRUE(testing::IsNear(Rows({{0.0}, {2.0}}), SamplesOf(x, y, Values({0.0, 1.0})).first_derivatives, kTolerance));
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
  const Vector x = Values({0.0, 0.25, 0.5});
  const Matrix y = Rows({{0.0}, {2.5e306}, {0.0}});
  EXPECT_TRUE(std::isfinite(BuildCubicSpline(x, y)(0, 0)));
  EXPECT_TRUE(SameBits(Rows({{kInfinity}, {kInfinity}}), SamplesOf(x, y, Values({0.0, 0.25})).first_derivatives))
      << "2 M + M overflows";
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
    const Matrix m = BuildCubicSpline(x, y);
    const Vector queries = Vector::LinSpaced(50, x[0], x[x.size() - 1]);
    Matrix expected[3] = {Matrix(50, 1), Matrix(50, 1), Matrix(50, 1)};
    for (Eigen::Index q = 0; q < 50; ++q) {
      const double s = queries[q];
      expected[0](q, 0) = p[0] + s * (p[1] + s * (p[2] + s * p[3]));
      expected[1](q, 0) = p[1] + s * (2.0 * p[2] + s * 3.0 * p[3]);
      expected[2](q, 0) = 2.0 * p[2] + 6.0 * p[3] * s;
    }
    double tolerance = kRoundings * kEpsilon * scale;
    const SplineSamples samples = EvaluateCubicSpline(x, y, m, queries);
    EXPECT_TRUE(testing::IsNear(expected[0], samples.values, tolerance)) << "run " << run;
    tolerance /= shortest;
    EXPECT_TRUE(testing::IsNear(expected[1], samples.first_derivatives, tolerance)) << "run " << run;
    tolerance /= shortest;
    EXPECT_TRUE(testing::IsNear(expected[2], samples.second_derivatives, tolerance)) << "run " << run;
    tolerance /= shortest;
    const auto third = [&](Eigen::Index i) { return (m(i + 1, 0) - m(i, 0)) / (x[i + 1] - x[i]); };
    const Eigen::Index last = x.size() - 2;
    EXPECT_NEAR(third(0), third(1), tolerance) << "not a knot at the second of them";
    EXPECT_NEAR(third(last - 1), third(last), tolerance) << "not a knot at the last but one";
  }
}

TEST(EvaluateCubicSpline, ChoosesTheIntervalThatStartsAtAnInnerKnot) {
  EXPECT_TRUE(SameBits(Rows({{1.0}, {10.0}}), SamplesOfTwoIntervals(Values({0.0, 1.0})).values));
}

TEST(EvaluateCubicSpline, ContinuesTheOuterPolynomials) {
  const SplineSamples samples = SamplesOfTwoIntervals(Values({-1.0, 3.0, 4.0}));
  EXPECT_TRUE(SameBits(Rows({{-2.0}, {158.0}, {367.0}}), samples.values));
  EXPECT_TRUE(SameBits(Rows({{8.0}, {152.0}, {272.0}}), samples.first_derivatives));
  EXPECT_TRUE(SameBits(Rows({{-18.0}, {102.0}, {138.0}}), samples.second_derivatives));
}

TEST(EvaluateCubicSpline, UsesTheFirstIntervalForNanAndTakesQueriesInAnyOrder) {
  const SplineSamples samples = SamplesOfTwoIntervals(Values({kNan, 1.0, 0.0, kNan, 2.0}));
  EXPECT_TRUE(SameBits(Rows({{kNan}, {10.0}, {1.0}, {kNan}, {51.0}}), samples.values));
  EXPECT_TRUE(SameBits(Rows({{kNan}, {30.0}, {6.0}, {kNan}, {66.0}}), samples.second_derivatives));
  EXPECT_FALSE(samples.all_finite);
}

TEST(EvaluateCubicSpline, StaysInsideWhereTheLastKnotWasOverwritten) {
  const Vector x = Values({0.0, kNan});
  const SplineSamples samples =
      EvaluateCubicSpline(x, Matrix::Ones(2, 1), Matrix::Zero(2, 1), Values({0.1, 0.0, -1.0}));
  EXPECT_TRUE(std::isnan(samples.values(0, 0)));
  EXPECT_FALSE(samples.all_finite);
}

TEST(EvaluateCubicSpline, AcceptsNoQueriesAndNoJoints) {
  EXPECT_TRUE(SameBits(Matrix(0, 1), SamplesOfTwoIntervals(Vector(0)).values));
  EXPECT_TRUE(SamplesOfTwoIntervals(Vector(0)).all_finite);
  const SplineSamples samples = SamplesOf(Values({0.0, 1.0, 2.0, 3.0}), Matrix(4, 0), Values({0.5, 1.5}));
  EXPECT_TRUE(SameBits(Matrix(2, 0), samples.second_derivatives));
  EXPECT_TRUE(samples.all_finite);
}

// Each joint as if it were alone, whatever stretches and blocks of columns it is taken in.
TEST(EvaluateCubicSpline, TakesEveryJointByItself) {
  constexpr Eigen::Index kQueries = 300;
  for (const Eigen::Index joints : {2, 3, 4, 5, 7, 8, 9, 12, 33}) {
    testing::SplitMix64 random(8500 + static_cast<std::uint64_t>(joints));
    const auto matrix = [&] {
      return RandomMatrix(random, 3, static_cast<std::size_t>(joints), testing::ValueFamily::moderate);
    };
    const Matrix y = matrix();
    const Matrix m = matrix();
    Vector queries = Vector::LinSpaced(kQueries, -0.5, 4.0);
    std::swap(queries[7], queries[200]);
    const SplineSamples samples = EvaluateCubicSpline(kKnots, y, m, queries);
    for (Eigen::Index j = 0; j < joints; ++j) {
      const SplineSamples alone = EvaluateCubicSpline(kKnots, y.col(j), m.col(j), queries);
      EXPECT_TRUE(SameBits(alone.values, Matrix(samples.values.col(j))));
      EXPECT_TRUE(SameBits(alone.first_derivatives, Matrix(samples.first_derivatives.col(j))));
      EXPECT_TRUE(SameBits(alone.second_derivatives, Matrix(samples.second_derivatives.col(j))));
    }
  }
}

// Each query as if it were alone, whether many queries share an interval, hardly two do, or intervals are passed over.
TEST(EvaluateCubicSpline, TakesEveryQueryByItself) {
  testing::SplitMix64 random(8600);
  const Vector x = testing::RandomTimes(random, 150, testing::TimeFamily::jittered);
  const double span = x[149] - x[0];
  for (const std::size_t joints : {1, 7}) {
    const Matrix y = RandomMatrix(random, 150, joints, testing::ValueFamily::moderate);
    const Matrix m = BuildCubicSpline(x, y);
    for (const Eigen::Index count : {20, 75, 150, 290, 310, 600}) {
      Vector ascending = Vector::LinSpaced(count, x[0] - 0.1 * span, x[149] + 0.1 * span);
      ascending[count / 2] = x[70];
      for (const std::string kind : {"ascending", "descending", "two exchanged", "with NaN"}) {
        Vector queries = ascending;
        if (kind == "descending") queries.reverseInPlace();
        if (kind == "two exchanged") std::swap(queries[5], queries[count - 8]);
        if (kind == "with NaN") queries[count / 3] = kNan;
        const SplineSamples samples = EvaluateCubicSpline(x, y, m, queries);
        for (Eigen::Index q = 0; q < count; ++q) {
          const SplineSamples alone = EvaluateCubicSpline(x, y, m, Values({queries[q]}));
          ASSERT_TRUE(SameBits(alone.values, Matrix(samples.values.row(q)))) << kind << ", " << q << " of " << count;
          ASSERT_TRUE(SameBits(alone.first_derivatives, Matrix(samples.first_derivatives.row(q))));
          ASSERT_TRUE(SameBits(alone.second_derivatives, Matrix(samples.second_derivatives.row(q))));
        }
      }
    }
  }
}

// In every joint and at every place of a stretch.
TEST(EvaluateCubicSpline, NoticesWhatIsNotFinite) {
  for (const Eigen::Index joints : {1, 3, 4, 7, 8, 13}) {
    for (Eigen::Index joint = 0; joint < joints; ++joint) {
      Matrix y = Matrix::Zero(3, joints);
      const Matrix m = Matrix::Zero(3, joints);
      EXPECT_TRUE(EvaluateCubicSpline(kKnots, y, m, Values({0.5, 1.5})).all_finite);
      y(2, joint) = 1.7e308;
      y(1, joint) = -1.7e308;
      EXPECT_FALSE(EvaluateCubicSpline(kKnots, y, m, Values({0.5, 1.5})).all_finite) << joint << " of " << joints;
      EXPECT_FALSE(EvaluateCubicSpline(kKnots, y, m, Values({1.5, 0.5})).all_finite) << joint << " of " << joints;
    }
  }
}

}  // namespace
}  // namespace velmora::util::timing
