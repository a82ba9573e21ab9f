// Three-point differentiation on uneven sample times.
#include "util/timing/three_point_derivative.hpp"

#include <algorithm>
#include <cmath>

#include "native/cpu_dispatch.hpp"
#include "native/row_lanes.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;
using native::Fma;
using native::ForEachJoint;
using native::kLanes;
using native::Lanes;
using native::Load;
using native::Store;

// Derivative weights of the parabola through three samples (Fornberg 1988), for one place or for four side by side.
template <typename Value>
struct Weights {
  Value earlier;
  Value middle;
  Value later;
};

// At each of the three samples, from the steps before and after the middle one. The order of operations is part of the
// result's promise.
VELMORA_ALWAYS_INLINE Weights<double> WeightsAtFirst(double h0, double h1) {
  return {-std::fma(2.0, h0, h1) / ((h1 + h0) * h0), (h1 + h0) / (h1 * h0), -h0 / ((h1 + h0) * h1)};
}

template <typename Value>
VELMORA_ALWAYS_INLINE Weights<Value> WeightsAtMiddle(const Value& hm, const Value& hp) {
  return {-hp / ((hm + hp) * hm), (hp - hm) / (hm * hp), hm / ((hm + hp) * hp)};
}

VELMORA_ALWAYS_INLINE Weights<double> WeightsAtLast(double b, double a) {
  return {a / ((a + b) * b), -(a + b) / (a * b), std::fma(2.0, a, b) / ((a + b) * a)};
}

// At `count` samples in a row, the first of them at `t`, which has a neighbour on either side.
VELMORA_ALWAYS_INLINE void WeightsAtMiddles(const double* t, Index count, double* earlier, double* middle,
                                            double* later) {
  Index k = 0;
  for (; k + kLanes <= count; k += kLanes) {
    const Lanes here = Load<Lanes>(t + k);
    const auto w = WeightsAtMiddle<Lanes>(here - Load<Lanes>(t + k - 1), Load<Lanes>(t + k + 1) - here);
    Store(w.earlier, earlier + k);
    Store(w.middle, middle + k);
    Store(w.later, later + k);
  }
  for (; k < count; ++k) {
    const auto w = WeightsAtMiddle<double>(t[k] - t[k - 1], t[k + 1] - t[k]);
    earlier[k] = w.earlier;
    middle[k] = w.middle;
    later[k] = w.later;
  }
}

// Derivative row from the three rows that start at `rows`: the middle product first, then the earlier, then the later
// term, so that every machine rounds alike.
VELMORA_ALWAYS_INLINE void CombineRows(const Weights<double>& weights, const double* rows, Index joints,
                                       double* result) {
  const double* earlier = rows;
  const double* middle = rows + joints;
  const double* later = middle + joints;
  const Weights<double> w = weights;
  ForEachJoint(joints, result, [=](auto at) VELMORA_ALWAYS_INLINE_LAMBDA {
    return Fma(w.later, at(later), Fma(w.earlier, at(earlier), w.middle * at(middle)));
  });
}

// At least three samples.
struct DerivativeKernel {
  static VELMORA_ALWAYS_INLINE void Run(const double* x, const double* t, Index samples, Index joints, double* d) {
    const Index last = samples - 1;
    CombineRows(WeightsAtFirst(t[1] - t[0], t[2] - t[1]), x, joints, d);
    // The weights of a stretch of samples are computed together: divisions side by side cost no more than one.
    constexpr Index kStretch = 32;
    double earlier[kStretch];
    double middle[kStretch];
    double later[kStretch];
    for (Index begin = 1; begin < last; begin += kStretch) {
      const Index count = std::min(kStretch, last - begin);
      WeightsAtMiddles(t + begin, count, earlier, middle, later);
      for (Index k = 0; k < count; ++k) {
        const Index i = begin + k;
        CombineRows({earlier[k], middle[k], later[k]}, x + (i - 1) * joints, joints, d + i * joints);
      }
    }
    CombineRows(WeightsAtLast(t[last - 1] - t[last - 2], t[last] - t[last - 1]), x + (last - 2) * joints, joints,
                d + last * joints);
  }
};

}  // namespace

Matrix ThreePointSampleDerivative(const Matrix& signal, const Vector& time) {
  const Index samples = signal.rows();
  if (samples < 2) return Matrix::Zero(samples, signal.cols());

  Matrix derivative(samples, signal.cols());
  if (samples == 2) {
    derivative.row(0) = (signal.row(1) - signal.row(0)) / (time[1] - time[0]);
    derivative.row(1) = derivative.row(0);
  } else {
    native::RunKernel<DerivativeKernel>(signal.data(), time.data(), samples, signal.cols(), derivative.data());
  }
  return derivative;
}

}  // namespace velmora::util::timing
