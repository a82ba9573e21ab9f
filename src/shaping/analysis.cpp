// What a sequence leaves of a vibration, and how far a mode may be off.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/analysis.hpp"

#include <algorithm>
#include <cmath>

#include "internal/finiteness.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "shaping/impulse_sequence_sizes.hpp"
#include "shaping/peak.hpp"
#include "shaping/residual_vector.hpp"
#include "shaping/tolerance.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;

constexpr double kTouchingExcess = 1e-6;
constexpr double kFurthestMultiple = 10.0;
// A residual turns no faster over the frequency than its last vector, so that a hump of height r between two zeros is
// at least sqrt(8 r) / (2 pi) turns wide: of steps of a tenth of that, or less, several meet it, one of them beside its
// top. Where tolerances are large, steps are bounded by what a turn takes.
constexpr double kMostTurnsPerStep = 1.0 / 256.0;
constexpr double kTurnsPerRootOfTolerance = 0.04;
constexpr double kMostSteps = 1e6;
constexpr int kBisections = 60;

double Length(const ImpulseSequence& sequence, double frequency_hz, double damping_ratio) {
  return std::sqrt(ResidualOf(sequence, frequency_hz, damping_ratio).squared_length());
}

// Between a frequency inside the band and one outside.
template <typename Residual>
double LastInside(const Residual& residual, double inside_hz, double outside_hz, double limit) {
  for (int k = 0; k < kBisections; ++k) {
    const double middle_hz = 0.5 * (inside_hz + outside_hz);
    (residual(middle_hz) <= limit ? inside_hz : outside_hz) = middle_hz;
  }
  return inside_hz;
}

// From the mode's frequency, which is inside, in steps of either sign.
template <typename Residual>
double EndOfBand(const Residual& residual, double frequency_hz, double step_hz, double furthest_hz, double limit) {
  double before = residual(frequency_hz - step_hz);
  double here = residual(frequency_hz);
  for (double k = 1.0;; k += 1.0) {  // NOLINT(cert-flp30-c): whole numbers, which are exact
    const double here_hz = frequency_hz + (k - 1.0) * step_hz;
    if (step_hz > 0.0 ? here_hz >= furthest_hz : here_hz <= furthest_hz) return furthest_hz;
    const double beyond_hz = frequency_hz + k * step_hz;
    const double next_hz = step_hz > 0.0 ? std::min(beyond_hz, furthest_hz) : std::max(beyond_hz, furthest_hz);
    if (k > kMostSteps) return here_hz;
    const double next = residual(next_hz);
    const bool is_flat = here == before && here == next;  // as where all impulses but the last have died out
    if (here >= before && here >= next && !is_flat) {
      const Peak peak = PeakBetween(residual, here_hz - step_hz, next_hz);
      if (peak.value > limit) {
        // The peak of the very first step may lie behind the mode, where the other direction meets it.
        const bool ahead = (peak.place > frequency_hz) == (step_hz > 0.0);
        if (ahead) return LastInside(residual, k > 1.0 ? here_hz - step_hz : frequency_hz, peak.place, limit);
      }
    }
    if (next > limit) return LastInside(residual, here_hz, next_hz, limit);
    before = here;
    here = next;
  }
}

}  // namespace

double ResidualVibration(const ImpulseSequence& sequence, const VibrationMode& mode) {
  CheckSizes(sequence);
  return Length(sequence, mode.frequency_hz, mode.damping_ratio);
}

Vector ResidualOverFrequency(const ImpulseSequence& sequence, const VibrationMode& mode, const Vector& frequencies_hz) {
  CheckSizes(sequence);
  for (const double frequency_hz : frequencies_hz) {
    if (!internal::IsFinite(frequency_hz) || frequency_hz < 0.0) {
      internal::ThrowInvalidArgument("frequencies_hz must be finite and non-negative.");
    }
  }
  Vector residuals(frequencies_hz.size());
  for (Index i = 0; i < residuals.size(); ++i) residuals[i] = Length(sequence, frequencies_hz[i], mode.damping_ratio);
  return residuals;
}

Vector ResidualOverDamping(const ImpulseSequence& sequence, const VibrationMode& mode, const Vector& damping_ratios) {
  CheckSizes(sequence);
  for (const double damping_ratio : damping_ratios) {
    if (!(damping_ratio >= 0.0 && damping_ratio < 1.0)) {
      internal::ThrowInvalidArgument("damping_ratios must be in [0, 1).");
    }
  }
  Vector residuals(damping_ratios.size());
  for (Index i = 0; i < residuals.size(); ++i) residuals[i] = Length(sequence, mode.frequency_hz, damping_ratios[i]);
  return residuals;
}

InsensitivityBand Insensitivity(const ImpulseSequence& sequence, const VibrationMode& mode, double tolerance) {
  CheckSizes(sequence);
  ValidateTolerance(tolerance);
  const double limit = tolerance * (1.0 + kTouchingExcess);
  const double frequency_hz = mode.frequency_hz;
  const auto residual = [&](double at_hz) { return Length(sequence, at_hz, mode.damping_ratio); };
  if (!(residual(frequency_hz) <= limit)) return {frequency_hz, frequency_hz, 0.0};

  const double turns_per_step = std::min(kMostTurnsPerStep, kTurnsPerRootOfTolerance * std::sqrt(tolerance));
  const double step_hz = turns_per_step / sequence.duration_s();
  const double low_hz = EndOfBand(residual, frequency_hz, -step_hz, 0.0, limit);
  const double high_hz = EndOfBand(residual, frequency_hz, step_hz, kFurthestMultiple * frequency_hz, limit);
  return {low_hz, high_hz, (high_hz - low_hz) / frequency_hz};
}

}  // namespace velmora::shaping
