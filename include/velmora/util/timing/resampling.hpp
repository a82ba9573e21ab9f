// Sampling a trajectory at given times and resampling it onto a regular time grid.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::util::timing {

/// How values between samples are interpolated.
enum class ResamplingMethod : int {
  linear = 0,  ///< piecewise linear
  cubic = 1,   ///< not-a-knot cubic spline
};

/// How the samples of the new time grid are placed between the first time t0 and the last time t1 of a trajectory.
///
/// With D = t1 - t0 > 0 and the requested spacing dt, and every entry computed from its index (never a running sum):
///
/// | mode | entries | last entry |
/// |---|---|---|
/// | append endpoint | t0 + k dt up to t1, then t1 | t1 exactly; the last step differs from dt |
/// | trim | t0 + k dt up to t1 | at most one dt before t1; it may pass t1 by a rounding |
/// | adjust dt | D cut into round(D / dt) >= 1 equal steps, ties to even | t1 up to rounding |
/// | extend endpoint | t0 + k dt until t1 is reached | t1 or less than one dt after it |
///
/// The whole number of steps is floor(D / dt) or ceil(D / dt) of the rounded quotient, so a spacing that divides the
/// span only in decimal (0.1 in 0.3) may count one step fewer. In the append mode an entry within
/// |t1| * 1e-5 + 1e-8 s of t1 is moved onto t1 instead of appending another. A span of zero gives the single entry t0.
enum class ResamplingTimeGridMode : int {
  exact_dt_append_endpoint = 0,  ///< exact spacing; the end time is always the last sample
  exact_dt_trim = 1,             ///< exact spacing; what does not fill a step is dropped
  exact_duration_adjust_dt = 2,  ///< exact duration; the spacing is adjusted
  exact_dt_extend_endpoint = 3,  ///< exact spacing; the last sample may lie beyond the end
};

/// The method named by `text`: "linear" or "cubic", compared byte for byte.
/// @param text name of an enumerator
/// @return that enumerator
/// @throws native::InvalidArgumentError "Unsupported resampling method: '" + text + "'."
///
/// Complexity: O(length). Thread safety: pure.
VELMORA_EXPORT ResamplingMethod ParseResamplingMethod(std::string_view text);

/// The grid mode named by `text`: the name of an enumerator, compared byte for byte.
/// @param text name of an enumerator
/// @return that enumerator
/// @throws native::InvalidArgumentError "Unsupported resampling time-grid mode: '" + text + "'."
///
/// Complexity: O(length). Thread safety: pure.
VELMORA_EXPORT ResamplingTimeGridMode ParseResamplingTimeGridMode(std::string_view text);

/// The trajectory at given times, by linear interpolation between its samples.
///
/// | query | positions of the result |
/// |---|---|
/// | before the first or after the last sample | error |
/// | at a sample | that sample |
/// | between two samples | (1 - w) * before + w * after, w the elapsed share of the step |
/// | none at all | a copy of the whole trajectory, derivatives included |
///
/// With `include_derivatives` the velocities and accelerations of the trajectory (supplied, or computed by its
/// accessors) are interpolated in the same way and supplied to the result. Jerks are never carried over: those of the
/// result are computed from its own accelerations.
///
/// @code{.cpp}
/// Matrix positions(2, 1);
/// positions << 0.0, 1.0;
/// const JointTrajectory move = TrajectoryAtSpacing(positions, 2.0);
/// const JointTrajectory middle = SampleTrajectoryAtTimes(move, Vector::Constant(1, 1.0), false);
/// assert(middle.positions(0, 0) == 0.5 && middle.time[0] == 1.0);
/// const JointTrajectory regular = ResampleTrajectory(move, 0.25, ResamplingMethod::linear,
///                                                    ResamplingTimeGridMode::exact_dt_append_endpoint, true);
/// assert(regular.time.size() == 9 && regular.positions(4, 0) == 0.5);
/// @endcode
/// @param trajectory N samples, J joints
/// @param query_time_s times in seconds, strictly increasing, inside the sampled span (both ends included)
/// @param include_derivatives whether velocities and accelerations are sampled too
/// @return one sample per query time; its `time` is `query_time_s`
/// @throws native::InvalidArgumentError "query_time_s must lie inside trajectory.time."
/// @throws native::InvalidArgumentError "JointTrajectory.time must be strictly increasing." for repeated or falling
///   query times, and the other messages of the `JointTrajectory` constructor: a NaN among the queries fails with
///   "JointTrajectory.positions must contain only finite values.", or, where the trajectory has one sample or no
///   joints, with "JointTrajectory.time must contain only finite values."
/// @throws std::bad_alloc where memory runs out
///
/// Complexity: O(Q J) for Q queries, and O(log N) more for a query not in or right after the step of the one before.
/// Thread safety: pure, but with `include_derivatives` it may fill the caches of `trajectory`, and without queries it
/// reads them (see `JointTrajectory`): neither beside a first accessor call on the same object.
VELMORA_EXPORT JointTrajectory SampleTrajectoryAtTimes(const JointTrajectory& trajectory, const Vector& query_time_s,
                                                       bool include_derivatives);

