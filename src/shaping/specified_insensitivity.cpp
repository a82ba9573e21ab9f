// The shortest positive sequence that keeps a tolerance over a range of frequencies.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "internal/finiteness.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "shaping/elementary_functions.hpp"
#include "shaping/matrix_game.hpp"
#include "shaping/peak.hpp"
#include "shaping/residual_vector.hpp"
#include "shaping/tolerance.hpp"
#include "velmora/shaping/designs.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;

constexpr int kCoarseSteps = 64;       // of the first grid of times
constexpr int kFinerSteps = 8;         // of every finer one, per step of the one before
constexpr int kSearchRefinements = 2;  // while the duration is looked for
constexpr int kFinalRefinements = 4;   // for that duration
constexpr int kFinestSteps = kCoarseSteps * kFinerSteps * kFinerSteps * kFinerSteps * kFinerSteps;
constexpr int kMostRounds = 60;  // of game and counter-move
constexpr std::size_t kKeptMoves = 24;
constexpr int kDoublings = 9;  // from a quarter of the longest period on: more than any sensible sequence lasts
constexpr int kBisections = 18;
constexpr int kFrequencySteps = 48;   // per turn of the last vector over the range, and at the least
constexpr double kWidestRange = 4.0;  // beyond it the search would take minutes
constexpr double kSolvedWithin = 1e-8;
constexpr double kSmallestTolerance = 1e-7;  // below it what a game is solved within would lengthen the sequence
constexpr double kNegligibleShare = 1e-7;
// What is solved for is a little less than the tolerance, so that roundings do not lead beyond it.
constexpr double kSafety = 2e-5;

// In units of the frequency and period of the mode.
struct Range {
  double low;
  double high;
  double damping_ratio;
};

// A frequency and a direction in which the vibration at it counts.
struct CounterMove {
  double frequency;
  double cosine;
  double sine;
};

double Payoff(const CounterMove& move, double time, double duration, double damping_ratio) {
  const SineCosine phase = SineCosineOfTurns(move.frequency * DampedShare(damping_ratio) * time);
  const double decay = Exp(-2.0 * kPi * damping_ratio * move.frequency * (duration - time));
  return decay * std::fma(phase.cosine, move.cosine, phase.sine * move.sine);
}

Impulses UsedImpulses(const std::vector<double>& times, const Vector& shares) {
  std::vector<Index> used;
  for (Index j = 0; j < shares.size(); ++j) {
    // The last time is kept in any case: the residual is that at the end of the sequence.
    if (shares[j] > 0.0 || j + 1 == shares.size()) used.push_back(j);
  }
  Impulses impulses{Vector(static_cast<Index>(used.size())), Vector(static_cast<Index>(used.size()))};
  for (std::size_t k = 0; k < used.size(); ++k) {
    impulses.times_s[static_cast<Index>(k)] = times[static_cast<std::size_t>(used[k])];
    impulses.amplitudes[static_cast<Index>(k)] = shares[used[k]];
  }
  return impulses;
}

// The local maxima of the residual over the range, its ends included, that exceed `level`.
std::vector<Peak> PeaksAbove(double level, const Impulses& impulses, const Range& range) {
  const auto residual = [&](double frequency) {
    return std::sqrt(ResidualOf(impulses, frequency, range.damping_ratio).squared_length());
  };
  const double turns = (range.high - range.low) * impulses.times_s[impulses.times_s.size() - 1];
  const int steps = kFrequencySteps * static_cast<int>(std::ceil(turns + 1.0));
  const double step = (range.high - range.low) / steps;
  std::vector<double> values(static_cast<std::size_t>(steps) + 1);
  for (int k = 0; k <= steps; ++k) values[static_cast<std::size_t>(k)] = residual(range.low + k * step);

  std::vector<Peak> peaks;
  for (int k = 0; k <= steps; ++k) {
    const double here = values[static_cast<std::size_t>(k)];
    const bool above_left = k == 0 || here >= values[static_cast<std::size_t>(k) - 1];
    const bool above_right = k == steps || here > values[static_cast<std::size_t>(k) + 1];
    if (!above_left || !above_right) continue;
    Peak peak{range.low + k * step, here};
    if (k > 0 && k < steps) peak = PeakBetween(residual, peak.place - step, peak.place + step);
    if (peak.value > level) peaks.push_back(peak);
  }
  return peaks;
}

