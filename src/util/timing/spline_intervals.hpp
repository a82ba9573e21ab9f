// A cubic spline's polynomials between its knots, for the kernels that evaluate it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>

#include "internal/cpu_dispatch.hpp"
#include "internal/row_lanes.hpp"
#include "util/timing/cubic_spline.hpp"
#include "util/timing/time_search.hpp"
#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

/// Knots `x`, and one row of values `y` and of second derivatives `m` for each.
struct SplineRows {
  const double* x;
  const double* y;
  const double* m;
  Eigen::Index knots;
  Eigen::Index joints;
};

/// The interval whose polynomial holds at `t`, looked for at `previous` first.
VELMORA_ALWAYS_INLINE Eigen::Index FindInterval(const SplineRows& spline, double t, Eigen::Index previous) {
  const Eigen::Index last = spline.knots - 1;
  if (t >= spline.x[last]) return last - 1;
  // Beyond the last knot only where that was overwritten by NaN.
  if (t > spline.x[0]) return std::min(UpperBoundNear(spline.x, spline.knots, t, previous + 1), last) - 1;
  return 0;  // before the first knot, or NaN
}

/// Those coefficients in one interval that take divisions, of a joint or of four side by side.
template <typename Value>
struct DividedCoefficients {
  Value b;
  Value d;
};

/// Those of the joints from `first` on in interval `i`.
template <typename Value>
VELMORA_ALWAYS_INLINE DividedCoefficients<Value> Divide(const SplineRows& spline, Eigen::Index i, Eigen::Index first) {
  const double* y = spline.y + i * spline.joints + first;
  const double* m = spline.m + i * spline.joints + first;
  const Value y0 = internal::Load<Value>(y);
  const Value y1 = internal::Load<Value>(y + spline.joints);
  const Value m0 = internal::Load<Value>(m);
  const Value m1 = internal::Load<Value>(m + spline.joints);
  const double h = spline.x[i + 1] - spline.x[i];
  const double six_h = h * 6.0;
  return {(y1 - y0) / h - (h * (2.0 * m0 + m1)) / 6.0, (m1 - m0) / six_h};
}

/// All coefficients in one interval.
template <typename Value>
struct Coefficients {
  Value a;
  Value b;
  Value c;
  Value d;
  Value twice_c;
};

template <typename Value>
VELMORA_ALWAYS_INLINE Coefficients<Value> Complete(const SplineRows& spline, Eigen::Index i, Eigen::Index first,
                                                   const DividedCoefficients<Value>& divided) {
  const Value a = internal::Load<Value>(spline.y + i * spline.joints + first);
  const Value c = internal::Load<Value>(spline.m + i * spline.joints + first) * 0.5;
  return {a, divided.b, c, divided.d, c + c};
}

template <typename Value>
struct SplineSample {
  Value value;
  Value first_derivative;
  Value second_derivative;
};

/// a + dx (b + dx (c + dx d)), b + 2 dx c + 3 dx^2 d, 2 c + 6 dx d; 2 c is exact, so the last sum is rounded once.
template <typename Processor, typename Value>
VELMORA_ALWAYS_INLINE SplineSample<Value> EvaluateAt(const Coefficients<Value>& p, double dx) {
  using internal::Fma;
  return {Fma<Processor>(dx, Fma<Processor>(dx, Fma<Processor>(dx, p.d, p.c), p.b), p.a),
          Fma<Processor>((dx * 3.0) * dx, p.d, Fma<Processor>(dx + dx, p.c, p.b)), p.twice_c + (dx * 6.0) * p.d};
}

/// Into each block of `rows`, from element `at` on.
template <typename Value>
VELMORA_ALWAYS_INLINE void StoreSample(const SplineSample<Value>& sample, const SampleRows& rows, Eigen::Index at) {
  internal::Store<Value>(sample.value, rows.values + at);
  internal::Store<Value>(sample.first_derivative, rows.first_derivatives + at);
  internal::Store<Value>(sample.second_derivative, rows.second_derivatives + at);
}

}  // namespace velmora::util::timing
