// Randomized comparison of sampling and resampling with the reference.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/resampling.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>

#include "oracle/cubic.hpp"
#include "oracle/linear.hpp"
#include "oracle/options.hpp"
#include "support/arrays.hpp"
#include "support/generator.hpp"
#include "support/outcome.hpp"
#include "support/random_cases.hpp"
#include "support/resampling_cases.hpp"

namespace velmora::testing {
namespace {

using native::Matrix;
using native::Vector;
using ::testing::AssertionResult;
using util::timing::JointTrajectory;
using util::timing::ResamplingMethod;
using util::timing::ResamplingTimeGridMode;

// Any family but the one with values that the constructor rejects.
ValueFamily FiniteFamily(SplitMix64& random) { return static_cast<ValueFamily>(random.Below(6)); }

struct Trajectories {
  oracle::Trajectory expected;
  JointTrajectory actual;
};

Trajectories RandomTrajectories(SplitMix64& random, const RandomCase& c) {
  const Matrix positions = RandomMatrix(random, c.samples, c.joints, FiniteFamily(random));
  const Vector time = RandomTimes(random, c.samples, RandomTimeFamily(random));
  std::optional<Matrix> velocities;
  std::optional<Matrix> accelerations;
  if (random.OneIn(3)) velocities = RandomMatrix(random, c.samples, c.joints, FiniteFamily(random));
  if (random.OneIn(3)) accelerations = RandomMatrix(random, c.samples, c.joints, FiniteFamily(random));
  const auto table = [](const std::optional<Matrix>& matrix) {
    return matrix ? std::optional(ToTable(*matrix)) : std::nullopt;
  };
  return {oracle::MakeTrajectory(ToTable(positions), table(velocities), table(accelerations), ToStd(time), std::nullopt,
                                 std::nullopt),
          JointTrajectory(positions, velocities, accelerations, time, std::nullopt, std::nullopt)};
}

Vector RandomQueries(SplitMix64& random, const Vector& time) {
  Vector queries(static_cast<Eigen::Index>(random.Below(20)));
  const double start = time[0];
  const double end = time[time.size() - 1];
  for (double& query : queries) {
    const double u = random.Unit();
    query = random.OneIn(3) ? time[static_cast<Eigen::Index>(random.Below(static_cast<std::size_t>(time.size())))]
                            : std::clamp((1.0 - u) * start + u * end, start, end);
    if (random.OneIn(150)) query = RandomValue(random, ValueFamily::mixed_magnitudes);
    if (random.OneIn(150)) query = SpecialValue(random);
  }
  if (!random.OneIn(15)) {
    std::sort(queries.begin(), queries.end());
    const auto end_of_unique = std::unique(queries.begin(), queries.end());
    if (!random.OneIn(15)) queries.conservativeResize(end_of_unique - queries.begin());
  }
  return queries;
}

AssertionResult CompareSampling(const RandomCase& c) {
  SplitMix64 random(c.seed);
  Trajectories trajectories = RandomTrajectories(random, c);
  const Vector queries = RandomQueries(random, trajectories.actual.time);
  const bool derivatives = random.OneIn(2);
  return SameOutcome(
      OutcomeOf([&] { return oracle::SampleTrajectoryAtTimes(trajectories.expected, ToStd(queries), derivatives); }),
      OutcomeOf([&] { return SampleTrajectoryAtTimes(trajectories.actual, queries, derivatives); }));
}

AssertionResult CompareResampling(const RandomCase& c, int method) {
  SplitMix64 random(c.seed);
  const Trajectories trajectories = RandomTrajectories(random, c);
  const Vector& time = trajectories.actual.time;
  const double dt = RandomSampleTime(random, time[time.size() - 1] - time[0]);
  const int mode = RandomGridMode(random);
  const bool strict = random.OneIn(2);
  return SameOutcome(
      OutcomeOf([&] { return oracle::ResampleTrajectory(trajectories.expected, dt, method, mode, strict); }),
      OutcomeOf([&] {
        return ResampleTrajectory(trajectories.actual, dt, static_cast<ResamplingMethod>(method),
                                  static_cast<ResamplingTimeGridMode>(mode), strict);
      }));
}

AssertionResult CompareLinearResampling(const RandomCase& c) { return CompareResampling(c, 0); }

AssertionResult CompareCubicResampling(const RandomCase& c) { return CompareResampling(c, c.seed % 16 == 0 ? 5 : 1); }

AssertionResult CompareParsing(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const char* const names[] = {"linear",
                               "cubic",
                               "exact_dt_append_endpoint",
                               "exact_dt_trim",
                               "exact_duration_adjust_dt",
                               "exact_dt_extend_endpoint"};
  std::string text = names[random.Below(6)];
  if (random.OneIn(2)) text[random.Below(text.size())] = static_cast<char>(1 + random.Below(255));
  if (random.OneIn(4)) text.resize(random.Below(text.size() + 2), ' ');
  const auto method =
      SameOutcome(OutcomeOf([&] { return static_cast<double>(oracle::ParseResamplingMethod(text)); }),
                  OutcomeOf([&] { return static_cast<double>(util::timing::ParseResamplingMethod(text)); }));
  if (!method) return method;
  return SameOutcome(OutcomeOf([&] { return static_cast<double>(oracle::ParseResamplingTimeGridMode(text)); }),
                     OutcomeOf([&] { return static_cast<double>(util::timing::ParseResamplingTimeGridMode(text)); }));
}

TEST(RandomSampling, EqualsTheReference) { CheckRandomCases(1'000'000, 10000, {}, CompareSampling); }

TEST(RandomLinearResampling, EqualsTheReference) { CheckRandomCases(1'100'000, 10000, {}, CompareLinearResampling); }

TEST(RandomCubicResampling, EqualsTheReference) {
  CheckRandomCases(1'200'000, 8000, {1, 60, 33}, CompareCubicResampling);
}

TEST(RandomCubicResampling, EqualsTheReferenceForLongTrajectories) {
  CheckRandomCases(1'300'000, 60, {100, 300, 9}, CompareCubicResampling);
}

TEST(RandomOptionTexts, AreParsedAsTheReferenceParsesThem) { CheckRandomCases(1'400'000, 4000, {}, CompareParsing); }

}  // namespace
}  // namespace velmora::testing
