// Extra-insensitive sequences of one, two and three humps: in closed form without damping, solved with it.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <utility>

#include "internal/finiteness.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "shaping/elementary_functions.hpp"
#include "shaping/equations.hpp"
#include "shaping/residual_vector.hpp"
#include "shaping/tolerance.hpp"
#include "velmora/shaping/designs.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;

constexpr double kLargestDampingStep = 0.004;
constexpr int kIterationsPerStep = 6;
constexpr int kFinalIterations = 10;
constexpr int kBisections = 60;
constexpr int kScanSteps = 4096;
constexpr double kVerifiedWithin = 1e-9;
constexpr double kCubeRootOf2 = 1.2599210498948732;

// A design of k humps for a mode of 1 Hz has k + 2 impulses and, over frequency, 2 k + 1 features in turn: a zero, a
// hump that touches the tolerance, a zero, and so on. The feature in the middle lies at the mode's frequency. The
// unknowns are the amplitudes, the times without the first, and the frequencies of the features without the middle one.
struct Unknowns {
  Index humps;

  Index impulses() const { return humps + 2; }
  Index features() const { return 2 * humps + 1; }
  Index count() const { return 4 * humps + 3; }
  Index time(Index i) const { return impulses() + i - 1; }

  Impulses impulses_of(const Vector& values) const {
    Impulses result{Vector(impulses()), values.head(impulses())};
    result.times_s[0] = 0.0;
    for (Index i = 1; i < impulses(); ++i) result.times_s[i] = values[time(i)];
    return result;
  }

  double frequency(const Vector& values, Index feature) const {
    if (feature == humps) return 1.0;
    return values[2 * impulses() - 1 + (feature < humps ? feature : feature - 1)];
  }

  static bool is_hump(Index feature) { return feature % 2 == 1; }
};

// Amplitudes that sum to 1; at a zero no vibration; on a hump the tolerance, and no slope.
void EvaluateConstraints(const Unknowns& layout, const Vector& values, double damping_ratio, double tolerance,
                         Vector& residuals) {
  const Impulses impulses = layout.impulses_of(values);
  double sum = 0.0;
  for (const double amplitude : impulses.amplitudes) sum += amplitude;
  residuals[0] = sum - 1.0;
  for (Index feature = 0; feature < layout.features(); ++feature) {
    const ResidualVector residual = ResidualOf(impulses, layout.frequency(values, feature), damping_ratio);
    double* const pair = residuals.data() + 1 + 2 * feature;
    if (Unknowns::is_hump(feature)) {
      pair[0] = residual.squared_length() / (tolerance * tolerance) - 1.0;
      pair[1] = residual.half_squared_length_rate() / tolerance;
    } else {
      pair[0] = residual.cosine;
      pair[1] = residual.sine;
    }
  }
}

// The undamped residual of symmetric impulses is this real number, seen from the middle of the sequence.
double CentredResidual(const Impulses& symmetric, double frequency) {
  const double middle = 0.5 * symmetric.times_s[symmetric.times_s.size() - 1];
  double sum = 0.0;
  for (Index i = 0; i < symmetric.times_s.size(); ++i) {
    sum = std::fma(symmetric.amplitudes[i], SineCosineOfTurns(frequency * (symmetric.times_s[i] - middle)).cosine, sum);
  }
  return sum;
}

double CentredResidualSlope(const Impulses& symmetric, double frequency) {
  const double middle = 0.5 * symmetric.times_s[symmetric.times_s.size() - 1];
  double sum = 0.0;
  for (Index i = 0; i < symmetric.times_s.size(); ++i) {
    const double from_middle = symmetric.times_s[i] - middle;
    sum = std::fma(-symmetric.amplitudes[i] * from_middle, SineCosineOfTurns(frequency * from_middle).sine, sum);
  }
  return sum;
}

// The nearest root below `from`.
template <typename Function>
double RootBelow(const Function& function, double from) {
  double high = from;
  const double above = function(high);
  double low = high - 1.0 / kScanSteps;
  while (low > 0.0 && (function(low) < 0.0) == (above < 0.0)) {
    high = low;
    low -= 1.0 / kScanSteps;
  }
  for (int k = 0; k < kBisections; ++k) {
    const double middle = 0.5 * (low + high);
    ((function(middle) < 0.0) == (above < 0.0) ? high : low) = middle;
  }
  return 0.5 * (low + high);
}

// The unknowns without damping: the sequence is symmetric about its middle, and the features about the mode.
Vector UndampedUnknowns(const Unknowns& layout, const Impulses& undamped) {
  Vector values(layout.count());
  values.head(layout.impulses()) = undamped.amplitudes;
  for (Index i = 1; i < layout.impulses(); ++i) values[layout.time(i)] = undamped.times_s[i];
  double frequency = 1.0;
  double* const frequencies = values.data() + 2 * layout.impulses() - 1;
  for (Index k = 1; k <= layout.humps; ++k) {
    // Away from the feature before, whose own root is not to be found again.
    const double from = frequency - 0.25 / kScanSteps;
    frequency = Unknowns::is_hump(layout.humps - k)
                    ? RootBelow([&](double f) { return CentredResidualSlope(undamped, f); }, from)
                    : RootBelow([&](double f) { return CentredResidual(undamped, f); }, from);
    frequencies[layout.humps - k] = frequency;
    frequencies[layout.humps + k - 1] = 2.0 - frequency;
  }
  return values;
}

