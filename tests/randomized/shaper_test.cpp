// Randomized comparison of the blending routines with the reference.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <variant>
#include <vector>

#include "oracle/blending.hpp"
#include "support/arrays.hpp"
#include "support/generator.hpp"
#include "support/outcome.hpp"
#include "support/random_cases.hpp"
#include "velmora/control/shaper/blending.hpp"
#include "velmora/control/shaper/tail_blend.hpp"

namespace velmora::testing {
namespace {

using native::Matrix;
using native::Vector;
using ::testing::AssertionResult;

double RandomWeight(SplitMix64& random) {
  const std::size_t kind = random.Below(12);
  if (kind == 0) return SpecialValue(random);
  if (kind == 1) return RandomValue(random, ValueFamily::mixed_magnitudes);
  if (kind == 2) return random.OneIn(2) ? 1.0 : 0.0;
  return random.Unit();
}

// Mostly of the case's shape.
Matrix RandomArray(SplitMix64& random, const RandomCase& c) {
  const std::size_t rows = random.OneIn(30) ? c.samples + 1 : c.samples;
  const std::size_t cols = random.OneIn(30) ? c.joints + 1 : c.joints;
  return RandomMatrix(random, rows, cols, RandomValueFamily(random));
}

AssertionResult CompareScalarBlends(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const Matrix raw = RandomArray(random, c);
  const Matrix shaped = RandomArray(random, c);
  const double w = RandomWeight(random);
  return SameOutcome(OutcomeOf([&] { return oracle::BlendArrays(ToTable(raw), ToTable(shaped), w); }),
                     OutcomeOf([&] { return control::shaper::BlendArrays(raw, shaped, w); }));
}

AssertionResult ComparePerSampleBlends(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const Matrix raw = RandomArray(random, c);
  const Matrix shaped = RandomArray(random, c);
  Vector weights(static_cast<Eigen::Index>(random.OneIn(20) ? c.samples + 1 : c.samples));
  for (double& w : weights) w = RandomWeight(random);
  return SameOutcome(OutcomeOf([&] { return oracle::BlendArrays(ToTable(raw), ToTable(shaped), ToStd(weights)); }),
                     OutcomeOf([&] { return control::shaper::BlendArrays(raw, shaped, weights); }));
}

AssertionResult ComparePathCoordinates(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const Matrix positions = RandomMatrix(random, c.samples, c.joints, RandomValueFamily(random));
  return SameBits(oracle::JointPathCoordinate(ToTable(positions)), control::shaper::JointPathCoordinate(positions));
}

AssertionResult CompareTailBlends(const RandomCase& c) {
  SplitMix64 random(c.seed);
  const native::ShapedTrajectory tail{
      RandomArray(random, c), RandomArray(random, c), RandomArray(random, c),
      RandomVector(random, random.OneIn(20) ? c.samples + 1 : c.samples, RandomValueFamily(random))};
  const Vector endpoint = RandomVector(random, random.OneIn(20) ? c.joints + 1 : c.joints, RandomValueFamily(random));
  const double w = RandomWeight(random);
  const oracle::ShapedTrajectory table_tail{ToTable(tail.positions), ToTable(tail.velocities),
                                            ToTable(tail.accelerations), ToStd(tail.time)};
  return SameOutcome(OutcomeOf([&] { return oracle::BlendTailWithHeldRawEndpoint(ToStd(endpoint), table_tail, w); }),
                     OutcomeOf([&] { return control::shaper::BlendTailWithHeldRawEndpoint(endpoint, tail, w); }));
}

constexpr CaseSizes kFromNoSample{0, 300, 33};

TEST(RandomBlends, WithOneWeightEqualTheReference) {
  CheckRandomCases(3'000'000, 14000, kFromNoSample, CompareScalarBlends);
}

TEST(RandomBlends, WithAWeightPerSampleEqualTheReference) {
  CheckRandomCases(3'100'000, 14000, kFromNoSample, ComparePerSampleBlends);
}

TEST(RandomPathCoordinates, EqualTheReference) {
  CheckRandomCases(3'200'000, 12000, kFromNoSample, ComparePathCoordinates);
}

TEST(RandomTailBlends, EqualTheReference) { CheckRandomCases(3'300'000, 12000, kFromNoSample, CompareTailBlends); }

}  // namespace
}  // namespace velmora::testing
