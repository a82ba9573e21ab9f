// Regular time grids between two times.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/time_grid.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>

#include "internal/cpu_dispatch.hpp"
#include "internal/finiteness.hpp"
#include "internal/row_lanes.hpp"
#include "internal/throw_invalid_argument.hpp"

namespace velmora::util::timing {
namespace {

// The number of whole steps as an integer. A span so long, or a spacing so small, that the count does not fit is a grid
// that no memory holds; deciding it here keeps the conversion defined.
std::int64_t StepCount(double steps) {
  constexpr double kTwoToThe63 = 9223372036854775808.0;
  if (!(steps < kTwoToThe63)) throw std::bad_alloc();
  return static_cast<std::int64_t>(steps);
}

// Entries from their index, never a running sum, each with a single rounding. The index is counted in doubles, which
// hold any that memory has room for exactly.
struct ExactSpacingKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(double start_time_s, double sample_time_s, Eigen::Index count, double* grid) {
    using internal::Lanes;
    const Lanes start{start_time_s, start_time_s, start_time_s, start_time_s};
    Lanes index{0.0, 1.0, 2.0, 3.0};
    Eigen::Index k = 0;
    for (; k + internal::kLanes <= count; k += internal::kLanes) {
      internal::Store(internal::Fma<Processor>(sample_time_s, index, start), grid + k);
      index += 4.0;
    }
    for (; k < count; ++k) grid[k] = std::fma(static_cast<double>(k), sample_time_s, start_time_s);
  }
};

Vector ExactSpacingGrid(double start_time_s, double sample_time_s, std::int64_t steps) {
  Vector grid(steps + 1);
  internal::RunKernel<ExactSpacingKernel>(start_time_s, sample_time_s, grid.size(), grid.data());
  return grid;
}

// Likewise, four divisions side by side.
struct ExactDurationKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(double start_time_s, double duration_s, double steps, Eigen::Index count,
                                        double* grid) {
    using internal::Lanes;
    Lanes index{0.0, 1.0, 2.0, 3.0};
    Eigen::Index k = 0;
    for (; k + internal::kLanes <= count; k += internal::kLanes) {
      internal::Store<Lanes>(index * duration_s / steps + start_time_s, grid + k);
      index += 4.0;
    }
    for (; k < count; ++k) grid[k] = static_cast<double>(k) * duration_s / steps + start_time_s;
  }
};

Vector ExactDurationGrid(double start_time_s, double duration_s, std::int64_t steps) {
  Vector grid(steps + 1);
  internal::RunKernel<ExactDurationKernel>(start_time_s, duration_s, static_cast<double>(steps), grid.size(),
                                           grid.data());
  return grid;
}

Vector ExactSpacingGridWithEndpoint(double start_time_s, double end_time_s, double sample_time_s, std::int64_t steps) {
  // Relative to the end time itself: time stamps that come as absolute times carry an error of that size.
  const double tolerance_s = std::fma(std::abs(end_time_s), 1e-5, 1e-8);
  const double last = std::fma(static_cast<double>(steps), sample_time_s, start_time_s);
  const bool moved = std::abs(last - end_time_s) <= tolerance_s;
  Vector grid = ExactSpacingGrid(start_time_s, sample_time_s, moved ? steps : steps + 1);
  grid[grid.size() - 1] = end_time_s;
  return grid;
}

}  // namespace

Vector BuildResamplingTimeGrid(double start_time_s, double end_time_s, double sample_time_s,
                               ResamplingTimeGridMode grid_mode) {
  if (!internal::IsFinite(sample_time_s) || sample_time_s <= 0.0) {
    internal::ThrowInvalidArgument("sample_time_s must be positive.");
  }
  const double duration_s = end_time_s - start_time_s;
  if (duration_s < 0.0) internal::ThrowInvalidArgument("trajectory.time must be nondecreasing.");
  if (duration_s == 0.0) return Vector::Constant(1, start_time_s);

  const double ratio = duration_s / sample_time_s;
  const std::int64_t whole_steps = StepCount(std::floor(ratio));
  switch (grid_mode) {
    case ResamplingTimeGridMode::exact_dt_append_endpoint:
      return ExactSpacingGridWithEndpoint(start_time_s, end_time_s, sample_time_s, whole_steps);
    case ResamplingTimeGridMode::exact_dt_trim:
      return ExactSpacingGrid(start_time_s, sample_time_s, whole_steps);
    case ResamplingTimeGridMode::exact_duration_adjust_dt:
      return ExactDurationGrid(start_time_s, duration_s, StepCount(std::max(std::nearbyint(ratio), 1.0)));
    case ResamplingTimeGridMode::exact_dt_extend_endpoint:
      return ExactSpacingGrid(start_time_s, sample_time_s, StepCount(std::max(std::ceil(ratio), 1.0)));
  }
  ExactSpacingGrid(start_time_s, sample_time_s, whole_steps);  // a grid too long is the first error
  internal::ThrowInvalidArgument("Unsupported resampling time-grid mode.");
}

std::optional<Vector> ClampedTimes(const Vector& grid, double end_time_s, ResamplingTimeGridMode grid_mode) {
  if (grid_mode != ResamplingTimeGridMode::exact_dt_extend_endpoint) return std::nullopt;
  Vector times = grid;
  for (double& time : times) {
    if (end_time_s < time) time = end_time_s;
  }
  return times;
}

}  // namespace velmora::util::timing
