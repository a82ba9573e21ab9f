// Reference for the shaping parameters and the smooth ramp.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace velmora::oracle {

/// Throw `Failure` for values that are not admissible.
void ValidateVibrationShapingWeight(double weight);
void ValidateVibrationWeightTransitionS(double transition_s);
void ValidateVibrationWeightRatePerS(double rate_per_s);

double Smootherstep(double unit_progress);

}  // namespace velmora::oracle