/// The trajectory on a regular time grid.
///
/// - `linear` interpolates the positions; the result computes its own derivatives on request.
/// - `cubic` fits a not-a-knot cubic spline through the positions of every joint (a parabola through 3 samples, a line
///   through 2) and supplies its positions, velocities and accelerations to the result; jerks are computed on request.
///   Any other value of `method` is treated as `cubic`.
///
/// | grid entry | linear | cubic |
/// |---|---|---|
/// | at a sample | that sample | that sample (the last one up to rounding) |
/// | between samples | on the line | on the spline |
/// | beyond the last sample, extend mode | the last position | position, velocity and acceleration at the last sample |
/// | beyond the last sample by a rounding, other modes | the last position | the last polynomial, continued |
///
/// When the cubic path fails for any reason the trajectory is resampled linearly instead, unless `strict_cubic` is
/// true: then the error of the cubic path is rethrown unchanged. The derivatives of `trajectory` are neither read nor
/// computed.
/// @param trajectory N samples, J joints
/// @param sample_time_s requested spacing in seconds, finite and positive
/// @param method interpolation between samples
/// @param grid_mode placement of the grid
/// @param strict_cubic whether a failure of the cubic path is an error
/// @return one sample per grid entry; its `time` is the grid
/// @throws native::InvalidArgumentError "sample_time_s must be positive." (also for NaN and infinities)
/// @throws native::InvalidArgumentError "trajectory.time must be nondecreasing."
/// @throws native::InvalidArgumentError "Unsupported resampling time-grid mode." (a value outside the enumeration, and
///   a span longer than zero)
/// @throws native::InvalidArgumentError "`x` must contain at least 2 elements." (cubic, strict)
/// @throws native::InvalidArgumentError "Cubic-spline construction produced non-finite coefficients." (cubic, strict)
/// @throws native::InvalidArgumentError the messages of the `JointTrajectory` constructor, where values overflow or a
///   spacing below the resolution of the times repeats grid entries
/// @throws std::bad_alloc where memory runs out, and for a grid too long to be counted
///
/// Complexity: O((N + G) J) for G grid entries, and O(log N) more for an entry that does not lie in or right after the
/// step of the one before, whatever the times. The cubic path solves its system to the bits of a dense LU solve with
/// partial pivoting. Thread safety: pure.
/// Source of the method: C. de Boor, "A Practical Guide to Splines", chapter IV (not-a-knot end conditions).
VELMORA_EXPORT JointTrajectory ResampleTrajectory(const JointTrajectory& trajectory, double sample_time_s,
                                                  ResamplingMethod method, ResamplingTimeGridMode grid_mode,
                                                  bool strict_cubic);

}  // namespace velmora::util::timing
