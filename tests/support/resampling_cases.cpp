// Random trajectories and spacings for resampling.
// SPDX-License-Identifier: Apache-2.0
#include "support/resampling_cases.hpp"

#include <array>

#include "support/arrays.hpp"

namespace velmora::testing {

double RandomSampleTime(SplitMix64& random, double span_s) {
  constexpr double kAffordable = 2000.0;
  constexpr double kHopeless = 70368744177664.0;                       // 2^46 steps
  const auto whole_steps = static_cast<double>(1 + random.Below(60));  // drawn apart, so that the order is fixed
  double sample_time_s = span_s / (whole_steps * (0.5 + random.Unit()));
  const std::size_t kind = random.Below(16);
  if (kind == 0) {
    const std::array<double, 8> special = {0.0, -0.0, -1.0, kNan, kInfinity, -kInfinity, kSmallest, kLargest};
    sample_time_s = special.at(random.Below(special.size()));
  } else if (kind < 4) {
    sample_time_s = span_s / static_cast<double>(1 + random.Below(200));
  } else if (kind == 4) {
    sample_time_s = span_s * (1.0 + 3.0 * random.Unit());
  }
  const double steps = span_s / sample_time_s;
  return steps > kAffordable && steps < kHopeless ? span_s / 7.0 : sample_time_s;
}

int RandomGridMode(SplitMix64& random) {
  if (!random.OneIn(20)) return static_cast<int>(random.Below(4));
  const std::array<int, 4> unsupported = {-1, 4, 7, 1000};
  return unsupported.at(random.Below(unsupported.size()));
}

native::Vector RandomTimesOrSpoiled(SplitMix64& random, std::size_t samples) {
  native::Vector times = RandomTimes(random, samples, RandomTimeFamily(random));
  if (random.OneIn(12)) SpoilTimes(random, times);
  return times;
}

}  // namespace velmora::testing
