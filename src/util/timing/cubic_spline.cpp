// Not-a-knot cubic splines through the rows of a matrix.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/cubic_spline.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "internal/cpu_dispatch.hpp"
#include "internal/finiteness.hpp"
#include "internal/row_lanes.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "internal/unwritten_matrix.hpp"
#include "util/timing/knot_second_derivatives.hpp"
#include "util/timing/spline_intervals.hpp"
#include "util/timing/time_search.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;

// Those of the joints from `first` on in interval `i`.
template <typename Value>
VELMORA_ALWAYS_INLINE Coefficients<Value> IntervalCoefficients(const SplineRows& spline, Index i, Index first) {
  return Complete<Value>(spline, i, first, Divide<Value>(spline, i, first));
}

// One query; `turn` is that of `FiniteCheck`.
template <typename Processor, typename Value>
VELMORA_ALWAYS_INLINE void EvaluateInInterval(const Coefficients<Value>& p, double dx, Index at,
                                              const SampleRows& samples, std::size_t turn,
                                              internal::FiniteCheck<Processor>& finite) {
  const SplineSample<Value> sample = EvaluateAt<Processor>(p, dx);
  StoreSample(sample, samples, at);
  // one look at all three; that the sum overflows is rare
  finite.Look((sample.value + sample.first_derivative) + sample.second_derivative, turn);
}

// The joints of one block of columns at the queries from `begin` to `end`, the first of them in interval `i`; returns
// the interval of the last. The coefficients of an interval are formed once for all queries that follow each other in
// it, and stay in registers.
template <typename Processor, typename Block>
VELMORA_ALWAYS_INLINE Index EvaluateRuns(const SplineRows& spline, Index i, const double* queries, Index begin,
                                         Index end, const Block& columns, const SampleRows& samples,
                                         internal::FiniteCheck<Processor>& finite) {
  using Value = typename Block::Value;
  const double infinity = std::numeric_limits<double>::infinity();
  Index row = begin * spline.joints;
  for (Index q = begin;;) {
    std::array<Coefficients<Value>, Block::kSize> coefficients;
    for (std::size_t k = 0; k < Block::kSize; ++k) {
      coefficients[k] = IntervalCoefficients<Value>(spline, i, columns.first[k]);
    }
    const double x = spline.x[i];
    const double interval_begin = i == 0 ? -infinity : x;
    const double interval_end = i == spline.knots - 2 ? infinity : spline.x[i + 1];
    do {
      const double dx = queries[q] - x;
      for (std::size_t k = 0; k < Block::kSize; ++k) {
        EvaluateInInterval<Processor>(coefficients[k], dx, row + columns.first[k], samples, k, finite);
      }
      row += spline.joints;
      if (++q == end) return i;
    } while (queries[q] >= interval_begin && queries[q] < interval_end);
    i = FindInterval(spline, queries[q], i);
  }
}

// The same with coefficients formed for each query, in intervals that are known: without a branch that cannot be
// foreseen, which costs less where hardly two queries share an interval.
template <typename Processor, typename Block>
VELMORA_ALWAYS_INLINE void EvaluateEach(const SplineRows& spline, const std::int64_t* intervals, const double* queries,
                                        Index begin, Index end, const Block& columns, const SampleRows& samples,
                                        internal::FiniteCheck<Processor>& finite) {
  using Value = typename Block::Value;
  for (Index q = begin; q < end; ++q) {
    const Index i = intervals[q - begin];
    const double dx = queries[q] - spline.x[i];
    for (std::size_t k = 0; k < Block::kSize; ++k) {
      const Coefficients<Value> coefficients = IntervalCoefficients<Value>(spline, i, columns.first[k]);
      EvaluateInInterval<Processor>(coefficients, dx, q * spline.joints + columns.first[k], samples, k, finite);
    }
  }
}

struct EvaluationKernel {
  // False where a sample is not finite.
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE bool Run(const SplineRows* spline, const double* queries, Index count,
                                        const SampleRows* samples) {
    const SplineRows rows = *spline;
    const SampleRows results = *samples;
    internal::FiniteCheck<Processor> finite;
    // Blocks of columns take turns after a stretch of queries, so that the rows that they share stay in the caches.
    constexpr Index kStretch = 128;
    std::int64_t intervals[kStretch];
    const auto find = [&](double query, Index previous)
                          VELMORA_ALWAYS_INLINE_LAMBDA { return FindInterval(rows, query, previous); };
    Index first = 0;
    for (Index begin = 0; begin < count; begin += kStretch) {
      const Index end = std::min(begin + kStretch, count);
      first = FindInterval(rows, queries[begin], first);
      const Index further = first + (end - begin) / 2;
      if (further < rows.knots && queries[end - 1] >= rows.x[further]) {  // fewer than two queries in an interval
        LocateEach<Processor, false>(rows.x, rows.knots - 1, queries + begin, end - begin, first, intervals, find);
        internal::ForEachColumnBlock(rows.joints, [&](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
          EvaluateEach<Processor>(rows, intervals, queries, begin, end, columns, results, finite);
        });
        first = intervals[end - begin - 1];
        continue;
      }
      Index last = first;
      internal::ForEachColumnBlock(rows.joints, [&](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
        last = EvaluateRuns<Processor>(rows, first, queries, begin, end, columns, results, finite);
      });
      first = last;
    }
    return finite.AllWere();
  }
};

Vector Intervals(const Vector& x) { return x.tail(x.size() - 1) - x.head(x.size() - 1); }

}  // namespace

Matrix BuildCubicSpline(const Vector& x, const Matrix& y) {
  const Index knots = x.size();
  if (knots < 2) internal::ThrowInvalidArgument("`x` must contain at least 2 elements.");
  if (knots == 2) return Matrix::Zero(2, y.cols());

  Matrix m = SolveKnotSecondDerivatives(Intervals(x), y);
  if (!internal::AllFinite(m)) {
    internal::ThrowInvalidArgument("Cubic-spline construction produced non-finite coefficients.");
  }
  return m;
}

SplineSamples EvaluateCubicSpline(const Vector& x, const Matrix& y, const Matrix& m, const Vector& query_times) {
  const Index queries = query_times.size();
  const Index joints = y.cols();
  SplineSamples samples{internal::UnwrittenMatrix(queries, joints), internal::UnwrittenMatrix(queries, joints),
                        internal::UnwrittenMatrix(queries, joints), true};
  samples.all_finite =
      EvaluateCubicSpline(x, y, m, Eigen::Ref<const Vector>(query_times),
                          {samples.values.data(), samples.first_derivatives.data(), samples.second_derivatives.data()});
  return samples;
}

bool EvaluateCubicSpline(const Vector& x, const Matrix& y, const Matrix& m, const Eigen::Ref<const Vector>& query_times,
                         const SampleRows& samples) {
  const SplineRows spline{x.data(), y.data(), m.data(), x.size(), y.cols()};
  return internal::RunKernel<EvaluationKernel>(&spline, query_times.data(), query_times.size(), &samples);
}

}  // namespace velmora::util::timing
