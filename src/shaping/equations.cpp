// Newton's method on small systems of equations, with a fixed sequence of operations.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/equations.hpp"

#include <cmath>

#include "internal/exact_arithmetic.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;
using native::Matrix;

constexpr double kDifferenceStep = 1e-7;

Matrix Jacobian(const Equations& equations, const Vector& unknowns, const Vector& residuals) {
  const Index count = unknowns.size();
  Matrix jacobian(count, count);
  Vector moved_residuals(count);
  for (Index j = 0; j < count; ++j) {
    Vector moved = unknowns;
    moved[j] += kDifferenceStep;
    equations(moved, moved_residuals);
    for (Index i = 0; i < count; ++i) jacobian(i, j) = (moved_residuals[i] - residuals[i]) / kDifferenceStep;
  }
  return jacobian;
}

// Gaussian elimination with row pivots. Written out, since a library's solve may fuse or reorder as the processor
// likes.
Vector Solve(Matrix matrix, Vector right) {
  const Index count = right.size();
  for (Index k = 0; k < count; ++k) {
    Index pivot = k;
    for (Index i = k + 1; i < count; ++i) {
      if (std::abs(matrix(i, k)) > std::abs(matrix(pivot, k))) pivot = i;
    }
    matrix.row(k).swap(matrix.row(pivot));
    std::swap(right[k], right[pivot]);
    for (Index i = k + 1; i < count; ++i) {
      const double factor = matrix(i, k) / matrix(k, k);
      for (Index j = k + 1; j < count; ++j) matrix(i, j) = std::fma(-factor, matrix(k, j), matrix(i, j));
      right[i] = std::fma(-factor, right[k], right[i]);
    }
  }
  for (Index k = count - 1; k >= 0; --k) {
    for (Index j = k + 1; j < count; ++j) right[k] = std::fma(-matrix(k, j), right[j], right[k]);
    right[k] /= matrix(k, k);
  }
  return right;
}

}  // namespace

Vector NewtonSteps(const Equations& equations, Vector unknowns, int iterations) {
  Vector residuals(unknowns.size());
  for (int iteration = 0; iteration < iterations; ++iteration) {
    equations(unknowns, residuals);
    const Vector step = Solve(Jacobian(equations, unknowns, residuals), residuals);
    for (Index i = 0; i < unknowns.size(); ++i) unknowns[i] -= step[i];
  }
  return unknowns;
}

}  // namespace velmora::shaping
