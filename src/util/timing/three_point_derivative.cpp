// Three-point differentiation on uneven sample times.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/three_point_derivative.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

#include "internal/cpu_dispatch.hpp"
#include "internal/row_lanes.hpp"
#include "internal/unwritten_matrix.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;
using internal::Fma;
using internal::ForEachColumnBlock;
using internal::ForEachJoint;
using internal::kLanes;
using internal::Lanes;
using internal::Load;
using internal::Store;

// Derivative weights of the parabola through three samples (Fornberg 1988), for one place or for four side by side.
template <typename Value>
struct Weights {
  Value earlier;
  Value middle;
  Value later;
};

// At the first, the middle and the last of the three samples, from the two steps between them. Every operation is
// rounded by itself, in the order written, but for the fused ones: the bits of the result depend on it.
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

// Weights of as many samples in a row.
constexpr Index kStretch = 16;
using StretchWeights = Weights<std::array<double, kStretch>>;

// At `count` samples in a row, the first of them at `t`, which has a neighbour on either side.
VELMORA_ALWAYS_INLINE void WeightsAtMiddles(const double* t, Index count, StretchWeights& weights) {
  double* const earlier = weights.earlier.data();
  double* const middle = weights.middle.data();
  double* const later = weights.later.data();
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

// `count` rows of the derivative, the first from the three rows at `rows`, the next from one row further down and so
// on:
//   d = later_weight x_later + (earlier_weight x_earlier + middle_weight x_middle)
// with both sums fused, so that every machine rounds alike. A row that was the later one is the middle one next and
// then the earlier one, so each is loaded once.
template <typename Processor, typename Block>
VELMORA_ALWAYS_INLINE void CombineRows(const Block& columns, const double* earlier_weight, const double* middle_weight,
                                       const double* later_weight, Index count, const double* rows, Index joints,
                                       double* result) {
  using Value = typename Block::Value;
  std::array<Value, Block::kSize> earlier;
  std::array<Value, Block::kSize> middle;
  for (std::size_t c = 0; c < Block::kSize; ++c) {
    earlier[c] = Load<Value>(rows + columns.first[c]);
    middle[c] = Load<Value>(rows + joints + columns.first[c]);
  }
  rows += 2 * joints;
  // More than this does not pay: g++ would unroll it as often as it may run at all.
#pragma GCC unroll 4
  for (Index k = 0; k < count; ++k, rows += joints, result += joints) {
    for (std::size_t c = 0; c < Block::kSize; ++c) {
      const Value later = Load<Value>(rows + columns.first[c]);
      Store<Value>(Fma<Processor>(later_weight[k], later,
                                  Fma<Processor>(earlier_weight[k], earlier[c], middle_weight[k] * middle[c])),
                   result + columns.first[c]);
      earlier[c] = middle[c];
      middle[c] = later;
    }
  }
}

// One derivative row, likewise.
template <typename Processor>
VELMORA_ALWAYS_INLINE void CombineRow(const Weights<double>& weights, const double* rows, Index joints,
                                      double* result) {
  // Copies, so that they stay in registers.
  const double earlier_weight = weights.earlier;
  const double middle_weight = weights.middle;
  const double later_weight = weights.later;
  ForEachJoint(joints, result, [=](const auto& at) VELMORA_ALWAYS_INLINE_LAMBDA {
    return Fma<Processor>(later_weight, at(rows + 2 * joints),
                          Fma<Processor>(earlier_weight, at(rows), middle_weight * at(rows + joints)));
  });
}

// At least three samples.
struct DerivativeKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const double* x, const double* t, Index samples, Index joints, double* d) {
    const Index last = samples - 1;
    CombineRow<Processor>(WeightsAtFirst(t[1] - t[0], t[2] - t[1]), x, joints, d);
    // The weights of a stretch of samples are formed together, since four divisions side by side cost no more than one,
    // and one stretch ahead, since the processor divides while it combines rows.
    std::array<StretchWeights, 2> stretches;
    StretchWeights* weights = stretches.data();
    StretchWeights* next_weights = weights + 1;
    const auto derive = [&](Index begin, Index count, Index next_count) VELMORA_ALWAYS_INLINE_LAMBDA {
      WeightsAtMiddles(t + begin + count, next_count, *next_weights);
      const double* const earlier = weights->earlier.data();
      const double* const middle = weights->middle.data();
      const double* const later = weights->later.data();
      const double* const rows = x + (begin - 1) * joints;
      double* const result = d + begin * joints;
      if (joints <= 2 * kLanes) {
        ForEachColumnBlock(joints, [=](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
          CombineRows<Processor>(columns, earlier, middle, later, count, rows, joints, result);
        });
      } else {  // row by row: in blocks, wide rows would be read in pieces, which is slow beyond the caches
        for (Index k = 0; k < count; ++k) {
          CombineRow<Processor>({earlier[k], middle[k], later[k]}, rows + k * joints, joints, result + k * joints);
        }
      }
      std::swap(weights, next_weights);
    };
    Index begin = 1;
    WeightsAtMiddles(t + begin, std::min(kStretch, last - begin), *weights);
    for (; begin + 2 * kStretch <= last; begin += kStretch) derive(begin, kStretch, kStretch);  // constant counts
    while (begin < last) {
      const Index count = std::min(kStretch, last - begin);
      derive(begin, count, std::min(kStretch, last - begin - count));
      begin += count;
    }
    CombineRow<Processor>(WeightsAtLast(t[last - 1] - t[last - 2], t[last] - t[last - 1]), x + (last - 2) * joints,
                          joints, d + last * joints);
  }
};

}  // namespace

Matrix ThreePointSampleDerivative(const Matrix& signal, const Vector& time) {
  const Index samples = signal.rows();
  if (samples < 2) return Matrix::Zero(samples, signal.cols());

  Matrix derivative = internal::UnwrittenMatrix(samples, signal.cols());
  if (samples == 2) {
    derivative.row(0) = (signal.row(1) - signal.row(0)) / (time[1] - time[0]);
    derivative.row(1) = derivative.row(0);
  } else {
    internal::RunKernel<DerivativeKernel>(signal.data(), time.data(), samples, signal.cols(), derivative.data());
  }
  return derivative;
}

}  // namespace velmora::util::timing
