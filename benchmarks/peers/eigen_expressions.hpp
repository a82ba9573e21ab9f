// The jobs as plain Eigen expressions and loops, compiled for any x86-64, and what touching the memory costs.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::benchmarks::peers {

using native::Matrix;
using native::Vector;

Matrix BlendByExpression(const Matrix& raw, const Matrix& shaped, double weight);

/// Rounds as the library does; without FMA in the compiler's target each element is a call into libm.
Matrix BlendByFma(const Matrix& raw, const Matrix& shaped, double weight);

Matrix BlendByRow(const Matrix& raw, const Matrix& shaped, const Vector& weights);
Vector PathCoordinate(const Matrix& positions);
Matrix ThreePointDerivative(const Matrix& signal, const Vector& time);
Matrix FirstDifference(const Matrix& signal, const Vector& time);

/// The rows on a regular grid over the span of `time`.
Matrix ResampleLinear(const Vector& time, const Matrix& positions, Eigen::Index entries);

/// The same, refusing values that are not finite and times that do not increase, as the library does.
Matrix ResampleLinearChecked(const Vector& time, const Matrix& positions, Eigen::Index entries);

/// The limits of the machine: a result of the same size from two arrays, or from one.
Matrix Sum(const Matrix& a, const Matrix& b);
Matrix CopyBytes(const Matrix& a);

}  // namespace velmora::benchmarks::peers
