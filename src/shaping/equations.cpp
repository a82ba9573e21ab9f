// Newton's method on small systems of equations, with a fixed sequence of operations.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/equations.hpp"

#include "internal/exact_arithmetic.hpp"
#include "util/timing/dense_solve.hpp"

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

}  // namespace

Vector NewtonSteps(const Equations& equations, Vector unknowns, int iterations) {
  Vector residuals(unknowns.size());
  for (int iteration = 0; iteration < iterations; ++iteration) {
    equations(unknowns, residuals);
    Matrix step = residuals;
    util::timing::SolveDense(Jacobian(equations, unknowns, residuals), step);
    for (Index i = 0; i < unknowns.size(); ++i) unknowns[i] -= step(i, 0);
  }
  return unknowns;
}

}  // namespace velmora::shaping
