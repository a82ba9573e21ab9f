// Trajectories shaped by impulse sequences.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/shape_trajectory.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "internal/cpu_dispatch.hpp"
#include "internal/finiteness.hpp"
#include "internal/row_lanes.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "internal/unwritten_matrix.hpp"
#include "shaping/add_copy.hpp"
#include "shaping/command_at_times.hpp"
#include "shaping/impulse_sequence_sizes.hpp"
#include "shaping/shaped_parts.hpp"
#include "shaping/spline_copies.hpp"
#include "shaping/step_count.hpp"
#include "util/timing/trajectory_sizes.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;
using internal::ThrowInvalidArgument;
using internal::UnwrittenMatrix;
using util::timing::SplineRows;

// Samples that are shaped together: what their copies need stays in the processor's caches.
constexpr Index kSamplesAtOnce = 256;
// More copies of so many samples do not stay there, and it no longer pays to take them together.
constexpr Index kMostTogether = 512;

void CheckSequences(const std::vector<ImpulseSequence>& sequences, Index joints) {
  const Index count = static_cast<Index>(sequences.size());
  if (count != 1 && (count != joints || count == 0)) {
    ThrowInvalidArgument("sequences must hold one sequence, or one per joint.");
  }
  for (const ImpulseSequence& sequence : sequences) CheckSizes(sequence);
}

// By how much each sequence is delayed so that all have the same centroid, and what all have in common then.
struct Alignment {
  std::vector<double> delays_s;
  double lag_s = 0.0;
  double added_duration_s = 0.0;
};

Alignment Align(const std::vector<ImpulseSequence>& sequences) {
  Alignment alignment;
  alignment.lag_s = sequences.front().centroid_s();
  for (const ImpulseSequence& sequence : sequences) {
    alignment.lag_s = std::max(alignment.lag_s, sequence.centroid_s());
  }
  for (const ImpulseSequence& sequence : sequences) {
    alignment.delays_s.push_back(alignment.lag_s - sequence.centroid_s());
    alignment.added_duration_s =
        std::max(alignment.added_duration_s, alignment.delays_s.back() + sequence.duration_s());
  }
  return alignment;
}

struct AddCopyKernel {
  // The rows of a stretch, taken as one: sums = before + amplitude * (copy - first), where `before` is `sums`, or
  // `first` for the first copy added
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(double amplitude, const double* copy, const double* first, const double* before,
                                        Index count, double* sums) {
    internal::ForEachJoint(count, sums, [&](auto at) VELMORA_ALWAYS_INLINE_LAMBDA {
      return AddCopy(at(before), amplitude, at(copy), at(first));
    });
  }
};

// Room for the copies of some samples.
struct Copies {
  CommandRows first;
  CommandRows next;
};

// The samples from `begin` on, which are at these times less the sequence's: copy after copy, any command.
void AddCopyByCopy(const CommandAtTimes& command, const ImpulseSequence& sequence,
                   const Eigen::Ref<const Vector>& delayed_s, Index begin, Copies& copies, ShapedTrajectory& shaped) {
  const Index joints = shaped.positions.cols();
  const Index count = delayed_s.size();
  command.At(delayed_s, copies.first);
  if (sequence.times_s.size() == 1) {
    shaped.positions.middleRows(begin, count) = copies.first.positions.topRows(count);
    shaped.velocities.middleRows(begin, count) = copies.first.velocities.topRows(count);
    shaped.accelerations.middleRows(begin, count) = copies.first.accelerations.topRows(count);
  }
  for (Index i = 1; i < sequence.times_s.size(); ++i) {
    command.At(delayed_s.array() - sequence.times_s[i], copies.next);
    const auto add = [&](const Matrix& from, const Matrix& to, Matrix& result) {
      double* const sums = result.data() + begin * joints;
      internal::RunKernel<AddCopyKernel>(sequence.amplitudes[i], to.data(), from.data(), i == 1 ? from.data() : sums,
                                         count * joints, sums);
    };
    add(copies.first.positions, copies.next.positions, shaped.positions);
    add(copies.first.velocities, copies.next.velocities, shaped.velocities);
    add(copies.first.accelerations, copies.next.accelerations, shaped.accelerations);
  }
}

