// Input shaping: a command that excites no vibration, as a weighted sum of delayed copies of itself.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "velmora/native/shaped_trajectory.hpp"
#include "velmora/util/timing/trajectory.hpp"
#include "vibration_mode.hpp"

namespace velmora::examples {

using native::Vector;

/// One copy of the command: its share and how much later it runs.
struct ShaperImpulse {
  double amplitude;  ///< share of this copy; the shares of a shaper add up to 1
  double delay_s;    ///< not negative; the first copy has none
};

/// Impulses in the order of their delays.
using InputShaper = std::vector<ShaperImpulse>;

/// Two impulses half a damped period apart, whose vibrations cancel (zero vibration).
///
/// With K = exp(-zeta pi / sqrt(1 - zeta^2)), by which a free oscillation decays in half a period:
/// amplitudes 1, K over (1 + K) at 0, Td/2.
/// Source: N. C. Singer, W. P. Seering, "Preshaping command inputs to reduce system vibration", Journal of Dynamic
/// Systems, Measurement, and Control 112 (1990); also for `ZeroVibrationDerivativeShaper`.
InputShaper ZeroVibrationShaper(const VibrationMode& mode);

/// Three impulses, for which the vibration also has zero slope over the frequency of the mode, so that an error in the
/// modelled frequency matters less: amplitudes 1, 2K, K^2 over (1 + K)^2 at 0, Td/2, Td.
InputShaper ZeroVibrationDerivativeShaper(const VibrationMode& mode);

/// How much longer a shaped command takes: the delay of the last impulse.
double AddedDuration_s(const InputShaper& shaper);

/// The sample times of the tail that shaping appends to a command: every `sample_time_s` after `raw_end_time_s`, the
/// last one at the end of the shaped command or less than one step after it.
/// @throws std::length_error for more than ten million samples
Vector TailTimes_s(double raw_end_time_s, double added_duration_s, double sample_time_s);

/// The shaped copy of `raw` at its own sample times, followed by `tail_time_s`.
///
/// Every delayed copy is sampled at its exact times `time - delay`, between the samples of `raw` where they fall there:
/// a delay rounded to whole samples would model another frequency. Outside its span `raw` is held at its ends, at
/// rest. Velocities and accelerations are shaped like the positions, since shaping is linear and does not change with
/// time.
native::ShapedTrajectory ShapeTrajectory(const util::timing::JointTrajectory& raw, const Vector& tail_time_s,
                                         const InputShaper& shaper);

}  // namespace velmora::examples
