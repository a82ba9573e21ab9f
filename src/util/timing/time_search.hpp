// The step of sorted times that holds a given time.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>

#include "internal/cpu_dispatch.hpp"
#include "internal/row_lanes.hpp"
#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

/// Index of the first of `count` nondecreasing times strictly greater than `t`, or `count` if there is none. A binary
/// search, written out because its sequence of comparisons decides the answer for NaN.
VELMORA_ALWAYS_INLINE Eigen::Index UpperBound(const double* times, Eigen::Index count, double t) {
  Eigen::Index first = 0;
  while (count > 0) {
    const Eigen::Index half = count / 2;
    if (t < times[first + half]) {
      count = half;
    } else {
      first += half + 1;
      count -= half + 1;
    }
  }
  return first;
}

/// `UpperBound`, looked for first at `previous` (an earlier answer, or 1) and right after it: queries mostly ascend in
/// steps shorter than those of the times. An entry above `t` whose predecessor is not above is the first such entry, so
/// the answer is the same.
VELMORA_ALWAYS_INLINE Eigen::Index UpperBoundNear(const double* times, Eigen::Index count, double t,
                                                  Eigen::Index previous) {
  for (Eigen::Index candidate = previous; candidate < count && candidate < previous + 2; ++candidate) {
    if (times[candidate - 1] <= t && t < times[candidate]) return candidate;
  }
  return UpperBound(times, count, t);
}

/// As many queries are located together.
constexpr Eigen::Index kLocatedTogether = 2 * internal::kLanes;

/// For eight queries that start in step `step` or a few further on, the steps that hold them: step i reaches from
/// `times[i]` up to, not including, `times[i + 1]`. Without a branch on any of them, since which query is the first in
/// a new step is not to be foreseen. False where the queries are not of that kind: one lies before `times[step]`, or
/// not before `times[last]`, or too far on, or is NaN, or lies on `times[0]` and `kBeyondFirst` forbids it.
template <typename Processor, bool kBeyondFirst>
VELMORA_ALWAYS_INLINE bool LocateTogether(const double* times, Eigen::Index last, const double* queries,
                                          Eigen::Index step, std::int64_t* steps) {
  using internal::LaneMask;
  using internal::Lanes;
  constexpr Eigen::Index kAtOnce = 4;
  constexpr Eigen::Index kFurthest = 16;
  const auto a = internal::Load<Lanes>(queries);
  const auto b = internal::Load<Lanes>(queries + internal::kLanes);
  LaneMask valid = (a >= times[step]) & (b >= times[step]);
  if constexpr (kBeyondFirst) valid &= (a > times[0]) & (b > times[0]);
  LaneMask steps_a = {step, step, step, step};
  LaneMask steps_b = steps_a;
  for (Eigen::Index looked = step; looked + kAtOnce <= last && looked < step + kFurthest;) {
#pragma GCC unroll 4
    for (Eigen::Index k = 1; k <= kAtOnce; ++k) {
      steps_a -= a >= times[looked + k];
      steps_b -= b >= times[looked + k];
    }
    looked += kAtOnce;
    if (internal::AllOf<Processor>(valid & (a < times[looked]) & (b < times[looked]))) {
      __builtin_memcpy(steps, &steps_a, sizeof steps_a);
      __builtin_memcpy(steps + internal::kLanes, &steps_b, sizeof steps_b);
      return true;
    }
  }
  return false;
}

/// The steps that hold each of `count` queries, looked for from `step` on (0 to `last` - 1, `last` being the index of
/// the last time). Eight at once where they allow it; else `find(query, step)` gives the step of one, or -1 to end
/// there. Returns how many were located.
template <typename Processor, bool kBeyondFirst, typename Find>
VELMORA_ALWAYS_INLINE Eigen::Index LocateEach(const double* times, Eigen::Index last, const double* queries,
                                              Eigen::Index count, Eigen::Index step, std::int64_t* steps,
                                              const Find& find) {
  Eigen::Index k = 0;
  while (k < count) {
    if (k + kLocatedTogether <= count &&
        LocateTogether<Processor, kBeyondFirst>(times, last, queries + k, step, steps + k)) {
      k += kLocatedTogether;
      step = steps[k - 1];
      continue;
    }
    for (const Eigen::Index end = std::min(k + kLocatedTogether, count); k < end; ++k) {
      const Eigen::Index found = find(queries[k], step);
      if (found < 0) return k;
      step = found;
      steps[k] = step;
    }
  }
  return count;
}

}  // namespace velmora::util::timing
