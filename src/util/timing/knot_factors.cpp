// LU factors of the spline's system, without its zeros.
#include "util/timing/knot_factors.hpp"

#include <array>
#include <cmath>
#include <utility>

#include "native/finiteness.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;
using Row = std::array<double, 3>;

bool IsUsablePivot(double pivot) { return native::IsFinite(pivot) && native::IsFinite(1.0 / pivot); }

// Subtracts the multiple of `pivot_row` that cancels entry `column` of `row`, and leaves the multiplier there.
void EliminateEntry(const Row& pivot_row, Row& row, std::size_t column) {
  row[column] /= pivot_row[column];
  for (std::size_t j = column + 1; j < row.size(); ++j) row[j] -= row[column] * pivot_row[j];
}

// Rows 0 and 1, columns 0 to 2: the end condition and the first inner row. Leaves the pivot of row 1.
bool FactoriseHead(const Vector& h, KnotFactors& factors, double& pivot) {
  Row first{-h[1], h[0] + h[1], -h[0]};
  Row second{h[0], 2.0 * (h[0] + h[1]), h[1]};
  factors.first_exchanged = std::abs(second[0]) > std::abs(first[0]);
  if (factors.first_exchanged) std::swap(first, second);
  if (!IsUsablePivot(first[0])) return false;
  EliminateEntry(first, second, 0);

  factors.inverse_pivot[0] = 1.0 / first[0];
  factors.upper[0] = first[1];
  factors.first_upper2 = first[2];
  factors.lower[1] = second[0];
  factors.upper[1] = second[2];
  pivot = second[1];
  return true;
}

// Rows 2 to N - 3: each pivot dominates the entry below it, so no row is exchanged. Leaves the pivot of row N - 3.
bool FactoriseInner(const Vector& h, KnotFactors& factors, double& pivot) {
  for (Index i = 1; i + 2 < h.size(); ++i) {
    if (!IsUsablePivot(pivot) || std::abs(pivot) < h[i]) return false;
    factors.inverse_pivot[i] = 1.0 / pivot;
    factors.lower[i + 1] = h[i] / pivot;
    pivot = 2.0 * (h[i] + h[i + 1]) - factors.lower[i + 1] * factors.upper[i];
    factors.upper[i + 1] = h[i + 1];
  }
  return true;
}

// Rows N - 3 to N - 1, columns alike: two inner rows and the end condition, which has the largest entry of its column
// where the last interval is long.
bool FactoriseTail(const Vector& h, double pivot, KnotFactors& factors) {
  const Index p = h.size() - 2;  // row N - 3
  const double before = h[p];
  const double last = h[p + 1];
  Row first{pivot, before, 0.0};
  Row second{before, 2.0 * (before + last), last};
  Row third{-last, before + last, -before};
  if (!IsUsablePivot(pivot) || std::abs(pivot) < before) return false;
  factors.last_exchanged = last > std::abs(pivot);
  if (factors.last_exchanged) {
    std::swap(first, third);
    std::swap(factors.lower[p], factors.last_lower3);  // a multiplier goes where its row goes
  }
  EliminateEntry(first, second, 0);
  EliminateEntry(first, third, 0);
  if (!IsUsablePivot(second[1]) || std::abs(second[1]) < std::abs(third[1])) return false;
  EliminateEntry(second, third, 1);
  if (!IsUsablePivot(first[0]) || !IsUsablePivot(third[2])) return false;

  factors.upper[p] = first[1];
  factors.tail_upper2 = first[2];
  factors.lower[p + 1] = second[0];
  factors.upper[p + 1] = second[2];
  factors.last_lower2 = third[0];
  factors.lower[p + 2] = third[1];
  factors.inverse_pivot.tail<3>() << 1.0 / first[0], 1.0 / second[1], 1.0 / third[2];
  return true;
}

}  // namespace

KnotFactors::KnotFactors(Index knots)
    : lower(Vector::Zero(knots)), inverse_pivot(Vector::Zero(knots)), upper(Vector::Zero(knots)) {}

std::optional<KnotFactors> FactoriseKnotSystem(const Vector& h) {
  std::optional<KnotFactors> factors(std::in_place, h.size() + 1);
  double pivot = 0.0;
  if (!FactoriseHead(h, *factors, pivot) || !FactoriseInner(h, *factors, pivot) || !FactoriseTail(h, pivot, *factors)) {
    return std::nullopt;
  }
  return factors;
}

}  // namespace velmora::util::timing
