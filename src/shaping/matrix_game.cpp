// Two-person zero-sum games, solved exactly up to rounding.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/matrix_game.hpp"

#include <vector>

#include "internal/exact_arithmetic.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;

// Makes all payoffs, and with them the value, positive.
constexpr double kShift = 2.0;
// Reduced costs and pivots below this are roundings.
constexpr double kNegligible = 1e-12;
// Up to here the column of the largest gain is taken, which needs fewer pivots but might come back to where it was;
// from here on the first one, with which that cannot happen.
constexpr int kPivotsByLargestGain = 400;
constexpr int kMostPivots = 4000;

// Largest sum of x >= 0 with G x <= 1: the last row holds the reduced costs, the last column the right-hand sides.
struct Tableau {
  Matrix cells;
  std::vector<Index> basis;  // the column that stands in each row

  Index rows() const { return cells.rows() - 1; }
  Index columns() const { return cells.cols() - 1; }
};

Tableau StartTableau(const Matrix& payoffs) {
  const Index rows = payoffs.rows();
  const Index columns = payoffs.cols();
  Tableau tableau{Matrix::Zero(rows + 1, columns + rows + 1), std::vector<Index>(static_cast<std::size_t>(rows))};
  for (Index i = 0; i < rows; ++i) {
    for (Index j = 0; j < columns; ++j) tableau.cells(i, j) = payoffs(i, j) + kShift;
    tableau.cells(i, columns + i) = 1.0;
    tableau.cells(i, columns + rows) = 1.0;
    tableau.basis[static_cast<std::size_t>(i)] = columns + i;
  }
  for (Index j = 0; j < columns; ++j) tableau.cells(rows, j) = 1.0;
  return tableau;
}

// The column that gains, or `columns()` where none does.
Index EnteringColumn(const Tableau& tableau, bool largest_gain) {
  const Index costs = tableau.rows();
  Index entering = tableau.columns();
  double gain = kNegligible;
  for (Index j = 0; j < tableau.columns(); ++j) {
    if (tableau.cells(costs, j) <= gain) continue;
    entering = j;
    if (!largest_gain) break;
    gain = tableau.cells(costs, j);
  }
  return entering;
}

// The row that limits the entering column first; of equal ones that of the first column in the basis. There always is
// one, since all payoffs are positive.
Index LeavingRow(const Tableau& tableau, Index entering) {
  Index leaving = -1;
  double smallest = 0.0;
  for (Index i = 0; i < tableau.rows(); ++i) {
    if (tableau.cells(i, entering) <= kNegligible) continue;
    const double ratio = tableau.cells(i, tableau.columns()) / tableau.cells(i, entering);
    const bool comes_first = leaving < 0 || ratio < smallest ||
                             (ratio == smallest && tableau.basis[static_cast<std::size_t>(i)] <
                                                       tableau.basis[static_cast<std::size_t>(leaving)]);
    if (comes_first) {
      leaving = i;
      smallest = ratio;
    }
  }
  return leaving;
}

void Pivot(Tableau& tableau, Index row, Index column) {
  const Index width = tableau.cells.cols();
  double* const pivot_row = tableau.cells.data() + row * width;
  const double pivot = pivot_row[column];
  for (Index j = 0; j < width; ++j) pivot_row[j] /= pivot;
  for (Index i = 0; i < tableau.cells.rows(); ++i) {
    double* const other = tableau.cells.data() + i * width;
    const double factor = other[column];
    if (i == row || factor == 0.0) continue;
    for (Index j = 0; j < width; ++j) other[j] -= factor * pivot_row[j];
  }
  tableau.basis[static_cast<std::size_t>(row)] = column;
}

}  // namespace

GameSolution SolveGame(const Matrix& payoffs) {
  Tableau tableau = StartTableau(payoffs);
  for (int pivots = 0; pivots < kMostPivots; ++pivots) {
    const Index entering = EnteringColumn(tableau, pivots < kPivotsByLargestGain);
    if (entering == tableau.columns()) break;
    const Index leaving = LeavingRow(tableau, entering);
    if (leaving < 0) break;
    Pivot(tableau, leaving, entering);
  }
  GameSolution solution{0.0, Vector::Zero(payoffs.cols())};
  double sum = 0.0;
  for (Index i = 0; i < tableau.rows(); ++i) {
    const Index column = tableau.basis[static_cast<std::size_t>(i)];
    if (column >= payoffs.cols()) continue;
    solution.column_shares[column] = tableau.cells(i, tableau.columns());
    sum += solution.column_shares[column];
  }
  solution.column_shares /= sum;
  solution.value = 1.0 / sum - kShift;
  return solution;
}

}  // namespace velmora::shaping
