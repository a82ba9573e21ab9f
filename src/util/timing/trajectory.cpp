// The trajectory record: its invariants and its lazily computed derivatives.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/trajectory.hpp"

#include <cstdint>
#include <string>
#include <utility>

#include "internal/cpu_dispatch.hpp"
#include "internal/finiteness.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "util/timing/resampled_parts.hpp"
#include "util/timing/three_point_derivative.hpp"
#include "util/timing/trajectory_sizes.hpp"

namespace velmora::util::timing {
namespace {

using internal::ThrowInvalidArgument;

// Looks at all, since a loop without an exit compares several at once. False where one of two times or more is NaN.
struct StrictlyIncreasingKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE bool Run(const double* times, Eigen::Index count) {
    std::uint64_t violations = 0;
    for (Eigen::Index i = 1; i < count; ++i) violations |= static_cast<std::uint64_t>(!(times[i - 1] < times[i]));
    return violations == 0;
  }
};

void CheckTimeValues(const Vector& time) {
  // Of increasing times only the first and the last may be infinite, and a single one NaN.
  const bool increasing = internal::RunKernel<StrictlyIncreasingKernel>(time.data(), time.size());
  if (increasing && internal::IsFinite(time[0]) && internal::IsFinite(time[time.size() - 1])) return;
  if (!internal::AllFinite(time)) ThrowInvalidArgument("JointTrajectory.time must contain only finite values.");
  ThrowInvalidArgument("JointTrajectory.time must be strictly increasing.");
}

// From the index, never a running sum: the error of an entry does not grow with its index.
Vector UniformTime(Eigen::Index samples, double dt) {
  Vector time(samples);
  for (Eigen::Index i = 0; i < samples; ++i) time[i] = static_cast<double>(i) * dt;
  return time;
}

void CheckDerivative(const std::optional<Matrix>& derivative, const Matrix& positions, const char* name) {
  if (!derivative) return;
  CheckShape(*derivative, positions, name);
  if (!internal::AllFinite(*derivative)) {
    ThrowInvalidArgument(std::string("JointTrajectory.") + name + " must contain only finite values.");
  }
}

}  // namespace

JointTrajectory::JointTrajectory(Matrix given_positions, std::optional<Matrix> velocities,
                                 std::optional<Matrix> accelerations, std::optional<Vector> given_time,
                                 std::optional<double> dt, std::optional<Matrix> jerks)
    : positions(std::move(given_positions)),
      cached_velocities(std::move(velocities)),
      cached_accelerations(std::move(accelerations)),
      cached_jerks(std::move(jerks)) {
  CheckSampleCount(positions);
  if (!internal::AllFinite(positions)) {
    ThrowInvalidArgument("JointTrajectory.positions must contain only finite values.");
  }
  if (given_time) {
    time = *std::move(given_time);
    CheckTimeCount(time, positions);
    CheckTimeValues(time);
  } else {
    if (!dt) ThrowInvalidArgument("Either `time` or `dt` must be provided.");
    if (!internal::IsFinite(*dt) || *dt <= 0.0) ThrowInvalidArgument("JointTrajectory.dt must be finite and positive.");
    time = UniformTime(positions.rows(), *dt);
  }
  CheckDerivative(cached_velocities, positions, "velocities");
  CheckDerivative(cached_accelerations, positions, "accelerations");
  CheckDerivative(cached_jerks, positions, "jerks");
}

JointTrajectory::JointTrajectory(ResampledParts&& parts)
    : positions(std::move(parts.positions)),
      time(std::move(parts.time)),
      cached_velocities(std::move(parts.velocities)),
      cached_accelerations(std::move(parts.accelerations)) {
  CheckTimeValues(time);
}

JointTrajectory ResampledParts::Assemble(ResampledParts parts) {
  if (parts.all_finite) return JointTrajectory(std::move(parts));
  return {std::move(parts.positions),
          std::move(parts.velocities),
          std::move(parts.accelerations),
          std::move(parts.time),
          std::nullopt,
          std::nullopt};
}

const Matrix& JointTrajectory::velocities() const {
  CheckSizes(*this);
  if (!cached_velocities) cached_velocities = ThreePointSampleDerivative(positions, time);
  CheckShape(*cached_velocities, positions, "velocities");
  return *cached_velocities;
}

const Matrix& JointTrajectory::accelerations() const {
  CheckSizes(*this);
  if (!cached_accelerations) cached_accelerations = ThreePointSampleDerivative(velocities(), time);
  CheckShape(*cached_accelerations, positions, "accelerations");
  return *cached_accelerations;
}

const Matrix& JointTrajectory::jerks() const {
  CheckSizes(*this);
  if (!cached_jerks) cached_jerks = ThreePointSampleDerivative(accelerations(), time);
  CheckShape(*cached_jerks, positions, "jerks");
  return *cached_jerks;
}

JointTrajectory JointTrajectory::Copy() const {
  return JointTrajectory(positions, cached_velocities, cached_accelerations, time, std::nullopt, cached_jerks);
}

}  // namespace velmora::util::timing
