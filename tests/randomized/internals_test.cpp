// Randomized comparison of the routines behind the interface with the reference.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "oracle/cubic.hpp"
#include "oracle/differentiation.hpp"
#include "oracle/linear.hpp"
#include "oracle/time_grid.hpp"
#include "support/arrays.hpp"
#include "support/generator.hpp"
#include "support/outcome.hpp"
#include "support/random_cases.hpp"
#include "support/resampling_cases.hpp"
#include "util/timing/cubic_spline.hpp"
#include "util/timing/knot_second_derivatives.hpp"
#include "util/timing/linear_interpolation.hpp"
#include "util/timing/three_point_derivative.hpp"
#include "util/timing/time_grid.hpp"

namespace velmora::testing {
namespace {

using native::Matrix;
using native::Vector;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;
using util::timing::ResamplingTimeGridMode;

AssertionResult CompareThreePointDerivatives(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const Matrix signal = RandomMatrix(random, c.samples, c.joints, RandomValueFamily(random));
  const Vector time = RandomTimes(random, c.samples, RandomTimeFamily(random));
  return SameBits(oracle::ThreePointSampleDerivative(ToTable(signal), ToStd(time)),
                  util::timing::ThreePointSampleDerivative(signal, time));
}

AssertionResult CompareGrids(const RandomCase& c) {
  SplitMix64 random(c.seed);
  Vector ends = RandomTimes(random, 2, RandomTimeFamily(random));
  if (random.OneIn(20)) SpoilTimes(random, ends);
  const double dt = RandomSampleTime(random, ends[1] - ends[0]);
  const int mode = RandomGridMode(random);
  return SameOutcome(
      OutcomeOf([&] { return oracle::BuildResamplingTimeGrid(ends[0], ends[1], dt, mode); }), OutcomeOf([&] {
        return util::timing::BuildResamplingTimeGrid(ends[0], ends[1], dt, static_cast<ResamplingTimeGridMode>(mode));
      }));
}

AssertionResult CompareInterpolatedRows(const RandomCase& c) {
  SplitMix64 random(c.seed);
  Vector time = RandomTimes(random, c.samples, RandomTimeFamily(random));
  if (random.OneIn(4)) {
    for (Eigen::Index i = 1; i < time.size(); ++i) {
      if (random.OneIn(3)) time[i] = time[i - 1];
    }
  }
  const Matrix values = RandomMatrix(random, c.samples, c.joints, RandomValueFamily(random));
  Vector queries(static_cast<Eigen::Index>(random.Below(30)));
  for (double& query : queries) {
    const double u = 1.5 * random.Unit() - 0.25;
    query = (1.0 - u) * time[0] + u * time[time.size() - 1];
    if (random.OneIn(4)) query = time[static_cast<Eigen::Index>(random.Below(c.samples))];
    if (random.OneIn(10)) query = SpecialValue(random);
  }
  return SameBits(oracle::InterpolateRowsLinear(ToStd(queries), ToStd(time), ToTable(values)),
                  util::timing::InterpolateRowsLinear(queries, time, values).values);
}

AssertionResult CompareSplines(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const Vector x = RandomTimes(random, c.samples, RandomTimeFamily(random));
  const Matrix y = RandomMatrix(random, c.samples, c.joints, RandomValueFamily(random));
  const auto expected = OutcomeOf([&] { return oracle::BuildCubicSpline(ToStd(x), ToTable(y)); });
  const auto actual = OutcomeOf([&] { return util::timing::BuildCubicSpline(x, y); });
  if (expected.failure != actual.failure) {
    return ::testing::AssertionFailure() << "expected " << Describe(expected.failure) << ", actual "
                                         << Describe(actual.failure);
  }
  if (expected.failure) return AssertionSuccess();
  Vector queries(static_cast<Eigen::Index>(random.Below(random.OneIn(4) ? 300 : 20)));
  const bool ascending = random.OneIn(2);
  for (Eigen::Index q = 0; q < queries.size(); ++q) {
    double& query = queries[q];
    const double share =
        ascending ? (static_cast<double>(q) + random.Unit()) / static_cast<double>(queries.size()) : random.Unit();
    const double u = 1.5 * share - 0.25;
    query = random.OneIn(ascending ? 60 : 3) ? x[static_cast<Eigen::Index>(random.Below(c.samples))]
                                             : (1.0 - u) * x[0] + u * x[x.size() - 1];
    if (random.OneIn(ascending ? 200 : 20)) query = SpecialValue(random);
  }
  const util::timing::SplineSamples samples = util::timing::EvaluateCubicSpline(x, y, *actual.value, queries);
  const Matrix* const orders[] = {&samples.values, &samples.first_derivatives, &samples.second_derivatives};
  bool all_finite = true;
  for (std::uint32_t order = 0; order < 3; ++order) {
    auto same = SameBits(oracle::EvaluateCubicSpline(*expected.value, ToStd(queries), order), *orders[order]);
    if (!same) return same << " in derivative " << order;
    all_finite = all_finite && orders[order]->allFinite();
  }
  if (samples.all_finite && !all_finite) return ::testing::AssertionFailure() << "not every sample is finite";
  return AssertionSuccess();
}

AssertionResult CompareKnotSecondDerivatives(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const Vector x = RandomTimes(random, c.samples, RandomTimeFamily(random));
  const Matrix y = RandomMatrix(random, c.samples, c.joints, RandomValueFamily(random));
  const Vector h = x.tail(x.size() - 1) - x.head(x.size() - 1);
  return SameBitsIfFinite(oracle::SolveKnotSecondDerivatives(ToStd(h), ToTable(y)),
                          util::timing::SolveKnotSecondDerivatives(h, y));
}

TEST(RandomThreePointDerivatives, EqualTheReference) {
  CheckRandomCases(2'000'000, 10000, {}, CompareThreePointDerivatives);
}

TEST(RandomGrids, EqualTheReference) { CheckRandomCases(2'100'000, 24000, {}, CompareGrids); }

TEST(RandomInterpolatedRows, EqualTheReference) { CheckRandomCases(2'200'000, 10000, {}, CompareInterpolatedRows); }

TEST(RandomSplines, EqualTheReference) { CheckRandomCases(2'300'000, 6000, {1, 60, 33}, CompareSplines); }

TEST(RandomKnotSecondDerivatives, EqualTheReference) {
  CheckRandomCases(2'400'000, 4000, {3, 90, 33}, CompareKnotSecondDerivatives);
}

TEST(RandomKnotSecondDerivatives, EqualTheReferenceForManyKnots) {
  CheckRandomCases(2'500'000, 60, {100, 300, 33}, CompareKnotSecondDerivatives);
}

}  // namespace
}  // namespace velmora::testing
