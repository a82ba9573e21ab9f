// Reference for both differentiation schemes.
// SPDX-License-Identifier: Apache-2.0
#include "oracle/differentiation.hpp"

#include <cmath>

#include "oracle/failure.hpp"
#include "oracle/finiteness.hpp"

namespace velmora::oracle {
namespace {

void RepeatLastDifference(Table& difference) {
  const std::size_t last = difference.rows - 1;
  for (std::size_t j = 0; j < difference.cols; ++j) difference(last, j) = difference(last - 1, j);
}

}  // namespace

Table ThreePointSampleDerivative(const Table& signal, const std::vector<double>& time) {
  const std::size_t n = signal.rows;
  const Table& x = signal;
  const std::vector<double>& t = time;
  Table d(n, signal.cols);
  if (n <= 1) return d;

  for (std::size_t j = 0; j < signal.cols; ++j) {
    if (n == 2) {
      const double h = t[1] - t[0];
      const double rise = x(1, j) - x(0, j);
      d(0, j) = rise / h;
      d(1, j) = rise / h;
      continue;
    }
    {
      const double h0 = t[1] - t[0];
      const double h1 = t[2] - t[1];
      const double sum = h1 + h0;
      const double w0 = -std::fma(2.0, h0, h1) / (sum * h0);
      const double w1 = sum / (h1 * h0);
      const double w2 = -h0 / (sum * h1);
      double value = w1 * x(1, j);
      value = std::fma(w0, x(0, j), value);
      value = std::fma(w2, x(2, j), value);
      d(0, j) = value;
    }
    for (std::size_t i = 1; i + 1 < n; ++i) {
      const double hm = t[i] - t[i - 1];
      const double hp = t[i + 1] - t[i];
      const double sum = hm + hp;
      const double before = -hp / (sum * hm);
      const double at = (hp - hm) / (hm * hp);
      const double after = hm / (sum * hp);
      double value = at * x(i, j);
      value = std::fma(before, x(i - 1, j), value);
      value = std::fma(after, x(i + 1, j), value);
      d(i, j) = value;
    }
    {
      const double a = t[n - 1] - t[n - 2];
      const double b = t[n - 2] - t[n - 3];
      const double sum = a + b;
      const double first = a / (sum * b);
      const double second = -sum / (a * b);
      const double third = std::fma(2.0, a, b) / (sum * a);
      double value = second * x(n - 2, j);
      value = std::fma(first, x(n - 3, j), value);
      value = std::fma(third, x(n - 1, j), value);
      d(n - 1, j) = value;
    }
  }
  return d;
}

Table SampleAlignedFirstDifference(const Table& signal, double sample_spacing) {
  const std::size_t n = signal.rows;
  if (n == 1) return Table(1, signal.cols, 0.0);
  if (!IsFiniteScalar(sample_spacing) || sample_spacing <= 0.0) Fail("sample_spacing must be finite and positive.");
  Table d(n, signal.cols);
  if (n == 0) return d;
  for (std::size_t i = 0; i + 1 < n; ++i) {
    for (std::size_t j = 0; j < signal.cols; ++j) d(i, j) = (signal(i + 1, j) - signal(i, j)) / sample_spacing;
  }
  RepeatLastDifference(d);
  return d;
}

Table SampleAlignedFirstDifference(const Table& signal, const std::vector<double>& sample_times) {
  const std::size_t n = signal.rows;
  if (n == 1) return Table(1, signal.cols, 0.0);
  if (sample_times.size() != n) Fail("sample_spacing length must match signal samples.");
  Table d(n, signal.cols);
  if (n == 0) return d;
  for (std::size_t i = 0; i + 1 < n; ++i) {
    const double h = sample_times[i + 1] - sample_times[i];
    if (!IsFiniteScalar(h) || h <= 0.0) Fail("sample_spacing times must be strictly increasing.");
    for (std::size_t j = 0; j < signal.cols; ++j) d(i, j) = (signal(i + 1, j) - signal(i, j)) / h;
  }
  RepeatLastDifference(d);
  return d;
}

}  // namespace velmora::oracle
