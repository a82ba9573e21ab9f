// Piecewise-linear evaluation of sampled rows.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/linear_interpolation.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "internal/blend_element.hpp"
#include "internal/cpu_dispatch.hpp"
#include "internal/finiteness.hpp"
#include "internal/row_lanes.hpp"
#include "internal/unwritten_matrix.hpp"
#include "util/timing/time_search.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;
using internal::ForEachColumnBlock;
using internal::ForEachJoint;
using internal::kLanes;
using internal::Lanes;
using internal::Load;
using internal::Store;

// As many queries are taken together: first their steps, then their shares, then their rows.
constexpr Index kStretch = 64;

// The steps of queries strictly inside the sampled span, up to the first that is not; returns how many.
template <typename Processor>
VELMORA_ALWAYS_INLINE Index LocateInside(const double* times, Index last, const double* queries, Index count,
                                         Index step, std::int64_t* steps) {
  const auto find = [=](double query, Index before) VELMORA_ALWAYS_INLINE_LAMBDA -> Index {
    if (!(query > times[0] && query < times[last])) return -1;
    return UpperBoundNear(times, last + 1, query, before + 1) - 1;
  };
  return LocateEach<Processor, true>(times, last, queries, count, step, steps, find);
}

// How far into its step each query lies, and how far from its end. Four divisions side by side cost no more than one.
VELMORA_ALWAYS_INLINE void SharesOfSteps(const double* times, const double* queries, const std::int64_t* steps,
                                         Index count, double* shares, double* complements) {
  Index k = 0;
  for (; k + kLanes <= count; k += kLanes) {
    const double* const t[] = {times + steps[k], times + steps[k + 1], times + steps[k + 2], times + steps[k + 3]};
    const Lanes start{t[0][0], t[1][0], t[2][0], t[3][0]};
    const Lanes end{t[0][1], t[1][1], t[2][1], t[3][1]};
    const Lanes share = (Load<Lanes>(queries + k) - start) / (end - start);
    Store<Lanes>(share, shares + k);
    Store<Lanes>(1.0 - share, complements + k);
  }
  for (; k < count; ++k) {
    const double* const t = times + steps[k];
    shares[k] = (queries[k] - t[0]) / (t[1] - t[0]);
    complements[k] = 1.0 - shares[k];
  }
}

// The rows of a stretch of queries, each between the two rows of its step.
template <typename Processor>
VELMORA_ALWAYS_INLINE void BlendStretch(const double* values, const std::int64_t* steps, const double* shares,
                                        const double* complements, Index count, Index joints, double* result,
                                        internal::FiniteCheck<Processor>& finite) {
  if (joints > 2 * kLanes) {
    for (Index k = 0; k < count; ++k) {
      const double share = shares[k];
      const double complement = complements[k];
      const double* const from = values + steps[k] * joints;
      ForEachJoint(joints, result + k * joints, [&](auto at) VELMORA_ALWAYS_INLINE_LAMBDA {
        const auto value = internal::BlendElement<Processor>(complement, at(from), share, at(from + joints));
        finite.Look(value, 0);
        return value;
      });
    }
    return;
  }
  ForEachColumnBlock(joints, [&](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
    using Block = std::decay_t<decltype(columns)>;
    using Value = typename Block::Value;
    double* row = result;
#pragma GCC unroll 2
    for (Index k = 0; k < count; ++k, row += joints) {
      const double* const from = values + steps[k] * joints;
      const double* const to = from + joints;
      for (std::size_t c = 0; c < Block::kSize; ++c) {
        const Index at = columns.first[c];
        const Value value =
            internal::BlendElement<Processor>(complements[k], Load<Value>(from + at), shares[k], Load<Value>(to + at));
        Store<Value>(value, row + at);
        finite.Look(value, c);
      }
    }
  });
}

struct InterpolationKernel {
  // True where every result is finite.
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE bool Run(const double* queries, Index query_count, const double* times, Index count,
                                        const double* values, Index joints, double* result) {
    const Index last = count - 1;
    std::int64_t steps[kStretch];
    double shares[kStretch];
    double complements[kStretch];
    internal::FiniteCheck<Processor> finite;
    Index step = 0;
    for (Index i = 0; i < query_count;) {
      const double query = queries[i];
      const bool not_finite = last > 0 && !internal::IsFinite(query);
      // Written so that a query is inside here if it is inside for LocateInside, also where times were overwritten by
      // NaN.
      const bool before_all = last == 0 || !(query > times[0]);
      if (not_finite || before_all || !(query < times[last])) {
        if (not_finite) {
          std::fill_n(result, joints, std::numeric_limits<double>::quiet_NaN());
          finite.Look(query, 0);
        } else {
          const double* row = values + (before_all ? 0 : last) * joints;
          ForEachJoint(joints, result, [&](auto at) VELMORA_ALWAYS_INLINE_LAMBDA {
            finite.Look(at(row), 0);
            return at(row);
          });
        }
        ++i;
        result += joints;
        continue;
      }
      const Index located =
          LocateInside<Processor>(times, last, queries + i, std::min(kStretch, query_count - i), step, steps);
      step = steps[located - 1];
      SharesOfSteps(times, queries + i, steps, located, shares, complements);
      BlendStretch<Processor>(values, steps, shares, complements, located, joints, result, finite);
      result += located * joints;
      i += located;
    }
    return finite.AllWere();
  }
};

}  // namespace

InterpolatedRows InterpolateRowsLinear(const Eigen::Ref<const Vector>& query_times, const Vector& sample_times,
                                       const Matrix& values) {
  InterpolatedRows rows{internal::UnwrittenMatrix(query_times.size(), values.cols()), true};
  rows.all_finite =
      internal::RunKernel<InterpolationKernel>(query_times.data(), query_times.size(), sample_times.data(),
                                               sample_times.size(), values.data(), values.cols(), rows.values.data());
  return rows;
}

}  // namespace velmora::util::timing
