// Not-a-knot cubic splines through the rows of a matrix.
#include "util/timing/cubic_spline.hpp"

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
using native::kLanes;
using native::Lanes;
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

// One joint, or four side by side from `first` on, at the queries from `begin` to `end`, all in interval `i`.
template <typename Value>
VELMORA_ALWAYS_INLINE void EvaluateJoints(const SplineRows& spline, Index i, const double* queries, Index begin,
                                          Index end, Index first, const SampleRows& samples) {
  const Index joints = spline.joints;
  const double* y = spline.y + i * joints + first;
  const double* m = spline.m + i * joints + first;
  const Value y0 = Load<Value>(y);
  const Value y1 = Load<Value>(y + joints);
  const Value m0 = Load<Value>(m);
  const Value m1 = Load<Value>(m + joints);
  const double x = spline.x[i];
  const double h = spline.x[i + 1] - x;
  const double six_h = h * 6.0;
  const Value b = (y1 - y0) / h - (h * (2.0 * m0 + m1)) / 6.0;
  const Value c = m0 * 0.5;
  const Value d = (m1 - m0) / six_h;
  const Index offset = begin * joints + first;
  if (samples.values != nullptr) {  // a + dx (b + dx (c + dx d)), where a = y0
    double* value = samples.values + offset;
    for (Index q = begin; q < end; ++q, value += joints) {
      const double dx = queries[q] - x;
      Store<Value>(Fma(dx, Fma(dx, Fma(dx, d, c), b), y0), value);
    }
  }
  if (samples.first_derivatives != nullptr) {  // b + 2 dx c + 3 dx^2 d
    double* value = samples.first_derivatives + offset;
    for (Index q = begin; q < end; ++q, value += joints) {
      const double dx = queries[q] - x;
      Store<Value>(Fma((dx * 3.0) * dx, d, Fma(dx + dx, c, b)), value);
    }
  }
  if (samples.second_derivatives != nullptr) {  // 2 c + 6 dx d
    double* value = samples.second_derivatives + offset;
    for (Index q = begin; q < end; ++q, value += joints) {
      const double dx = queries[q] - x;
      Store<Value>(Fma(2.0, c, (dx * 6.0) * d), value);
    }
  }
}

// Walks over runs of queries in one interval, so that its coefficients are formed once per run and stay in registers.
struct EvaluationKernel {
  static VELMORA_ALWAYS_INLINE void Run(const SplineRows* spline, const double* queries, Index count,
                                        const SampleRows* samples) {
    const SplineRows rows = *spline;
    const SampleRows results = *samples;
    Index i = 0;
    for (Index begin = 0; begin < count;) {
      i = FindInterval(rows, queries[begin], i);
      Index end = begin + 1;
      while (end < count && IsInInterval(rows, i, queries[end])) ++end;
      if (rows.joints < kLanes) {
        for (Index j = 0; j < rows.joints; ++j) EvaluateJoints<double>(rows, i, queries, begin, end, j, results);
      } else {
        // The last block overlaps the one before where the joints are no multiple of it; the values are the same.
        const Index tail = rows.joints - kLanes;
        for (Index j = 0; j < tail; j += kLanes) {
          EvaluateJoints<Lanes>(rows, i, queries, begin, end, j, results);
        }
        EvaluateJoints<Lanes>(rows, i, queries, begin, end, tail, results);
      }
      begin = end;
    }
  }
};

void Evaluate(const CubicSpline& spline, const Vector& query_times, const SampleRows& samples) {
  const SplineRows rows{spline.x.data(), spline.y.data(), spline.knot_second_derivatives.data(), spline.x.size(),
                        spline.y.cols()};
  native::RunKernel<EvaluationKernel>(&rows, query_times.data(), query_times.size(), &samples);
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
  double* const rows = result.data();
  SampleRows samples{nullptr, nullptr, nullptr};
  (derivative_order == 0   ? samples.values
   : derivative_order == 1 ? samples.first_derivatives
                           : samples.second_derivatives) = rows;
  Evaluate(spline, query_times, samples);
  return result;
}

SplineSamples EvaluateCubicSpline(const CubicSpline& spline, const Vector& query_times) {
  const Index queries = query_times.size();
  const Index joints = spline.y.cols();
  SplineSamples samples{Matrix(queries, joints), Matrix(queries, joints), Matrix(queries, joints)};
  Evaluate(spline, query_times,
           {samples.values.data(), samples.first_derivatives.data(), samples.second_derivatives.data()});
  return samples;
}

}  // namespace velmora::util::timing
