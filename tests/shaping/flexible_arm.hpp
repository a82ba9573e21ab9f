// An arm of flexible joints, each with two vibration modes, simulated step by step by exact discretisation.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "velmora/native/array_types.hpp"
#include "velmora/native/shaped_trajectory.hpp"

namespace velmora::testing {

/// One mode q'' + 2 z w q' + w^2 q = -a of every joint.
struct ArmMode {
  double frequency_hz;
  double damping_ratio;
};

/// What is left of one mode after a command: per joint the amplitude sqrt(q^2 + ((q' + z w q) / wd)^2) of the free
/// oscillation at the command's last sample.
///
/// The accelerations of the command are taken as piecewise linear, for which the state at the next sample is
/// exp(F h) state + G0 a_i + G1 a_(i+1), exactly. All three come from one matrix exponential of the state extended by
/// the drive and its slope (C. F. Van Loan, "Computing integrals involving the matrix exponential", 1978), taken by
/// scaling, squaring and a Taylor series: nothing of it is shared with the library.
native::Vector ResidualAmplitudes(const ArmMode& mode, const native::ShapedTrajectory& command);

}  // namespace velmora::testing
