// The constructor's checks of sizes, which hold for trajectories that were moved from or written to as well.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::util::timing {

/// Throws the constructor's sentence where there is no sample.
void CheckSampleCount(const Matrix& positions);

/// Throws the constructor's sentence where the times are not as many as the samples.
void CheckTimeCount(const Vector& time, const Matrix& positions);

/// Throws the constructor's sentence where there is no sample, or the times are not as many as the samples.
void CheckSizes(const JointTrajectory& trajectory);

/// Throws the constructor's sentence where the derivative called `name` has not the shape of the positions.
void CheckShape(const Matrix& derivative, const Matrix& positions, const char* name);

}  // namespace velmora::util::timing