bool MeetsItsDescription(const Unknowns& layout, const Vector& values, double damping_ratio, double tolerance) {
  if (!internal::AllFinite(values)) return false;
  Vector residuals(layout.count());
  EvaluateConstraints(layout, values, damping_ratio, tolerance, residuals);
  for (const double residual : residuals) {
    if (!(std::abs(residual) <= kVerifiedWithin)) return false;
  }
  for (Index i = 0; i < layout.impulses(); ++i) {
    if (!(values[i] > 0.0)) return false;
    if (i > 0 && !(values[layout.time(i)] > (i == 1 ? 0.0 : values[layout.time(i - 1)]))) return false;
  }
  for (Index feature = 1; feature < layout.features(); ++feature) {
    if (!(layout.frequency(values, feature) > layout.frequency(values, feature - 1))) return false;
  }
  return true;
}

ImpulseSequence ForMode(Impulses impulses, const VibrationMode& mode) {
  impulses.times_s /= mode.frequency_hz;
  return ImpulseSequence(std::move(impulses.times_s), std::move(impulses.amplitudes));
}

// The undamped amplitudes stand half a period apart. The damping is raised step by step, each solution being the start
// of the next.
ImpulseSequence Design(const VibrationMode& mode, double tolerance, Vector undamped_amplitudes) {
  const Unknowns layout{undamped_amplitudes.size() - 2};
  Impulses undamped{Vector(layout.impulses()), std::move(undamped_amplitudes)};
  for (Index i = 0; i < layout.impulses(); ++i) undamped.times_s[i] = 0.5 * static_cast<double>(i);
  if (mode.damping_ratio == 0.0) return ForMode(std::move(undamped), mode);

  Vector values = UndampedUnknowns(layout, undamped);
  const int steps = static_cast<int>(std::ceil(mode.damping_ratio / kLargestDampingStep));
  for (int step = 1; step <= steps; ++step) {
    const double damping_ratio = mode.damping_ratio * (static_cast<double>(step) / static_cast<double>(steps));
    const Equations equations = [&](const Vector& unknowns, Vector& residuals) {
      EvaluateConstraints(layout, unknowns, damping_ratio, tolerance, residuals);
    };
    values = NewtonSteps(equations, std::move(values), step < steps ? kIterationsPerStep : kFinalIterations);
  }
  if (!MeetsItsDescription(layout, values, mode.damping_ratio, tolerance)) {
    internal::ThrowInvalidArgument("No sequence of this design was found for this damping_ratio and tolerance.");
  }
  return ForMode(layout.impulses_of(values), mode);
}

// By Newton's method from 1 down to the root of a number in (0, 1]: a third of the distance is lost at every iteration
// until the root is near, so that these are enough for the smallest number.
double CubeRoot(double number) {
  double root = 1.0;
  for (int k = 0; k < 700; ++k) root = (2.0 * root + number / (root * root)) / 3.0;
  return root;
}

}  // namespace

ImpulseSequence Ei(const VibrationMode& mode, double tolerance) {
  ValidateTolerance(tolerance);
  const double outer = (1.0 + tolerance) / 4.0;
  return Design(mode, tolerance, Vector{{outer, (1.0 - tolerance) / 2.0, outer}});
}

ImpulseSequence TwoHumpEi(const VibrationMode& mode, double tolerance) {
  ValidateTolerance(tolerance);
  // (3 X^2 + 2 X + 3 V^2) / (16 X) with X^3 = V^2 (1 + sqrt(1 - V^2)), written with V = u^3 and X = c u^2 so that no
  // tolerance underflows.
  const double u = CubeRoot(tolerance);
  const double c = kCubeRootOf2 * CubeRoot(0.5 * (1.0 + std::sqrt((1.0 - tolerance) * (1.0 + tolerance))));
  const double u2 = u * u;
  const double outer = (3.0 * c * u2 + 2.0 + 3.0 * u2 * u2 / c) / 16.0;
  const double inner = 0.5 - outer;
  return Design(mode, tolerance, Vector{{outer, inner, inner, outer}});
}

ImpulseSequence ThreeHumpEi(const VibrationMode& mode, double tolerance) {
  ValidateTolerance(tolerance);
  const double outer = (1.0 + 3.0 * tolerance + 2.0 * std::sqrt(2.0 * (tolerance * tolerance + tolerance))) / 16.0;
  const double inner = (1.0 - tolerance) / 4.0;
  return Design(mode, tolerance, Vector{{outer, inner, 1.0 - 2.0 * (outer + inner), inner, outer}});
}

}  // namespace velmora::shaping