// What a mixture of impulses leaves.
struct Left {
  double residual;     // the largest over the range
  double lower_bound;  // no shares of these times leave less
};

// What a search asks of a duration: mixtures that leave at most `enough` are as good as any, and durations whose times
// cannot leave less than `hopeless` need no closer look.
struct Goal {
  double enough;
  double hopeless;
};

constexpr Goal kTheVeryBest{0.0, 2.0};

Matrix PayoffsOf(const std::vector<CounterMove>& moves, const std::vector<double>& times, double damping_ratio) {
  Matrix payoffs(static_cast<Index>(moves.size()), static_cast<Index>(times.size()));
  for (Index i = 0; i < payoffs.rows(); ++i) {
    for (Index j = 0; j < payoffs.cols(); ++j) {
      payoffs(i, j) =
          Payoff(moves[static_cast<std::size_t>(i)], times[static_cast<std::size_t>(j)], times.back(), damping_ratio);
    }
  }
  return payoffs;
}

// The best shares for these times, the last of which is the duration. Frequencies are added where the residual is
// largest until none is larger than the game says.
Left FindMixture(const std::vector<double>& times, const Range& range, const Goal& goal,
                 std::vector<CounterMove>& moves, Impulses& impulses) {
  const Index columns = static_cast<Index>(times.size());
  GameSolution game{0.0, Vector::Constant(columns, 1.0 / static_cast<double>(columns))};
  for (int round = 0;; ++round) {
    if (!moves.empty()) game = SolveGame(PayoffsOf(moves, times, range.damping_ratio));
    impulses = UsedImpulses(times, game.column_shares);
    const double solved = game.value + kSolvedWithin;
    double residual = solved;
    const std::vector<Peak> peaks = PeaksAbove(solved, impulses, range);
    for (const Peak& peak : peaks) residual = std::max(residual, peak.value);
    if (peaks.empty() || residual <= goal.enough || game.value > goal.hopeless || round == kMostRounds) {
      return {residual, game.value};
    }
    for (const Peak& peak : peaks) {
      const ResidualVector vibration = ResidualOf(impulses, peak.place, range.damping_ratio);
      moves.push_back({peak.place, vibration.cosine / peak.value, vibration.sine / peak.value});
    }
  }
}

// The newest counter-moves are those that the next, finer grid needs too; older ones would only slow the game down.
void KeepNewest(std::vector<CounterMove>& moves) {
  if (moves.size() > kKeptMoves) moves.erase(moves.begin(), moves.end() - static_cast<std::ptrdiff_t>(kKeptMoves));
}

std::vector<double> TimesAround(const Vector& centres, double step, double duration) {
  std::vector<double> times{0.0, duration};
  for (const double centre : centres) {
    for (int k = -kFinerSteps; k <= kFinerSteps; ++k) {
      const double time = centre + k * (step / kFinerSteps);
      if (time > 0.0 && time < duration) times.push_back(time);
    }
  }
  std::sort(times.begin(), times.end());
  // Of neighbours closer than half a step of the new grid one is enough.
  const double closest = 0.5 * step / kFinerSteps;
  std::vector<double> apart{0.0};
  for (const double time : times) {
    if (time - apart.back() > closest) apart.push_back(time);
  }
  apart.back() = duration;
  return apart;
}

// By how much an impulse between two times `step` apart is better than two impulses on them, at the most: a vibration
// exp((z + i sqrt(1 - z^2)) w t) deviates by (w step)^2 / 8 from its chord.
double GridError(double step, const Range& range) {
  const double turn = 2.0 * kPi * range.high * step;
  return turn * turn / 8.0;
}