struct SampleRange {
  Index begin;
  Index end;
};

// The samples of which every copy lies between the knots.
SampleRange AllCopiesInside(const SplineRows& spline, const Vector& delayed_s, const ImpulseSequence& sequence) {
  const auto end = std::upper_bound(delayed_s.begin(), delayed_s.end(), spline.x[spline.knots - 1]);
  const double last_s = sequence.duration_s();
  const auto begin =
      std::partition_point(delayed_s.begin(), end, [&](double first_s) { return first_s - last_s < spline.x[0]; });
  return {begin - delayed_s.begin(), end - delayed_s.begin()};
}

// The command at the times of `shaped`.
void ShapeAll(const CommandAtTimes& command, const ImpulseSequence& sequence, double delay_s,
              ShapedTrajectory& shaped) {
  const Index joints = shaped.positions.cols();
  const Index samples = shaped.time.size();
  const Vector delayed_s = shaped.time.array() - delay_s;
  std::optional<SplineCopies> spline_copies;
  SampleRange inside = {samples, samples};
  const std::optional<SplineRows> spline = command.spline();
  if (spline && sequence.times_s.size() <= kMostTogether) {
    inside = AllCopiesInside(*spline, delayed_s, sequence);
    if (inside.begin < inside.end) {
      spline_copies.emplace(*spline, sequence, std::min(kSamplesAtOnce, inside.end - inside.begin));
    }
  }
  const Index most = std::min(kSamplesAtOnce, samples);
  Copies copies{{most, joints}, {most, joints}};
  for (Index begin = 0, count = 0; begin < samples; begin += count) {
    const bool are_inside = begin >= inside.begin && begin < inside.end;
    const Index end = begin < inside.begin ? inside.begin : are_inside ? inside.end : samples;
    count = std::min(kSamplesAtOnce, end - begin);
    const Index at = begin * joints;
    const util::timing::SampleRows sums{shaped.positions.data() + at, shaped.velocities.data() + at,
                                        shaped.accelerations.data() + at};
    if (are_inside && spline_copies->Sum(delayed_s.data() + begin, count, sums)) continue;
    AddCopyByCopy(command, sequence, delayed_s.segment(begin, count), begin, copies, shaped);
  }
}

JointTrajectory OneJoint(const JointTrajectory& trajectory, Index joint, ResamplingMethod method) {
  std::optional<Matrix> velocities;
  std::optional<Matrix> accelerations;
  if (method == ResamplingMethod::linear) {
    velocities = trajectory.velocities().col(joint);
    accelerations = trajectory.accelerations().col(joint);
  }
  return JointTrajectory(trajectory.positions.col(joint), std::move(velocities), std::move(accelerations),
                         trajectory.time, std::nullopt, std::nullopt);
}

// Room for the samples at these times, to be filled.
ShapedTrajectory PartAt(const Vector& times_s, Index joints) {
  const Index samples = times_s.size();
  return {UnwrittenMatrix(samples, joints), UnwrittenMatrix(samples, joints), UnwrittenMatrix(samples, joints),
          times_s};
}

void ShapeEachJoint(const JointTrajectory& trajectory, const std::vector<ImpulseSequence>& sequences,
                    const Alignment& alignment, ResamplingMethod method, ShapedTrajectory& move,
                    ShapedTrajectory& tail) {
  for (Index joint = 0; joint < trajectory.positions.cols(); ++joint) {
    const std::size_t k = static_cast<std::size_t>(joint);
    const JointTrajectory one = OneJoint(trajectory, joint, method);
    const CommandAtTimes raw(one, method);
    for (ShapedTrajectory* part : {&move, &tail}) {
      if (part->time.size() == 0) continue;  // an array without elements has no columns to point to
      ShapedTrajectory column = PartAt(part->time, 1);
      ShapeAll(raw, sequences[k], alignment.delays_s[k], column);
      part->positions.col(joint) = column.positions;
      part->velocities.col(joint) = column.velocities;
      part->accelerations.col(joint) = column.accelerations;
    }
  }
}

