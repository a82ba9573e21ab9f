// LU factors of the spline's system, without its zeros.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/knot_factors.hpp"

#include <array>
#include <cmath>
#include <utility>

#include "internal/exact_arithmetic.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;
using Row = std::array<double, 3>;

// Subtracts the multiple of `pivot_row` that cancels entry `column` of `row`, and leaves the multiplier there.
void EliminateEntry(const Row& pivot_row, Row& row, std::size_t column) {
  row[column] /= pivot_row[column];
  for (std::size_t j = column + 1; j < row.size(); ++j) row[j] -= row[column] * pivot_row[j];
}

// Rows 0 and 1, columns 0 to 2: the end condition and the first inner row. Returns the pivot of row 1, which is at
// least h[1] in magnitude, the entry below it.
double FactoriseHead(const Vector& h, KnotFactors& factors) {
  Row first{-h[1], h[0] + h[1], -h[0]};
  Row second{h[0], 2.0 * (h[0] + h[1]), h[1]};
  factors.first_exchanged = std::abs(second[0]) > std::abs(first[0]);
  if (factors.first_exchanged) std::swap(first, second);
  EliminateEntry(first, second, 0);

  factors.inverse_pivot[0] = 1.0 / first[0];
  factors.upper[0] = first[1];
  factors.first_upper2 = first[2];
  factors.lower[1] = second[0];
  factors.upper[1] = second[2];
  return second[1];
}

// Rows 2 to N - 3, without an exchange: a pivot that is at least h[i] makes a multiplier of at most 1, so that the next
// is at least 2 (h[i] + h[i + 1]) - h[i], which is more than h[i + 1], the entry below it. Rounding keeps this order.
// Returns the pivot of row N - 3.
double FactoriseInner(const Vector& h, double pivot, KnotFactors& factors) {
  for (Index i = 1; i + 2 < h.size(); ++i) {
    factors.inverse_pivot[i] = 1.0 / pivot;
    factors.lower[i + 1] = h[i] / pivot;
    pivot = 2.0 * (h[i] + h[i + 1]) - factors.lower[i + 1] * factors.upper[i];
    factors.upper[i + 1] = h[i + 1];
  }
  return pivot;
}

// Rows N - 3 to N - 1, columns alike: two inner rows and the end condition, which has the largest entry of its column
// where the last interval is longer than the pivot. The pivot of row N - 2 is the larger one either way: of the two
// entries of its column it is larger by half the sum of the last two intervals, or more.
void FactoriseTail(const Vector& h, double pivot, KnotFactors& factors) {
  const Index p = h.size() - 2;  // row N - 3
  const double before = h[p];
  const double last = h[p + 1];
  Row first{pivot, before, 0.0};
  Row second{before, 2.0 * (before + last), last};
  Row third{-last, before + last, -before};
  factors.last_exchanged = last > pivot;
  if (factors.last_exchanged) {
    std::swap(first, third);
    std::swap(factors.lower[p], factors.last_lower3);  // a multiplier goes where its row goes
  }
  EliminateEntry(first, second, 0);
  EliminateEntry(first, third, 0);
  EliminateEntry(second, third, 1);

  factors.upper[p] = first[1];
  factors.tail_upper2 = first[2];
  factors.lower[p + 1] = second[0];
  factors.upper[p + 1] = second[2];
  factors.last_lower2 = third[0];
  factors.lower[p + 2] = third[1];
  factors.inverse_pivot.tail<3>() << 1.0 / first[0], 1.0 / second[1], 1.0 / third[2];
}

}  // namespace

KnotFactors::KnotFactors(Index knots)
    : lower(Vector::Zero(knots)), inverse_pivot(Vector::Zero(knots)), upper(Vector::Zero(knots)) {}

double KnotFactors::operator()(Index i, Index c) const {
  const Index last = lower.size() - 1;
  if (c == i) return inverse_pivot[i];
  if (c == i - 1) return lower[i];
  if (c == i + 1) return upper[i];
  if (i == 0 && c == 2) return first_upper2;
  if (i == last - 2 && c == last) return tail_upper2;
  if (i == last && c == last - 2) return last_lower2;
  if (i == last && c == last - 3 && last_exchanged) return last_lower3;
  return c < i ? 0.0 * inverse_pivot[c] : 0.0;  // a multiplier is zero divided by the pivot: it has the pivot's sign
}

KnotFactors FactoriseKnotSystem(const Vector& h) {
  KnotFactors factors(h.size() + 1);
  const double first_inner_pivot = FactoriseHead(h, factors);
  const double last_inner_pivot = FactoriseInner(h, first_inner_pivot, factors);
  FactoriseTail(h, last_inner_pivot, factors);
  return factors;
}

}  // namespace velmora::util::timing
