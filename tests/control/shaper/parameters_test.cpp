// The validators of the shaping parameters.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/control/shaper/parameters.hpp"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "support/arrays.hpp"
#include "support/expect_throws.hpp"

namespace velmora::control::shaper {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kLargest;
using testing::kNan;
using testing::kSmallest;

using Validator = void (*)(double);

static_assert(std::is_same_v<decltype(&ValidateVibrationShapingWeight), Validator>);
static_assert(std::is_same_v<decltype(&ValidateVibrationWeightTransitionS), Validator>);
static_assert(std::is_same_v<decltype(&ValidateVibrationWeightRatePerS), Validator>);

void ExpectAccepted(Validator validate, const std::vector<double>& values) {
  for (const double value : values) EXPECT_NO_THROW(validate(value)) << value;
}

void ExpectRejected(Validator validate, const std::vector<double>& values, const std::string& message) {
  for (const double value : values) ExpectInvalidArgument([=] { validate(value); }, message);
}

TEST(ValidateVibrationShapingWeight, AcceptsTheClosedUnitInterval) {
  ExpectAccepted(ValidateVibrationShapingWeight, {0.0, -0.0, kSmallest, 0.5, 1.0});
}

TEST(ValidateVibrationShapingWeight, RejectsEverythingElseWithOneMessage) {
  ExpectRejected(ValidateVibrationShapingWeight,
                 {1.0000000000000002, -1e-300, -kSmallest, 2.0, kLargest, -kLargest, kNan, kInfinity, -kInfinity},
                 "vibration_shaping_weight must be in [0.0, 1.0]");
}

TEST(ValidateVibrationWeightTransitionS, AcceptsZeroAndEveryFinitePositiveDuration) {
  ExpectAccepted(ValidateVibrationWeightTransitionS, {0.0, -0.0, kSmallest, 1.0, kLargest});
}

TEST(ValidateVibrationWeightTransitionS, RejectsEverythingElseWithOneMessage) {
  ExpectRejected(ValidateVibrationWeightTransitionS, {-kSmallest, -1.0, -kLargest, kNan, kInfinity, -kInfinity},
                 "vibration_weight_transition_s must be non-negative");
}

TEST(ValidateVibrationWeightRatePerS, AcceptsEveryFinitePositiveRate) {
  ExpectAccepted(ValidateVibrationWeightRatePerS, {kSmallest, 1e-300, 1.0, kLargest});
}

TEST(ValidateVibrationWeightRatePerS, RejectsEverythingElseWithOneMessage) {
  ExpectRejected(ValidateVibrationWeightRatePerS, {0.0, -0.0, -kSmallest, -1.0, kNan, kInfinity, -kInfinity},
                 "vibration_weight_rate_per_s must be positive");
}

}  // namespace
}  // namespace velmora::control::shaper
