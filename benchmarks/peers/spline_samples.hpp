// Splines of other libraries, each sampled with its derivatives on a regular grid over the span of its knots.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::benchmarks::peers {

using native::Matrix;
using native::Vector;

struct SplineSamples {
  SplineSamples(Eigen::Index entries, Eigen::Index joints)
      : positions(entries, joints), velocities(entries, joints), accelerations(entries, joints) {}

  Matrix positions;
  Matrix velocities;
  Matrix accelerations;
};

using SplineResampling = SplineSamples (*)(const Vector& time, const Matrix& positions, Eigen::Index entries);

/// Not-a-knot, through a dense system; the same spline as the library's.
SplineSamples DenseSpline(const Vector& time, const Matrix& positions, Eigen::Index entries);

/// Natural end conditions, joint by joint.
SplineSamples GslSpline(const Vector& time, const Matrix& positions, Eigen::Index entries);

/// Parabolic end conditions, joint by joint; entry by entry.
SplineSamples AlglibSpline(const Vector& time, const Matrix& positions, Eigen::Index entries);

/// Parabolic end conditions, joint by joint; all entries of a joint in one call.
SplineSamples AlglibSplineOnGrid(const Vector& time, const Matrix& positions, Eigen::Index entries);

/// Modified Akima interpolation, joint by joint: another curve, and no second derivatives, so it has less to do.
SplineSamples BoostMakima(const Vector& time, const Matrix& positions, Eigen::Index entries);

}  // namespace velmora::benchmarks::peers
