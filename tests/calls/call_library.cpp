// Makes a call in the library.
// SPDX-License-Identifier: Apache-2.0
#include "calls/call_library.hpp"

#include <new>
#include <utility>

#include "support/arrays.hpp"
#include "velmora/control/shaper/blending.hpp"
#include "velmora/control/shaper/parameters.hpp"
#include "velmora/control/shaper/tail_blend.hpp"
#include "velmora/native/invalid_argument_error.hpp"
#include "velmora/util/smootherstep.hpp"
#include "velmora/util/timing/differentiation.hpp"
#include "velmora/util/timing/limits.hpp"
#include "velmora/util/timing/resampling.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::testing {
namespace {

using util::timing::JointStateBox;
using util::timing::JointStateLimits;
using util::timing::JointTrajectory;
using util::timing::ResamplingMethod;
using util::timing::ResamplingTimeGridMode;

using Tables = std::vector<oracle::Table>;

JointTrajectory Make(const MakeTrajectory& given) {
  return {given.positions, given.velocities, given.accelerations, given.time, given.dt, given.jerks};
}

JointStateBox Make(const Box& box) { return {box.lower, box.upper}; }

void Keep(Tables& values, const native::Matrix& matrix) { values.push_back(ToTable(matrix)); }

void Keep(Tables& values, double value) { values.emplace_back(1, 1, value); }

void Keep(Tables& values, const JointTrajectory& trajectory) {
  Keep(values, trajectory.time);
  Keep(values, trajectory.positions);
  Keep(values, trajectory.velocities());
  Keep(values, trajectory.accelerations());
  Keep(values, trajectory.jerks());
}

void Run(const MakeTrajectory& call, Tables& values) { Keep(values, Make(call)); }

void Run(const CopyTrajectory& call, Tables& values) {
  const JointTrajectory trajectory = Make(call.trajectory);
  if (call.level >= 1) static_cast<void>(trajectory.velocities());
  if (call.level >= 2) static_cast<void>(trajectory.accelerations());
  if (call.level >= 3) static_cast<void>(trajectory.jerks());
  Keep(values, trajectory.Copy());
}

void Run(const SampleTrajectory& call, Tables& values) {
  Keep(values, SampleTrajectoryAtTimes(Make(call.trajectory), call.query_time_s, call.include_derivatives));
}

void Run(const Resample& call, Tables& values) {
  Keep(values, ResampleTrajectory(Make(call.trajectory), call.sample_time_s, static_cast<ResamplingMethod>(call.method),
                                  static_cast<ResamplingTimeGridMode>(call.grid_mode), call.strict_cubic));
}

void Run(const Difference& call, Tables& values) {
  std::visit(
      [&](const auto& spacing) { Keep(values, util::timing::SampleAlignedFirstDifference(call.signal, spacing)); },
      call.sample_spacing);
}

void Run(const Blend& call, Tables& values) {
  Keep(values, control::shaper::BlendArrays(call.raw, call.shaped, call.weight));
}

void Run(const PathCoordinate& call, Tables& values) {
  Keep(values, control::shaper::JointPathCoordinate(call.positions));
}

void Run(const BlendTail& call, Tables& values) {
  const native::ShapedTrajectory blend =
      control::shaper::BlendTailWithHeldRawEndpoint(call.raw_position, call.shaped_tail, call.weight);
  Keep(values, blend.positions);
  Keep(values, blend.velocities);
  Keep(values, blend.accelerations);
  Keep(values, blend.time);
}

void Run(const Box& call, Tables& values) {
  const JointStateBox box = Make(call);
  Keep(values, box.lower);
  Keep(values, box.upper);
}

void Run(const Limits& call, Tables& values) {
  std::array<std::optional<JointStateBox>, 4> boxes;
  for (std::size_t field = 0; field < boxes.size(); ++field) {
    if (call.boxes[field]) boxes[field] = Make(*call.boxes[field]);
  }
  const JointStateLimits limits(boxes[0], boxes[1], boxes[2], boxes[3]);
  for (const auto* box : {&limits.position, &limits.velocity, &limits.acceleration, &limits.jerk}) {
    if (*box) Keep(values, (*box)->upper);
  }
}

void Run(const Scalar& call, Tables& values) {
  switch (call.routine) {
    case ScalarRoutine::shaping_weight:
      return control::shaper::ValidateVibrationShapingWeight(call.value);
    case ScalarRoutine::transition_s:
      return control::shaper::ValidateVibrationWeightTransitionS(call.value);
    case ScalarRoutine::rate_per_s:
      return control::shaper::ValidateVibrationWeightRatePerS(call.value);
    case ScalarRoutine::smootherstep:
      return Keep(values, util::Smootherstep(call.value));
  }
}

void Run(const Parse& call, Tables& values) {
  Keep(values, call.grid_mode ? static_cast<double>(util::timing::ParseResamplingTimeGridMode(call.text))
                              : static_cast<double>(util::timing::ParseResamplingMethod(call.text)));
}

}  // namespace

Result CallLibrary(const Call& call) {
  Result result;
  try {
    std::visit([&](const auto& arguments) { Run(arguments, result.values); }, call);
  } catch (const native::InvalidArgumentError& error) {
    result.failure = oracle::Failure{oracle::FailureKind::invalid_argument, error.what(), error.argument_name()};
  } catch (const std::bad_alloc&) {
    result.failure = oracle::Failure{oracle::FailureKind::bad_alloc, "", std::nullopt};
  } catch (const std::bad_variant_access&) {
    result.failure = oracle::Failure{oracle::FailureKind::bad_variant_access, "", std::nullopt};
  }
  if (result.failure) result.values.clear();
  return result;
}

}  // namespace velmora::testing
