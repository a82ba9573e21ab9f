// Shaping in a control loop, one sample at a time.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/streaming_shaper.hpp"

#include <cmath>

#include "internal/blend_element.hpp"
#include "internal/finiteness.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "shaping/add_copy.hpp"
#include "shaping/impulse_sequence_sizes.hpp"
#include "shaping/step_count.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;
using internal::ThrowInvalidArgument;

// The samples that the longest delay reaches back to, one before and one after it, and the newest one; one more since
// times are rounded.
std::int64_t Capacity(double duration_s, double sample_time_s) { return StepCount(duration_s, sample_time_s) + 4; }

JointSample AtRestAtZero(Index joints) { return {Vector::Zero(joints), Vector::Zero(joints), Vector::Zero(joints)}; }

void AddRow(double amplitude, const Vector& copy, const Vector& first, Vector& sum) {
  for (Index j = 0; j < sum.size(); ++j) sum[j] = AddCopy(sum[j], amplitude, copy[j], first[j]);
}

void Interpolate(double share, const Matrix& rows, Index before, Index after, Vector& result) {
  const double complement = 1.0 - share;
  for (Index j = 0; j < result.size(); ++j) {
    result[j] = internal::BlendElement<internal::AnyProcessor>(complement, rows(before, j), share, rows(after, j));
  }
}

}  // namespace

StreamingShaper::StreamingShaper(const ImpulseSequence& sequence, Index joints, double sample_time_s)
    : sequence_(sequence), sample_time_s_(sample_time_s), capacity_(0) {
  CheckSizes(sequence);
  if (joints < 0) ThrowInvalidArgument("joints must be non-negative.");
  if (!internal::IsFinite(sample_time_s) || sample_time_s <= 0.0)
    ThrowInvalidArgument("sample_time_s must be positive.");
  capacity_ = Capacity(sequence.duration_s(), sample_time_s);
  positions_ = Matrix::Zero(static_cast<Index>(capacity_), joints);
  velocities_ = positions_;
  accelerations_ = positions_;
  first_ = AtRestAtZero(joints);
  other_ = first_;
  shaped_ = first_;
}

// Moving exchanges memory, or leaves none, and copies the capacity.
void StreamingShaper::CheckCapacity() const {
  if (positions_.rows() != capacity_) ThrowInvalidArgument("the shaper was moved from.");
}

const JointSample& StreamingShaper::Step(const JointSample& raw) {
  CheckCapacity();
  const Index joints = positions_.cols();
  if (raw.position.size() != joints || raw.velocity.size() != joints || raw.acceleration.size() != joints) {
    ThrowInvalidArgument("raw sample must have the number of joints of the shaper.");
  }
  if (!internal::AllFinite(raw.position) || !internal::AllFinite(raw.velocity) ||
      !internal::AllFinite(raw.acceleration)) {
    ThrowInvalidArgument("raw sample must contain only finite values.");
  }
  const Index row = static_cast<Index>(samples_ % capacity_);
  positions_.row(row) = raw.position.transpose();
  velocities_.row(row) = raw.velocity.transpose();
  accelerations_.row(row) = raw.acceleration.transpose();
  ++samples_;
  tail_samples_ = 0;
  return Shape();
}

const JointSample& StreamingShaper::StepTail() {
  CheckCapacity();
  if (samples_ == 0) ThrowInvalidArgument("no sample has been shaped yet.");
  const Index last = static_cast<Index>((samples_ - 1) % capacity_);
  const Index row = static_cast<Index>(samples_ % capacity_);
  positions_.row(row) = positions_.row(last);
  velocities_.row(row).setZero();
  accelerations_.row(row).setZero();
  ++samples_;
  ++tail_samples_;
  return Shape();
}

const JointSample& StreamingShaper::HardStop() {
  CheckCapacity();
  if (!has_output_) ThrowInvalidArgument("no sample has been shaped yet.");
  samples_ = 0;
  shaped_.velocity.setZero();
  shaped_.acceleration.setZero();
  return shaped_;
}

bool StreamingShaper::AtRest() const {
  CheckCapacity();
  if (samples_ == 0) return true;
  const double last_copy_s = TimeOf(samples_ - 1) - sequence_.duration_s();
  return tail_samples_ > 0 && last_copy_s > TimeOf(samples_ - 1 - tail_samples_);
}

double StreamingShaper::TimeOf(std::int64_t sample) const { return static_cast<double>(sample) * sample_time_s_; }

const JointSample& StreamingShaper::Shape() {
  const double now_s = TimeOf(samples_ - 1);
  CopyAt(now_s, first_);
  shaped_.position = first_.position;
  shaped_.velocity = first_.velocity;
  shaped_.acceleration = first_.acceleration;
  for (Index i = 1; i < sequence_.times_s.size(); ++i) {
    CopyAt(now_s - sequence_.times_s[i], other_);
    AddRow(sequence_.amplitudes[i], other_.position, first_.position, shaped_.position);
    AddRow(sequence_.amplitudes[i], other_.velocity, first_.velocity, shaped_.velocity);
    AddRow(sequence_.amplitudes[i], other_.acceleration, first_.acceleration, shaped_.acceleration);
  }
  has_output_ = true;
  return shaped_;
}

void StreamingShaper::RowAt(std::int64_t sample, JointSample& copy) const {
  const Index row = static_cast<Index>(sample % capacity_);
  copy.position = positions_.row(row).transpose();
  copy.velocity = velocities_.row(row).transpose();
  copy.acceleration = accelerations_.row(row).transpose();
}

// As linear interpolation does it between samples at the times `TimeOf`: at rest outside the command, the sample itself
// at its ends.
void StreamingShaper::CopyAt(double time_s, JointSample& copy) const {
  const std::int64_t end = samples_ - 1 - tail_samples_;  // the last sample that is not of the tail
  if (time_s <= 0.0 || time_s >= TimeOf(end)) {
    const bool starts = time_s <= 0.0;
    // Of the first sample only the position is asked for as long as a copy waits for its start, which is not longer
    // than the sequence lasts; so it is still among the kept ones.
    RowAt(starts ? 0 : end, copy);
    const bool at_rest = starts ? time_s < 0.0 : time_s > TimeOf(end);
    if (at_rest) {
      copy.velocity.setZero();
      copy.acceleration.setZero();
    }
    return;
  }
  // The step that holds the time; the quotient may be off by a rounding.
  std::int64_t before = static_cast<std::int64_t>(std::floor(time_s / sample_time_s_));
  if (TimeOf(before) > time_s) --before;
  if (TimeOf(before + 1) <= time_s) ++before;
  const double start_s = TimeOf(before);
  const double share = (time_s - start_s) / (TimeOf(before + 1) - start_s);
  const Index from = static_cast<Index>(before % capacity_);
  const Index to = static_cast<Index>((before + 1) % capacity_);
  Interpolate(share, positions_, from, to, copy.position);
  Interpolate(share, velocities_, from, to, copy.velocity);
  Interpolate(share, accelerations_, from, to, copy.acceleration);
}

}  // namespace velmora::shaping
