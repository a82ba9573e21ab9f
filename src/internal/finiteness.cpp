// The finiteness rule of arrays.
// SPDX-License-Identifier: Apache-2.0
#include "internal/finiteness.hpp"

#include "internal/cpu_dispatch.hpp"
#include "internal/row_lanes.hpp"

namespace velmora::internal {
namespace {

using Eigen::Index;

// `x * 0` is a zero for a finite x, else NaN, and a NaN stays in a sum: one comparison at the end gives the verdict on
// all elements. Independent sums keep the additions from waiting for each other.
struct AllFiniteKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE bool Run(const double* values, Index count) {
    constexpr Index kSums = 4;
    Lanes sums[kSums] = {};
    Index k = 0;
    for (; k + kSums * kLanes <= count; k += kSums * kLanes) {
      for (Index l = 0; l < kSums; ++l) {
        sums[l] += Load<Lanes>(values + k + l * kLanes) * 0.0;
      }
    }
    double rest = 0.0;
    for (; k < count; ++k) rest += values[k] * 0.0;
    const Lanes sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    rest += (sum[0] + sum[1]) + (sum[2] + sum[3]);
    return rest == rest;
  }
};

}  // namespace

bool AllFinite(const native::Matrix& values) { return RunKernel<AllFiniteKernel>(values.data(), values.size()); }

bool AllFinite(const native::Vector& values) { return RunKernel<AllFiniteKernel>(values.data(), values.size()); }

}  // namespace velmora::internal
