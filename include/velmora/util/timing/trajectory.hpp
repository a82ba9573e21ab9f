// The trajectory record: positions and sample times, with derivatives computed on request.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <utility>

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"

/// Time-sampled joint trajectories: the record, limits, differentiation and resampling.
namespace velmora::util::timing {

using native::Matrix;
using native::Vector;

struct ResampledParts;

/// A time-sampled joint trajectory of N >= 1 samples and J >= 0 joints whose invariants its constructor established.
///
/// `positions` and `time` are public for reading; a caller that writes to them takes over their invariants. Derivatives
/// that were supplied or computed before stay as they were: write first, or construct a new trajectory. Fields whose
/// sizes no longer fit, as those of a moved-from trajectory, are an error of whoever uses them: the accessors and the
/// routines fail with the constructor's sentence, and values are not looked at again.
///
/// Derivatives are taken level by level: accelerations from the velocities as they stand in the object (supplied or
/// computed), jerks from the accelerations. A derivative that was supplied is returned as it is and never compared
/// with the one that differentiation would give.
///
/// Thread safety: a first call of an accessor fills a cache without a lock. Call the accessors that will be needed
/// before sharing an object between threads; from then on any number of threads may read it.
///
/// @code{.cpp}
/// Matrix positions(3, 2);  // 3 samples of 2 joints
/// positions << 0.0, 1.0, 0.1, 1.0, 0.4, 1.0;
/// const JointTrajectory recorded = TrajectoryAtSpacing(positions, 0.5);
/// assert(recorded.time[2] == 1.0);
/// assert(std::abs(recorded.velocities()(1, 0) - 0.4) < 1e-12);  // (0.4 - 0.0) / 1.0 s
/// @endcode
class JointTrajectory {
 public:
  Matrix positions;  ///< joint positions, N x J; row i is sample i, column j is joint j
  Vector time;       ///< sample times in seconds, length N, strictly increasing

  /// Takes over its arguments and checks them in the order below.
  ///
  /// The sample times are `time` if given (`dt` is then ignored, whatever its value), otherwise `time[i] = i * dt`,
  /// which is not checked: a `dt` near the largest double overflows to times of infinity.
  /// `TrajectoryAtTimes` and `TrajectoryAtSpacing` spare the arguments that are not needed.
  /// @param positions joint positions, N x J with N >= 1; J may be 0
  /// @param velocities first derivative of the positions, N x J, or none
  /// @param accelerations second derivative, N x J, or none
  /// @param time sample times in seconds, length N, finite and strictly increasing, or none
  /// @param dt sample spacing in seconds, finite and positive, or none
  /// @param jerks third derivative, N x J, or none
  /// @throws native::InvalidArgumentError "JointTrajectory requires at least 1 sample to support velocity and
  ///   acceleration evaluation, got 0."
  /// @throws native::InvalidArgumentError "JointTrajectory.positions must contain only finite values."
  /// @throws native::InvalidArgumentError "JointTrajectory.positions must align with JointTrajectory.time."
  /// @throws native::InvalidArgumentError "JointTrajectory.time must contain only finite values."
  /// @throws native::InvalidArgumentError "JointTrajectory.time must be strictly increasing."
  /// @throws native::InvalidArgumentError "Either `time` or `dt` must be provided."
  /// @throws native::InvalidArgumentError "JointTrajectory.dt must be finite and positive."
  /// @throws native::InvalidArgumentError "JointTrajectory.velocities must match JointTrajectory.positions shape."
  /// @throws native::InvalidArgumentError "JointTrajectory.velocities must contain only finite values."
  /// @throws native::InvalidArgumentError "JointTrajectory.accelerations must match JointTrajectory.positions shape."
  /// @throws native::InvalidArgumentError "JointTrajectory.accelerations must contain only finite values."
  /// @throws native::InvalidArgumentError "JointTrajectory.jerks must match JointTrajectory.positions shape."
  /// @throws native::InvalidArgumentError "JointTrajectory.jerks must contain only finite values."
  /// @throws std::bad_alloc where memory runs out, as every routine that returns or copies arrays
  ///
  /// Complexity: O(N J). Arrays that are moved in are not copied.
  VELMORA_EXPORT JointTrajectory(Matrix positions, std::optional<Matrix> velocities,
                                 std::optional<Matrix> accelerations, std::optional<Vector> time,
                                 std::optional<double> dt, std::optional<Matrix> jerks);

  /// First derivative of the positions: as supplied, else the three-point derivative of `positions`.
  ///
  /// The reference is valid as long as the object. Where the positions are near the largest double the computed values
  /// may overflow; they are stored as they come.
  /// @return N x J, in the unit of the positions per second
  ///
  /// Complexity: O(N J) at the first call, then O(1). Thread safety: see the class.
  /// Source of the method: B. Fornberg, "Generation of finite difference formulas on arbitrarily spaced grids",
  /// Mathematics of Computation 51 (1988); three points, order 2.
  VELMORA_EXPORT const Matrix& velocities() const;

  /// Second derivative: as supplied, else the three-point derivative of `velocities()`.
  /// @return N x J, in the unit of the positions per second squared
  ///
  /// Lifetime, complexity, thread safety and method: as `velocities()`, but order 1 at the ends and on uneven times.
  VELMORA_EXPORT const Matrix& accelerations() const;

  /// Third derivative: as supplied, else the three-point derivative of `accelerations()`.
  /// @return N x J, in the unit of the positions per second cubed
  ///
  /// Lifetime, complexity, thread safety and method: as `velocities()`, but at the ends and on uneven times the
  /// error does not shrink with the steps.
  VELMORA_EXPORT const Matrix& jerks() const;

  /// An independent deep copy that carries the derivatives present so far, supplied or computed.
  ///
  /// The copy passes the constructor's checks again: a computed derivative that overflowed makes `Copy` fail with its
  /// "must contain only finite values." message.
  /// @return the copy, N samples of J joints
  /// @throws native::InvalidArgumentError as the constructor
  ///
  /// Complexity: O(N J). Thread safety: reads the caches; not beside a first accessor call on the same object.
  VELMORA_EXPORT JointTrajectory Copy() const;

 private:
  friend struct ResampledParts;
  explicit JointTrajectory(ResampledParts&& parts);  // inside the library: of parts that are known to be finite

  mutable std::optional<Matrix> cached_velocities;
  mutable std::optional<Matrix> cached_accelerations;
  mutable std::optional<Matrix> cached_jerks;
};

/// A trajectory from positions and their sample times, whose derivatives will be computed on request.
/// @param positions joint positions, N x J with N >= 1
/// @param time sample times in seconds, length N, finite and strictly increasing
/// @return the trajectory
/// @throws native::InvalidArgumentError as the constructor
///
/// Complexity: O(N J); arrays that are moved in are not copied. Thread safety: pure.
inline JointTrajectory TrajectoryAtTimes(Matrix positions, Vector time) {
  return {std::move(positions), std::nullopt, std::nullopt, std::move(time), std::nullopt, std::nullopt};
}

/// A trajectory from positions at a constant spacing from 0 on, whose derivatives will be computed on request.
/// @param positions joint positions, N x J with N >= 1
/// @param dt sample spacing in seconds, finite and positive; sample i is at `i * dt`
/// @return the trajectory
/// @throws native::InvalidArgumentError as the constructor
///
/// Complexity: O(N J); positions that are moved in are not copied. Thread safety: pure.
inline JointTrajectory TrajectoryAtSpacing(Matrix positions, double dt) {
  return {std::move(positions), std::nullopt, std::nullopt, std::nullopt, dt, std::nullopt};
}

}  // namespace velmora::util::timing
