// Impulse sequences, which shape a command when it is convolved with them.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/impulse_sequence.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "internal/finiteness.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "shaping/impulse_sequence_sizes.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;
using internal::ThrowInvalidArgument;

constexpr double kLargestMissOfOne = 1e-9;
constexpr double kCoincidingShareOfDuration = 1e-9;

double SumOfAllButLast(const Vector& amplitudes) {
  double sum = 0.0;
  for (Index i = 0; i + 1 < amplitudes.size(); ++i) sum += amplitudes[i];
  return sum;
}

struct Impulse {
  double time_s;
  double amplitude;
  std::size_t place;  // among all products
};

}  // namespace

ImpulseSequence::ImpulseSequence(Vector given_times_s, Vector given_amplitudes)
    : times_s(std::move(given_times_s)), amplitudes(std::move(given_amplitudes)) {
  const Index impulses = times_s.size();
  CheckImpulseCount(times_s);
  if (!internal::AllFinite(times_s)) ThrowInvalidArgument("ImpulseSequence.times_s must contain only finite values.");
  if (times_s[0] != 0.0) ThrowInvalidArgument("ImpulseSequence.times_s must start at 0.");
  for (Index i = 1; i < impulses; ++i) {
    if (times_s[i] <= times_s[i - 1]) ThrowInvalidArgument("ImpulseSequence.times_s must be strictly increasing.");
  }
  CheckAmplitudeCount(amplitudes, times_s);
  if (!internal::AllFinite(amplitudes)) {
    ThrowInvalidArgument("ImpulseSequence.amplitudes must contain only finite values.");
  }
  const double before_last = SumOfAllButLast(amplitudes);
  if (!(std::abs(before_last + amplitudes[impulses - 1] - 1.0) <= kLargestMissOfOne)) {
    ThrowInvalidArgument("ImpulseSequence.amplitudes must sum to 1.");
  }
  amplitudes[impulses - 1] = 1.0 - before_last;
}

double ImpulseSequence::duration_s() const {
  CheckImpulseCount(times_s);
  return times_s[times_s.size() - 1];
}

double ImpulseSequence::centroid_s() const {
  CheckSizes(*this);
  double sum = 0.0;
  for (Index i = 0; i < times_s.size(); ++i) sum = std::fma(amplitudes[i], times_s[i], sum);
  return sum;
}

ImpulseSequence Convolve(const ImpulseSequence& first, const ImpulseSequence& second) {
  CheckSizes(first);
  CheckSizes(second);
  std::vector<Impulse> impulses;
  impulses.reserve(static_cast<std::size_t>(first.times_s.size() * second.times_s.size()));
  for (Index i = 0; i < first.times_s.size(); ++i) {
    for (Index j = 0; j < second.times_s.size(); ++j) {
      impulses.push_back(
          {first.times_s[i] + second.times_s[j], first.amplitudes[i] * second.amplitudes[j], impulses.size()});
    }
  }
  std::sort(impulses.begin(), impulses.end(), [](const Impulse& a, const Impulse& b) {
    return a.time_s < b.time_s || (a.time_s == b.time_s && a.place < b.place);
  });

  // A duration beyond the largest number is left to the constructor.
  const double coinciding_s =
      kCoincidingShareOfDuration * std::min(impulses.back().time_s, std::numeric_limits<double>::max());
  std::size_t last = 0;
  for (std::size_t k = 1; k < impulses.size(); ++k) {
    if (impulses[k].time_s - impulses[last].time_s <= coinciding_s) {
      impulses[last].amplitude += impulses[k].amplitude;
    } else {
      impulses[++last] = impulses[k];
    }
  }
  const Index count = static_cast<Index>(last) + 1;
  Vector times_s(count);
  Vector amplitudes(count);
  for (Index k = 0; k < count; ++k) {
    times_s[k] = impulses[static_cast<std::size_t>(k)].time_s;
    amplitudes[k] = impulses[static_cast<std::size_t>(k)].amplitude;
  }
  return ImpulseSequence(std::move(times_s), std::move(amplitudes));
}

}  // namespace velmora::shaping
