// Randomized comparison of the trajectory record, differences and limits with the reference.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <optional>

#include "oracle/differentiation.hpp"
#include "oracle/limits.hpp"
#include "oracle/trajectory.hpp"
#include "support/arrays.hpp"
#include "support/generator.hpp"
#include "support/outcome.hpp"
#include "support/random_cases.hpp"
#include "support/resampling_cases.hpp"
#include "velmora/util/timing/differentiation.hpp"
#include "velmora/util/timing/limits.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::testing {
namespace {

using native::Matrix;
using native::Vector;
using ::testing::AssertionResult;
using util::timing::JointStateBox;
using util::timing::JointStateLimits;
using util::timing::JointTrajectory;

struct TrajectoryArguments {
  Matrix positions;
  std::optional<Matrix> velocities;
  std::optional<Matrix> accelerations;
  std::optional<Vector> time;
  std::optional<double> dt;
  std::optional<Matrix> jerks;
};

std::optional<Matrix> RandomDerivative(SplitMix64& random, std::size_t samples, std::size_t joints) {
  if (!random.OneIn(3)) return std::nullopt;
  if (random.OneIn(12)) ++samples;
  if (random.OneIn(12)) ++joints;
  return RandomMatrix(random, samples, joints, RandomValueFamily(random));
}

double RandomSpacing(SplitMix64& random) {
  return random.OneIn(6) ? SpecialValue(random) : std::abs(RandomValue(random, RandomValueFamily(random)));
}

TrajectoryArguments RandomArguments(const RandomCase& c) {
  SplitMix64 random(c.seed);
  TrajectoryArguments given;
  given.positions = RandomMatrix(random, c.samples, c.joints, RandomValueFamily(random));
  given.velocities = RandomDerivative(random, c.samples, c.joints);
  given.accelerations = RandomDerivative(random, c.samples, c.joints);
  given.jerks = RandomDerivative(random, c.samples, c.joints);
  if (!random.OneIn(4)) given.time = RandomTimesOrSpoiled(random, random.OneIn(20) ? c.samples + 1 : c.samples);
  if (!random.OneIn(4)) given.dt = RandomSpacing(random);
  return given;
}

JointTrajectory MakeActual(const TrajectoryArguments& given) {
  return {given.positions, given.velocities, given.accelerations, given.time, given.dt, given.jerks};
}

oracle::Trajectory MakeExpected(const TrajectoryArguments& given) {
  const auto table = [](const std::optional<Matrix>& matrix) {
    return matrix ? std::optional(ToTable(*matrix)) : std::nullopt;
  };
  return oracle::MakeTrajectory(ToTable(given.positions), table(given.velocities), table(given.accelerations),
                                given.time ? std::optional(ToStd(*given.time)) : std::nullopt, given.dt,
                                table(given.jerks));
}

AssertionResult CompareTrajectories(const RandomCase& c) {
  const TrajectoryArguments given = RandomArguments(c);
  return SameOutcome(OutcomeOf([&] { return MakeExpected(given); }), OutcomeOf([&] { return MakeActual(given); }));
}

// Derivatives are asked for in a random order before and after copying, so that copies carry every mixture of them.
AssertionResult CompareCopies(const RandomCase& c) {
  const TrajectoryArguments given = RandomArguments(c);
  auto expected = OutcomeOf([&] { return MakeExpected(given); });
  const auto actual = OutcomeOf([&] { return MakeActual(given); });
  if (expected.failure || actual.failure) return SameOutcome(expected, actual);
  SplitMix64 random(c.seed + 1);
  const std::size_t level = random.Below(4);
  if (level == 1) {
    oracle::Velocities(*expected.value);
    static_cast<void>(actual.value->velocities());
  } else if (level == 2) {
    oracle::Accelerations(*expected.value);
    static_cast<void>(actual.value->accelerations());
  } else if (level == 3) {
    oracle::Jerks(*expected.value);
    static_cast<void>(actual.value->jerks());
  }
  return SameOutcome(OutcomeOf([&] { return oracle::Copy(*expected.value); }),
                     OutcomeOf([&] { return actual.value->Copy(); }));
}

AssertionResult CompareUniformDifferences(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const Matrix signal = RandomMatrix(random, c.samples, c.joints, RandomValueFamily(random));
  const double spacing = RandomSpacing(random);
  return SameOutcome(OutcomeOf([&] { return oracle::SampleAlignedFirstDifference(ToTable(signal), spacing); }),
                     OutcomeOf([&] { return util::timing::SampleAlignedFirstDifference(signal, spacing); }));
}

AssertionResult CompareTimedDifferences(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const Matrix signal = RandomMatrix(random, c.samples, c.joints, RandomValueFamily(random));
  const Vector times = RandomTimesOrSpoiled(random, random.OneIn(20) ? c.samples + 1 : c.samples);
  return SameOutcome(OutcomeOf([&] { return oracle::SampleAlignedFirstDifference(ToTable(signal), ToStd(times)); }),
                     OutcomeOf([&] { return util::timing::SampleAlignedFirstDifference(signal, times); }));
}

AssertionResult CompareBoxes(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const ValueFamily family = RandomValueFamily(random);
  const Vector lower = RandomVector(random, c.joints, family);
  Vector upper = RandomVector(random, random.OneIn(10) ? c.joints + 1 : c.joints, family);
  if (upper.size() == lower.size() && !random.OneIn(5)) {
    for (Eigen::Index j = 0; j < upper.size(); ++j) {
      if (upper[j] < lower[j]) upper[j] = lower[j];
    }
  }
  return SameOutcome(OutcomeOf([&] { oracle::CheckJointStateBox(ToStd(lower), ToStd(upper)); }),
                     OutcomeOf([&] { static_cast<void>(JointStateBox(lower, upper)); }));
}

AssertionResult CompareLimits(const RandomCase& c) {
  SplitMix64 random(c.seed);
  std::array<std::optional<std::size_t>, 4> counts;
  std::array<std::optional<JointStateBox>, 4> boxes;
  for (std::size_t field = 0; field < 4; ++field) {
    if (random.OneIn(3)) continue;
    counts[field] = random.OneIn(8) ? c.joints + 1 : c.joints;
    const Vector limit = Vector::Zero(static_cast<Eigen::Index>(*counts[field]));
    boxes[field] = JointStateBox(limit, limit);
  }
  return SameOutcome(OutcomeOf([&] { oracle::CheckJointStateLimits(counts); }),
                     OutcomeOf([&] { static_cast<void>(JointStateLimits(boxes[0], boxes[1], boxes[2], boxes[3])); }));
}

constexpr CaseSizes kFromNoSample{0, 300, 33};

TEST(RandomTrajectories, AreMadeAsTheReferenceMakesThem) {
  CheckRandomCases(100'000, 12000, kFromNoSample, CompareTrajectories);
}

TEST(RandomTrajectories, AreCopiedAsTheReferenceCopiesThem) {
  CheckRandomCases(200'000, 8000, kFromNoSample, CompareCopies);
}

TEST(RandomDifferences, OfUniformSignalsEqualTheReference) {
  CheckRandomCases(300'000, 6000, kFromNoSample, CompareUniformDifferences);
}

TEST(RandomDifferences, OfTimedSignalsEqualTheReference) {
  CheckRandomCases(400'000, 6000, kFromNoSample, CompareTimedDifferences);
}

TEST(RandomLimits, OfOneQuantityAreJudgedAsTheReferenceJudgesThem) {
  CheckRandomCases(500'000, 6000, {}, CompareBoxes);
}

TEST(RandomLimits, OfAllQuantitiesAreJudgedAsTheReferenceJudgesThem) {
  CheckRandomCases(600'000, 4000, {}, CompareLimits);
}

}  // namespace
}  // namespace velmora::testing
