// Not-a-knot cubic splines through the rows of a matrix.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/cubic_spline.hpp"

#include <array>
#include <cstddef>
#include <utility>

#include "native/cpu_dispatch.hpp"
#include "native/finiteness.hpp"
#include "native/row_lanes.hpp"
#include "native/throw_invalid_argument.hpp"
#include "util/timing/knot_search.hpp"
#include "util/timing/knot_second_derivatives.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;
using native::Fma;
using native::Load;
using native::Store;

struct SplineRows {
  const double* x;
  const double* y;
  const double* m;
  Index knots;
  Index joints;
};

struct SampleRows {
  double* values;
  double* first_derivatives;
  double* second_derivatives;
};

// Whether `t` belongs to interval `i`; the outermost intervals reach to infinity. False for NaN where it matters.
VELMORA_ALWAYS_INLINE bool IsInInterval(const SplineRows& spline, Index i, double t) {
  return (i == 0 || t >= spline.x[i]) && (i == spline.knots - 2 || t < spline.x[i + 1]);
}

VELMORA_ALWAYS_INLINE Index FindInterval(const SplineRows& spline, double t, Index previous) {
  const Index last = spline.knots - 1;
  if (t >= spline.x[last]) return last - 1;
  if (t > spline.x[0]) return UpperBoundNear(spline.x, spline.knots, t, previous + 1) - 1;
  return 0;  // before the first knot, or NaN
}

// Coefficients in one interval, of a joint or of four side by side.
template <typename Value>
struct Coefficients {
  Value a;
  Value b;
  Value c;
  Value d;
};

// Those of the joints from `first` on in interval `i`.
template <typename Value>
VELMORA_ALWAYS_INLINE Coefficients<Value> IntervalCoefficients(const SplineRows& spline, Index i, Index first) {
  const double* y = spline.y + i * spline.joints + first;
  const double* m = spline.m + i * spline.joints + first;
  const Value y0 = Load<Value>(y);
  const Value y1 = Load<Value>(y + spline.joints);
  const Value m0 = Load<Value>(m);
  const Value m1 = Load<Value>(m + spline.joints);
  const double h = spline.x[i + 1] - spline.x[i];
  const double six_h = h * 6.0;
  return {y0, (y1 - y0) / h - (h * (2.0 * m0 + m1)) / 6.0, m0 * 0.5, (m1 - m0) / six_h};
}

// The joints of one block of columns at the queries from `begin` to `end`, all in interval `i`.
template <typename Processor, typename Orders, typename Block>
VELMORA_ALWAYS_INLINE void EvaluateColumns(const SplineRows& spline, Index i, const double* queries, Index begin,
                                           Index end, const Block& columns, const SampleRows& samples) {
  using Value = typename Block::Value;
  std::array<Coefficients<Value>, Block::kSize> coefficients;
  for (std::size_t k = 0; k < Block::kSize; ++k) {
    coefficients[k] = IntervalCoefficients<Value>(spline, i, columns.first[k]);
  }
  const double x = spline.x[i];
  Index row = begin * spline.joints;
  for (Index q = begin; q < end; ++q, row += spline.joints) {
    const double dx = queries[q] - x;
    for (std::size_t k = 0; k < Block::kSize; ++k) {
      const Coefficients<Value>& p = coefficients[k];
      const Index at = row + columns.first[k];
      if constexpr (Orders::values) {  // a + dx (b + dx (c + dx d))
        Store<Value>(Fma<Processor>(dx, Fma<Processor>(dx, Fma<Processor>(dx, p.d, p.c), p.b), p.a),
                     samples.values + at);
      }
      if constexpr (Orders::first_derivatives) {  // b + 2 dx c + 3 dx^2 d
        Store<Value>(Fma<Processor>((dx * 3.0) * dx, p.d, Fma<Processor>(dx + dx, p.c, p.b)),
                     samples.first_derivatives + at);
      }
      if constexpr (Orders::second_derivatives) {  // 2 c + 6 dx d
        Store<Value>(Fma<Processor>(2.0, p.c, (dx * 6.0) * p.d), samples.second_derivatives + at);
      }
    }
  }
}

template <bool kValues, bool kFirstDerivatives, bool kSecondDerivatives>
struct OrdersOf {
  static constexpr bool values = kValues;
  static constexpr bool first_derivatives = kFirstDerivatives;
  static constexpr bool second_derivatives = kSecondDerivatives;
};

// Walks over runs of queries in one interval, so that its coefficients are formed once per run and stay in registers.
template <typename Orders>
struct EvaluationKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const SplineRows* spline, const double* queries, Index count,
                                        const SampleRows* samples) {
    const SplineRows rows = *spline;
    const SampleRows results = *samples;
    Index i = 0;
    for (Index begin = 0; begin < count;) {
      i = FindInterval(rows, queries[begin], i);
      Index end = begin + 1;
      while (end < count && IsInInterval(rows, i, queries[end])) ++end;
      native::ForEachColumnBlock(rows.joints, [=](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
        EvaluateColumns<Processor, Orders>(rows, i, queries, begin, end, columns, results);
      });
      begin = end;
    }
  }
};

// Writes the rows of the orders asked for.
template <bool kValues, bool kFirstDerivatives, bool kSecondDerivatives>
void Evaluate(const CubicSpline& spline, const Vector& query_times, const SampleRows& samples) {
  const SplineRows rows{spline.x.data(), spline.y.data(), spline.knot_second_derivatives.data(), spline.x.size(),
                        spline.y.cols()};
  native::RunKernel<EvaluationKernel<OrdersOf<kValues, kFirstDerivatives, kSecondDerivatives>>>(
      &rows, query_times.data(), query_times.size(), &samples);
}

Vector Intervals(const Vector& x) { return x.tail(x.size() - 1) - x.head(x.size() - 1); }

}  // namespace

CubicSpline BuildCubicSpline(const Vector& x, const Matrix& y) {
  const Index knots = x.size();
  if (knots < 2) native::ThrowInvalidArgument("`x` must contain at least 2 elements.");
  if (knots == 2) return {x, y, Matrix::Zero(2, y.cols())};

  Matrix knot_second_derivatives = SolveKnotSecondDerivatives(Intervals(x), y);
  if (!native::AllFinite(knot_second_derivatives)) {
    native::ThrowInvalidArgument("Cubic-spline construction produced non-finite coefficients.");
  }
  return {x, y, std::move(knot_second_derivatives)};
}

Matrix EvaluateCubicSpline(const CubicSpline& spline, const Vector& query_times, std::uint32_t derivative_order) {
  Matrix result(query_times.size(), spline.y.cols());
  const SampleRows samples{result.data(), result.data(), result.data()};
  switch (derivative_order) {
    case 0:
      Evaluate<true, false, false>(spline, query_times, samples);
      break;
    case 1:
      Evaluate<false, true, false>(spline, query_times, samples);
      break;
    default:
      Evaluate<false, false, true>(spline, query_times, samples);
  }
  return result;
}

SplineSamples EvaluateCubicSpline(const CubicSpline& spline, const Vector& query_times) {
  const Index queries = query_times.size();
  const Index joints = spline.y.cols();
  SplineSamples samples{Matrix(queries, joints), Matrix(queries, joints), Matrix(queries, joints)};
  Evaluate<true, true, true>(
      spline, query_times,
      {samples.values.data(), samples.first_derivatives.data(), samples.second_derivatives.data()});
  return samples;
}

}  // namespace velmora::util::timing
