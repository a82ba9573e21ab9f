// Makes a call in the reference.
// SPDX-License-Identifier: Apache-2.0
#include "calls/call_reference.hpp"

#include "oracle/blending.hpp"
#include "oracle/cubic.hpp"
#include "oracle/differentiation.hpp"
#include "oracle/limits.hpp"
#include "oracle/linear.hpp"
#include "oracle/options.hpp"
#include "oracle/parameters.hpp"
#include "oracle/trajectory.hpp"
#include "support/arrays.hpp"

namespace velmora::testing {
namespace {

using Tables = std::vector<oracle::Table>;

std::optional<oracle::Table> ToTable(const std::optional<native::Matrix>& matrix) {
  return matrix ? std::optional(testing::ToTable(*matrix)) : std::nullopt;
}

oracle::Trajectory Make(const MakeTrajectory& given) {
  return oracle::MakeTrajectory(
      testing::ToTable(given.positions), ToTable(given.velocities), ToTable(given.accelerations),
      given.time ? std::optional(ToStd(*given.time)) : std::nullopt, given.dt, ToTable(given.jerks));
}

void Keep(Tables& values, const oracle::Table& table) { values.push_back(table); }

void Keep(Tables& values, const std::vector<double>& column) {
  oracle::Table table(column.size(), 1);
  table.values = column;
  values.push_back(table);
}

void Keep(Tables& values, double value) { values.emplace_back(1, 1, value); }

void Keep(Tables& values, oracle::Trajectory trajectory) {
  Keep(values, trajectory.time);
  Keep(values, trajectory.positions);
  Keep(values, oracle::Velocities(trajectory));
  Keep(values, oracle::Accelerations(trajectory));
  Keep(values, oracle::Jerks(trajectory));
}

void Run(const MakeTrajectory& call, Tables& values) { Keep(values, Make(call)); }

void Run(const CopyTrajectory& call, Tables& values) {
  oracle::Trajectory trajectory = Make(call.trajectory);
  if (call.level >= 1) oracle::Velocities(trajectory);
  if (call.level >= 2) oracle::Accelerations(trajectory);
  if (call.level >= 3) oracle::Jerks(trajectory);
  Keep(values, oracle::Copy(trajectory));
}

void Run(const SampleTrajectory& call, Tables& values) {
  oracle::Trajectory trajectory = Make(call.trajectory);
  Keep(values, oracle::SampleTrajectoryAtTimes(trajectory, ToStd(call.query_time_s), call.include_derivatives));
}

void Run(const Resample& call, Tables& values) {
  Keep(values, oracle::ResampleTrajectory(Make(call.trajectory), call.sample_time_s, call.method, call.grid_mode,
                                          call.strict_cubic));
}

void Run(const Difference& call, Tables& values) {
  const oracle::Table signal = testing::ToTable(call.signal);
  if (const double* spacing = std::get_if<double>(&call.sample_spacing)) {
    Keep(values, oracle::SampleAlignedFirstDifference(signal, *spacing));
  } else {
    Keep(values, oracle::SampleAlignedFirstDifference(signal, ToStd(std::get<native::Vector>(call.sample_spacing))));
  }
}

void Run(const Blend& call, Tables& values) {
  std::variant<double, std::vector<double>> weight = 0.0;
  if (const double* scalar = std::get_if<double>(&call.weight)) {
    weight = *scalar;
  } else {
    weight = ToStd(std::get<native::Vector>(call.weight));
  }
  Keep(values, oracle::BlendArrays(testing::ToTable(call.raw), testing::ToTable(call.shaped), weight));
}

void Run(const PathCoordinate& call, Tables& values) {
  Keep(values, oracle::JointPathCoordinate(testing::ToTable(call.positions)));
}

void Run(const BlendTail& call, Tables& values) {
  const native::ShapedTrajectory& tail = call.shaped_tail;
  const oracle::ShapedTrajectory blend =
      oracle::BlendTailWithHeldRawEndpoint(ToStd(call.raw_position),
                                           {testing::ToTable(tail.positions), testing::ToTable(tail.velocities),
                                            testing::ToTable(tail.accelerations), ToStd(tail.time)},
                                           call.weight);
  Keep(values, blend.positions);
  Keep(values, blend.velocities);
  Keep(values, blend.accelerations);
  Keep(values, blend.time);
}

void Run(const Box& call, Tables& values) {
  oracle::CheckJointStateBox(ToStd(call.lower), ToStd(call.upper));
  Keep(values, ToStd(call.lower));
  Keep(values, ToStd(call.upper));
}

void Run(const Limits& call, Tables& values) {
  std::array<std::optional<std::size_t>, 4> joint_counts;
  for (std::size_t field = 0; field < joint_counts.size(); ++field) {
    if (!call.boxes[field]) continue;
    oracle::CheckJointStateBox(ToStd(call.boxes[field]->lower), ToStd(call.boxes[field]->upper));
    joint_counts[field] = static_cast<std::size_t>(call.boxes[field]->lower.size());
  }
  oracle::CheckJointStateLimits(joint_counts);
  for (const std::optional<Box>& box : call.boxes) {
    if (box) Keep(values, ToStd(box->upper));
  }
}

void Run(const Scalar& call, Tables& values) {
  switch (call.routine) {
    case ScalarRoutine::shaping_weight:
      return oracle::ValidateVibrationShapingWeight(call.value);
    case ScalarRoutine::transition_s:
      return oracle::ValidateVibrationWeightTransitionS(call.value);
    case ScalarRoutine::rate_per_s:
      return oracle::ValidateVibrationWeightRatePerS(call.value);
    case ScalarRoutine::smootherstep:
      return Keep(values, oracle::Smootherstep(call.value));
  }
}

void Run(const Parse& call, Tables& values) {
  Keep(values, static_cast<double>(call.grid_mode ? oracle::ParseResamplingTimeGridMode(call.text)
                                                  : oracle::ParseResamplingMethod(call.text)));
}

}  // namespace

Result CallReference(const Call& call) {
  Result result;
  try {
    std::visit([&](const auto& arguments) { Run(arguments, result.values); }, call);
  } catch (const oracle::Failure& failure) {
    result.values.clear();
    result.failure = failure;
  }
  return result;
}

}  // namespace velmora::testing
