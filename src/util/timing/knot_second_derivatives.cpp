// The linear system behind the not-a-knot cubic spline.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/knot_second_derivatives.hpp"

#include <array>
#include <cstddef>
#include <type_traits>

#include "internal/cpu_dispatch.hpp"
#include "internal/row_lanes.hpp"
#include "internal/unwritten_matrix.hpp"
#include "util/timing/dense_solve.hpp"
#include "util/timing/knot_factors.hpp"
#include "util/timing/knot_substitution.hpp"

namespace velmora::util::timing {
namespace {

// Six times the second divided differences; the end conditions have a right-hand side of zero. A slope serves the knots
// on either side of it.
struct RightHandSideKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const double* h, const double* y, double* result, Eigen::Index knots,
                                        Eigen::Index joints) {
    internal::ForEachColumnBlock(joints, [=](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
      using Block = std::decay_t<decltype(columns)>;
      using Value = typename Block::Value;
      std::array<Value, Block::kSize> here;
      std::array<Value, Block::kSize> slope_before;
      for (std::size_t c = 0; c < Block::kSize; ++c) {
        here[c] = internal::Load<Value>(y + joints + columns.first[c]);
        slope_before[c] = (here[c] - internal::Load<Value>(y + columns.first[c])) / h[0];
      }
      for (Eigen::Index i = 1; i + 1 < knots; ++i) {
        for (std::size_t c = 0; c < Block::kSize; ++c) {
          const Value after = internal::Load<Value>(y + (i + 1) * joints + columns.first[c]);
          const Value slope_after = (after - here[c]) / h[i];
          internal::Store<Value>(6.0 * (slope_after - slope_before[c]), result + i * joints + columns.first[c]);
          here[c] = after;
          slope_before[c] = slope_after;
        }
      }
    });
  }
};

Matrix RightHandSide(const Vector& h, const Matrix& y) {
  Matrix right_hand_side = internal::UnwrittenMatrix(y.rows(), y.cols());
  right_hand_side.topRows(1).setZero();
  right_hand_side.bottomRows(1).setZero();
  internal::RunKernel<RightHandSideKernel>(h.data(), y.data(), right_hand_side.data(), y.rows(), y.cols());
  return right_hand_side;
}

}  // namespace

// Continuity of the first derivative at the inner knots; not-a-knot at the two outermost of them, that is, continuity
// of the third derivative there (de Boor, "A Practical Guide to Splines", chapter IV).
Matrix KnotSystem(const Vector& h) {
  const Eigen::Index knots = h.size() + 1;
  const Eigen::Index last = knots - 1;
  Matrix system = Matrix::Zero(knots, knots);
  for (Eigen::Index i = 1; i < last; ++i) {
    system(i, i - 1) = h[i - 1];
    system(i, i) = 2.0 * (h[i - 1] + h[i]);
    system(i, i + 1) = h[i];
  }
  if (knots == 3) {
    system(0, 0) = 1.0;
    system(0, 1) = -1.0;
    system(2, 1) = 1.0;
    system(2, 2) = -1.0;
  } else {
    system(0, 0) = -h[1];
    system(0, 1) = h[0] + h[1];
    system(0, 2) = -h[0];
    system(last, last - 2) = -h[last - 1];
    system(last, last - 1) = h[last - 2] + h[last - 1];
    system(last, last) = -h[last - 2];
  }
  return system;
}

Matrix SolveKnotSecondDerivativesDense(const Vector& h, const Matrix& y) {
  Matrix m = RightHandSide(h, y);
  SolveDense(KnotSystem(h), m);
  return m;
}

Matrix SolveKnotSecondDerivatives(const Vector& h, const Matrix& y) {
  if (y.rows() <= kDenseKnots) return SolveKnotSecondDerivativesDense(h, y);
  Matrix m = RightHandSide(h, y);
  SubstituteKnots(FactoriseKnotSystem(h), m);
  return m;
}

}  // namespace velmora::util::timing