ShapedCommand Shape(const JointTrajectory& trajectory, const std::vector<ImpulseSequence>& sequences,
                    const Vector& times_s, Index move_samples, const Alignment& alignment, ResamplingMethod method) {
  const Index joints = trajectory.positions.cols();
  const CommandAtTimes raw(trajectory, method);
  ShapedTrajectory move = PartAt(times_s.head(move_samples), joints);
  ShapedTrajectory tail = PartAt(times_s.tail(times_s.size() - move_samples), joints);
  if (sequences.size() == 1) {
    for (ShapedTrajectory* part : {&move, &tail}) ShapeAll(raw, sequences.front(), 0.0, *part);
  } else {
    ShapeEachJoint(trajectory, sequences, alignment, method, move, tail);
  }
  Vector both_ends_s(2);
  both_ends_s << trajectory.time[0], trajectory.time[trajectory.time.size() - 1];
  CommandRows ends(2, joints);
  raw.At(both_ends_s, ends);
  return {std::move(move),        std::move(tail),           alignment.added_duration_s, alignment.lag_s,
          ends.velocities.row(0), ends.accelerations.row(0), ends.velocities.row(1),     ends.accelerations.row(1)};
}

}  // namespace

ShapedCommand ShapeTrajectory(const JointTrajectory& trajectory, const std::vector<ImpulseSequence>& sequences,
                              double sample_time_s, ResamplingMethod method) {
  util::timing::CheckSizes(trajectory);
  CheckSequences(sequences, trajectory.positions.cols());
  if (!internal::IsFinite(sample_time_s) || sample_time_s <= 0.0)
    ThrowInvalidArgument("sample_time_s must be positive.");
  const Alignment alignment = Align(sequences);
  const Index samples = trajectory.time.size();
  const Index tail_samples = StepCount(alignment.added_duration_s, sample_time_s);
  Vector times_s(samples + tail_samples);
  times_s.head(samples) = trajectory.time;
  for (Index k = 0; k < tail_samples; ++k) {
    times_s[samples + k] = trajectory.time[samples - 1] + static_cast<double>(k + 1) * sample_time_s;
  }
  return Shape(trajectory, sequences, times_s, samples, alignment, method);
}

ShapedCommand ShapeTrajectory(const JointTrajectory& trajectory, const std::vector<ImpulseSequence>& sequences,
                              const Vector& times_s, ResamplingMethod method) {
  util::timing::CheckSizes(trajectory);
  CheckSequences(sequences, trajectory.positions.cols());
  if (!internal::AllFinite(times_s)) ThrowInvalidArgument("times_s must contain only finite values.");
  for (Index i = 1; i < times_s.size(); ++i) {
    if (times_s[i] <= times_s[i - 1]) ThrowInvalidArgument("times_s must be strictly increasing.");
  }
  const double end_s = trajectory.time[trajectory.time.size() - 1];
  const Index move_samples = std::upper_bound(times_s.begin(), times_s.end(), end_s) - times_s.begin();
  return Shape(trajectory, sequences, times_s, move_samples, Align(sequences), method);
}

ShapedTrajectory JoinMoveAndTail(const ShapedCommand& command) {
  CheckParts(command);
  const Index samples = command.move.time.size();
  const Index joints = command.move.positions.cols();
  const Index all = samples + command.tail.time.size();
  ShapedTrajectory joined{Matrix(all, joints), Matrix(all, joints), Matrix(all, joints), Vector(all)};
  joined.positions << command.move.positions, command.tail.positions;
  joined.velocities << command.move.velocities, command.tail.velocities;
  joined.accelerations << command.move.accelerations, command.tail.accelerations;
  joined.time << command.move.time, command.tail.time;
  return joined;
}

}  // namespace velmora::shaping
