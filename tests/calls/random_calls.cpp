// Random calls of every exported routine, by family; the same on every machine and with every compiler.
// SPDX-License-Identifier: Apache-2.0
#include "calls/random_calls.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#include "support/arrays.hpp"
#include "support/resampling_cases.hpp"

namespace velmora::testing {
namespace {

using native::Matrix;
using native::Vector;

// Every draw from the generator is a statement of its own where two meet in one expression: compilers are free in the
// order in which they evaluate arguments.

struct Sizes {
  std::size_t samples;
  std::size_t joints;
};

// Small sizes more often than large ones.
std::size_t RandomCount(SplitMix64& random, std::size_t lowest, std::size_t highest) {
  const std::size_t span = highest - lowest + 1;
  return lowest + random.Below(random.OneIn(4) ? span : std::min<std::size_t>(span, 12));
}

Sizes RandomSizes(SplitMix64& random, std::size_t fewest, std::size_t most) {
  const std::size_t samples = RandomCount(random, fewest, most);
  const std::size_t joints = random.OneIn(8) ? random.Below(34) : random.Below(9);
  return {samples, joints};
}

ValueFamily FiniteFamily(SplitMix64& random) { return static_cast<ValueFamily>(random.Below(6)); }

double SomeValue(SplitMix64& random) {
  const std::size_t kind = random.Below(6);
  if (kind == 0) return SpecialValue(random);
  if (kind == 1) return RandomValue(random, ValueFamily::mixed_magnitudes);
  if (kind == 2) return random.OneIn(2) ? 1.0 : 0.0;
  return random.Unit();
}

// Mostly of the given shape.
Matrix SomeMatrix(SplitMix64& random, const Sizes& sizes) {
  const std::size_t rows = random.OneIn(30) ? sizes.samples + 1 : sizes.samples;
  const std::size_t cols = random.OneIn(30) ? sizes.joints + 1 : sizes.joints;
  return RandomMatrix(random, rows, cols, RandomValueFamily(random));
}

Vector SomeVector(SplitMix64& random, std::size_t size) {
  const std::size_t entries = random.OneIn(20) ? size + 1 : size;
  return RandomVector(random, entries, RandomValueFamily(random));
}

std::optional<Matrix> SomeDerivative(SplitMix64& random, const Sizes& sizes) {
  if (!random.OneIn(3)) return std::nullopt;
  return SomeMatrix(random, sizes);
}

// Arguments of every kind: most are accepted, the rest break a rule or two.
MakeTrajectory AnyTrajectory(SplitMix64& random) {
  const Sizes sizes = RandomSizes(random, 0, 120);
  MakeTrajectory given;
  given.positions = RandomMatrix(random, sizes.samples, sizes.joints, RandomValueFamily(random));
  given.velocities = SomeDerivative(random, sizes);
  given.accelerations = SomeDerivative(random, sizes);
  given.jerks = SomeDerivative(random, sizes);
  const std::size_t times = random.OneIn(20) ? sizes.samples + 1 : sizes.samples;
  if (!random.OneIn(4)) given.time = RandomTimesOrSpoiled(random, times);
  if (!random.OneIn(4)) given.dt = std::abs(SomeValue(random));
  return given;
}

MakeTrajectory GoodTrajectory(SplitMix64& random, const Sizes& sizes, TimeFamily family) {
  MakeTrajectory given;
  given.positions = RandomMatrix(random, sizes.samples, sizes.joints, FiniteFamily(random));
  given.time = RandomTimes(random, sizes.samples, family);
  if (random.OneIn(4)) given.velocities = RandomMatrix(random, sizes.samples, sizes.joints, ValueFamily::moderate);
  return given;
}

Vector SomeQueries(SplitMix64& random, const Vector& time) {
  Vector queries(static_cast<Eigen::Index>(random.Below(40)));
  const double start = time[0];
  const double end = time[time.size() - 1];
  for (double& query : queries) {
    const double u = random.Unit();
    const auto at = static_cast<Eigen::Index>(random.Below(static_cast<std::size_t>(time.size())));
    query = random.OneIn(3) ? time[at] : std::clamp((1.0 - u) * start + u * end, start, end);
    if (random.OneIn(300)) query = RandomValue(random, ValueFamily::mixed_magnitudes);
    if (random.OneIn(300)) query = SpecialValue(random);
  }
  if (random.OneIn(15)) return queries;
  std::sort(queries.begin(), queries.end(), [](double a, double b) { return a < b || (a == a && b != b); });
  const auto distinct = std::unique(queries.begin(), queries.end());
  const Vector ascending = queries.head(std::distance(queries.begin(), distinct));
  return ascending;
}

Call ResampleOn(SplitMix64& random, MakeTrajectory trajectory, int method) {
  const Vector& time = *trajectory.time;
  const double dt = RandomSampleTime(random, time[time.size() - 1] - time[0]);
  const int grid_mode = RandomGridMode(random);
  const bool strict = random.OneIn(2);
  return Resample{std::move(trajectory), dt, method, grid_mode, strict};
}

TimeFamily OrdinaryTimes(SplitMix64& random) {
  const std::array<TimeFamily, 4> families = {TimeFamily::uniform, TimeFamily::jittered, TimeFamily::integers,
                                              TimeFamily::late_start};
  return families.at(random.Below(families.size()));
}

TimeFamily ExtremeTimes(SplitMix64& random) {
  const std::array<TimeFamily, 4> families = {TimeFamily::geometric, TimeFamily::nearly_repeated, TimeFamily::huge,
                                              TimeFamily::subnormal};
  return families.at(random.Below(families.size()));
}

Call Cubic(SplitMix64& random, std::size_t fewest, std::size_t most, TimeFamily family) {
  const Sizes sizes = RandomSizes(random, fewest, most);
  return ResampleOn(random, GoodTrajectory(random, sizes, family), 1);
}

Call AnyLinear(SplitMix64& random) {
  const Sizes sizes = RandomSizes(random, 1, 200);
  const TimeFamily family = RandomTimeFamily(random);
  return ResampleOn(random, GoodTrajectory(random, sizes, family), 0);
}

Call ShortCubic(SplitMix64& random) { return Cubic(random, 1, 2, RandomTimeFamily(random)); }
Call DenseCubic(SplitMix64& random) { return Cubic(random, 3, 32, OrdinaryTimes(random)); }
Call DenseExtremeCubic(SplitMix64& random) { return Cubic(random, 3, 32, ExtremeTimes(random)); }
Call LongCubic(SplitMix64& random) { return Cubic(random, 33, 220, OrdinaryTimes(random)); }
Call LongUnevenCubic(SplitMix64& random) { return Cubic(random, 33, 220, TimeFamily::geometric); }
Call LongHugeCubic(SplitMix64& random) { return Cubic(random, 33, 220, TimeFamily::huge); }
// The reciprocals of their pivots are not finite.
Call RefusedCubic(SplitMix64& random) { return Cubic(random, 33, 120, TimeFamily::subnormal); }

// Of some the reciprocal of a pivot overflows.
Call RepeatedCubic(SplitMix64& random) { return Cubic(random, 33, 220, TimeFamily::nearly_repeated); }

Call AnyCopy(SplitMix64& random) {
  MakeTrajectory trajectory = AnyTrajectory(random);
  const int level = static_cast<int>(random.Below(4));
  return CopyTrajectory{std::move(trajectory), level};
}

Call AnySampling(SplitMix64& random) {
  const Sizes sizes = RandomSizes(random, 1, 200);
  const TimeFamily family = RandomTimeFamily(random);
  MakeTrajectory trajectory = GoodTrajectory(random, sizes, family);
  Vector queries = SomeQueries(random, *trajectory.time);
  const bool derivatives = random.OneIn(2);
  return SampleTrajectory{std::move(trajectory), std::move(queries), derivatives};
}

Call UniformDifference(SplitMix64& random) {
  const Sizes sizes = RandomSizes(random, 0, 200);
  Matrix signal = RandomMatrix(random, sizes.samples, sizes.joints, RandomValueFamily(random));
  const double spacing = random.OneIn(6) ? SpecialValue(random) : std::abs(SomeValue(random));
  return Difference{std::move(signal), spacing};
}

Call TimedDifference(SplitMix64& random) {
  const Sizes sizes = RandomSizes(random, 0, 200);
  Matrix signal = RandomMatrix(random, sizes.samples, sizes.joints, RandomValueFamily(random));
  const std::size_t times = random.OneIn(20) ? sizes.samples + 1 : sizes.samples;
  return Difference{std::move(signal), RandomTimesOrSpoiled(random, times)};
}

Call UniformBlend(SplitMix64& random) {
  const Sizes sizes = RandomSizes(random, 0, 200);
  Matrix raw = SomeMatrix(random, sizes);
  Matrix shaped = SomeMatrix(random, sizes);
  return Blend{std::move(raw), std::move(shaped), SomeValue(random)};
}

Call PerSampleBlend(SplitMix64& random) {
  const Sizes sizes = RandomSizes(random, 0, 200);
  Matrix raw = SomeMatrix(random, sizes);
  Matrix shaped = SomeMatrix(random, sizes);
  Vector weights(static_cast<Eigen::Index>(random.OneIn(20) ? sizes.samples + 1 : sizes.samples));
  for (double& weight : weights) weight = SomeValue(random);
  return Blend{std::move(raw), std::move(shaped), std::move(weights)};
}

Call AnyPath(SplitMix64& random) {
  const Sizes sizes = RandomSizes(random, 0, 200);
  return PathCoordinate{RandomMatrix(random, sizes.samples, sizes.joints, RandomValueFamily(random))};
}

Call AnyTail(SplitMix64& random) {
  const Sizes sizes = RandomSizes(random, 0, 200);
  BlendTail call;
  call.raw_position = SomeVector(random, sizes.joints);
  call.shaped_tail.positions = SomeMatrix(random, sizes);
  call.shaped_tail.velocities = SomeMatrix(random, sizes);
  call.shaped_tail.accelerations = SomeMatrix(random, sizes);
  call.shaped_tail.time = SomeVector(random, sizes.samples);
  call.weight = SomeValue(random);
  return call;
}

Box SomeBox(SplitMix64& random, std::size_t joints, std::size_t mismatch_odds) {
  const ValueFamily family = RandomValueFamily(random);
  Box box;
  box.lower = RandomVector(random, joints, family);
  box.upper = RandomVector(random, random.OneIn(mismatch_odds) ? joints + 1 : joints, family);
  if (box.upper.size() == box.lower.size() && !random.OneIn(8)) {
    for (Eigen::Index j = 0; j < box.upper.size(); ++j) {
      if (box.upper[j] < box.lower[j]) std::swap(box.upper[j], box.lower[j]);
    }
  }
  return box;
}

Call AnyBox(SplitMix64& random) {
  const std::size_t joints = random.Below(12);
  return SomeBox(random, joints, 10);
}

Call AnyLimits(SplitMix64& random) {
  const std::size_t joints = random.Below(8);
  Limits call;
  for (std::optional<Box>& box : call.boxes) {
    if (random.OneIn(3)) continue;
    const std::size_t box_joints = random.OneIn(8) ? joints + 1 : joints;
    box = SomeBox(random, box_joints, 60);
  }
  return call;
}

template <ScalarRoutine routine>
Call AnyScalar(SplitMix64& random) {
  return Scalar{routine, random.OneIn(3) ? RandomValue(random, RandomValueFamily(random)) : SomeValue(random)};
}

template <bool grid_mode>
Call AnyParse(SplitMix64& random) {
  const std::array<const char*, 6> names = {"linear",
                                            "cubic",
                                            "exact_dt_append_endpoint",
                                            "exact_dt_trim",
                                            "exact_duration_adjust_dt",
                                            "exact_dt_extend_endpoint"};
  std::string text = names.at(random.Below(names.size()));
  if (random.OneIn(3)) {
    const std::size_t at = random.Below(text.size());
    text[at] = static_cast<char>(1 + random.Below(255));  // what() ends at a zero byte
  }
  if (random.OneIn(5)) text.resize(random.Below(text.size() + 2), ' ');
  return Parse{grid_mode, std::move(text)};
}

}  // namespace

const std::vector<CallFamily>& CallFamilies() {
  static const std::vector<CallFamily> families = {
      {"trajectory/any", [](SplitMix64& random) { return Call(AnyTrajectory(random)); }},
      {"trajectory_copy/any", AnyCopy},
      {"sample_trajectory_at_times/any", AnySampling},
      {"resample_linear/any", AnyLinear},
      {"resample_cubic/up_to_2_knots", ShortCubic},
      {"resample_cubic/long", LongCubic},
      {"resample_cubic/long_uneven", LongUnevenCubic},
      {"resample_cubic/long_huge", LongHugeCubic},
      {"resample_cubic/dense", DenseCubic},
      {"resample_cubic/dense_extreme", DenseExtremeCubic},
      {"resample_cubic/dense_refused", RefusedCubic},
      {"resample_cubic/dense_nearly_repeated", RepeatedCubic},
      {"sample_aligned_first_difference/uniform", UniformDifference},
      {"sample_aligned_first_difference/timed", TimedDifference},
      {"blend_arrays/uniform", UniformBlend},
      {"blend_arrays/per_sample", PerSampleBlend},
      {"joint_path_coordinate/any", AnyPath},
      {"blend_tail_with_held_raw_endpoint/any", AnyTail},
      {"joint_state_box/any", AnyBox},
      {"joint_state_limits/any", AnyLimits},
      {"validate_vibration_shaping_weight/any", AnyScalar<ScalarRoutine::shaping_weight>},
      {"validate_vibration_weight_transition_s/any", AnyScalar<ScalarRoutine::transition_s>},
      {"validate_vibration_weight_rate_per_s/any", AnyScalar<ScalarRoutine::rate_per_s>},
      {"smootherstep/any", AnyScalar<ScalarRoutine::smootherstep>},
      {"parse_resampling_method/any", AnyParse<false>},
      {"parse_resampling_time_grid_mode/any", AnyParse<true>},
  };
  return families;
}

}  // namespace velmora::testing
