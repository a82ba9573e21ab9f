// The dense solve that defines, to the last bit, what a solve of the spline's system gives.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/dense_solve.hpp"

#include <cmath>

#include "internal/exact_arithmetic.hpp"
#include "util/timing/panel_substitution.hpp"

namespace velmora::util::timing {

using Eigen::Index;

// Gaussian elimination (Golub and Van Loan, "Matrix Computations", section 3.4). The pivot of a column is its first
// entry of the largest magnitude; every product and every difference is rounded by itself.
void FactoriseDense(Matrix& a, Matrix& m) {
  const Index n = a.rows();
  for (Index k = 0; k < n; ++k) {
    Index pivot = k;
    for (Index i = k + 1; i < n; ++i) {
      if (std::abs(a(i, k)) > std::abs(a(pivot, k))) pivot = i;
    }
    if (pivot != k) {
      a.row(k).swap(a.row(pivot));
      m.row(k).swap(m.row(pivot));
    }
    for (Index i = k + 1; i < n; ++i) {
      a(i, k) /= a(k, k);
      for (Index j = k + 1; j < n; ++j) a(i, j) -= a(i, k) * a(k, j);
    }
    a(k, k) = 1.0 / a(k, k);
  }
}

void SolveDense(Matrix system, Matrix& m) {
  FactoriseDense(system, m);
  SubstituteInPanels([&](Index i, Index c) { return system(i, c); }, m.rows(), m);
}

}  // namespace velmora::util::timing
