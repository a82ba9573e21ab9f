// Reference for the shaping parameters and the smooth ramp.
// SPDX-License-Identifier: Apache-2.0
#include "oracle/parameters.hpp"

#include <cmath>

#include "oracle/failure.hpp"
#include "oracle/finiteness.hpp"

namespace velmora::oracle {

void ValidateVibrationShapingWeight(double weight) {
  const bool admissible = IsFiniteScalar(weight) && weight >= 0.0 && weight <= 1.0;
  if (!admissible) Fail("vibration_shaping_weight must be in [0.0, 1.0]");
}

void ValidateVibrationWeightTransitionS(double transition_s) {
  const bool admissible = IsFiniteScalar(transition_s) && transition_s >= 0.0;
  if (!admissible) Fail("vibration_weight_transition_s must be non-negative");
}

void ValidateVibrationWeightRatePerS(double rate_per_s) {
  const bool admissible = IsFiniteScalar(rate_per_s) && rate_per_s > 0.0;
  if (!admissible) Fail("vibration_weight_rate_per_s must be positive");
}

double Smootherstep(double unit_progress) {
  if (!IsFiniteScalar(unit_progress)) {
    throw Failure{FailureKind::invalid_argument, "unit_progress must be finite", "unit_progress"};
  }
  double x = unit_progress;
  if (x < 0.0) x = 0.0;
  if (x > 1.0) x = 1.0;
  const double p = std::fma(x, 6.0, -15.0);
  const double square = x * x;
  const double c = square * x;
  const double q = std::fma(p, x, 10.0);
  return c * q;
}

}  // namespace velmora::oracle