// A mixture that leaves at most `enough`, or the first sign that there is none that does; for 0 the sequence of this
// duration with the smallest residual, more finely. Returns the residual.
double FindOfDuration(double duration, const Range& range, double enough, std::vector<CounterMove>& moves,
                      Impulses& impulses) {
  std::vector<double> times;
  for (int k = 0; k <= kCoarseSteps; ++k) times.push_back(duration * k / kCoarseSteps);
  double step = duration / kCoarseSteps;
  const int refinements = enough > 0.0 ? kSearchRefinements : kFinalRefinements;
  for (int refinement = 0;; ++refinement) {
    const Goal goal = enough > 0.0 ? Goal{enough, enough + GridError(step, range)} : kTheVeryBest;
    const Left left = FindMixture(times, range, goal, moves, impulses);
    KeepNewest(moves);
    if (refinement == refinements || left.residual <= goal.enough || left.lower_bound > goal.hopeless) {
      return left.residual;
    }
    times = TimesAround(impulses.times_s, step, duration);
    step /= kFinerSteps;
  }
}

// Impulses on neighbouring times of the last grid stand for one between them.
Impulses Merged(const Impulses& impulses) {
  const Index last = impulses.times_s.size() - 1;
  const double duration = impulses.times_s[last];
  const double neighbours = 2.5 * duration / kFinestSteps;
  std::vector<double> times;
  std::vector<double> amplitudes;
  for (Index i = 0; i <= last; ++i) {
    const double amplitude = impulses.amplitudes[i];
    if (amplitude <= kNegligibleShare && i != last) continue;
    if (!times.empty() && impulses.times_s[i] - times.back() <= neighbours) {
      const double sum = amplitudes.back() + amplitude;
      times.back() += (impulses.times_s[i] - times.back()) * (amplitude / sum);
      amplitudes.back() = sum;
    } else {
      times.push_back(impulses.times_s[i]);
      amplitudes.push_back(amplitude);
    }
  }
  times.front() = 0.0;
  const Index count = static_cast<Index>(times.size());
  Impulses merged{Eigen::Map<Vector>(times.data(), count), Eigen::Map<Vector>(amplitudes.data(), count)};
  double sum = 0.0;
  for (const double amplitude : amplitudes) sum += amplitude;
  merged.amplitudes /= sum;
  return merged;
}

void CheckRange(const VibrationMode& mode, double low_hz, double high_hz) {
  if (!internal::IsFinite(low_hz) || low_hz <= 0.0) {
    internal::ThrowInvalidArgument("low_hz must be finite and positive.");
  }
  if (!internal::IsFinite(high_hz) || high_hz <= 0.0) {
    internal::ThrowInvalidArgument("high_hz must be finite and positive.");
  }
  if (!(low_hz <= mode.frequency_hz && mode.frequency_hz <= high_hz)) {
    internal::ThrowInvalidArgument("mode.frequency_hz must lie between low_hz and high_hz.");
  }
  if (high_hz / low_hz > kWidestRange) internal::ThrowInvalidArgument("high_hz must not exceed 4 times low_hz.");
}

[[noreturn]] void ThrowNotFound() {
  internal::ThrowInvalidArgument("No sequence of this design was found for this range and tolerance.");
}

}  // namespace

ImpulseSequence SpecifiedInsensitivity(const VibrationMode& mode, double low_hz, double high_hz, double tolerance) {
  ValidateTolerance(tolerance);
  CheckRange(mode, low_hz, high_hz);
  if (tolerance < kSmallestTolerance) ThrowNotFound();
  const Range range{low_hz / mode.frequency_hz, high_hz / mode.frequency_hz, mode.damping_ratio};
  const double aim = tolerance * (1.0 - kSafety);

  std::vector<CounterMove> moves;
  Impulses found;
  double too_short = 0.0;
  double duration = 0.25 / range.low;
  const auto suffices = [&](double of_duration) {
    return FindOfDuration(of_duration, range, aim, moves, found) <= aim;
  };
  for (int k = 0; !suffices(duration); ++k) {
    if (k == kDoublings) ThrowNotFound();
    too_short = duration;
    duration *= 2.0;
  }
  for (int k = 0; k < kBisections; ++k) {
    const double middle = 0.5 * (too_short + duration);
    (suffices(middle) ? duration : too_short) = middle;
  }
  FindOfDuration(duration, range, 0.0, moves, found);
  Impulses impulses = Merged(found);
  if (!PeaksAbove(tolerance, impulses, range).empty()) ThrowNotFound();
  impulses.times_s /= mode.frequency_hz;
  return ImpulseSequence(std::move(impulses.times_s), std::move(impulses.amplitudes));
}

}  // namespace velmora::shaping
