// A raw command at any time: between its samples interpolated, before and after them held at rest.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/command_at_times.hpp"

#include <algorithm>
#include <utility>

#include "internal/exact_arithmetic.hpp"
#include "util/timing/cubic_spline.hpp"
#include "util/timing/linear_interpolation.hpp"
#include "util/timing/trajectory_sizes.hpp"

namespace velmora::shaping {

using Eigen::Index;
using util::timing::JointTrajectory;
using util::timing::ResamplingMethod;

void CheckDerivatives(const JointTrajectory& trajectory) {
  util::timing::CheckShape(trajectory.velocities(), trajectory.positions, "velocities");
  util::timing::CheckShape(trajectory.accelerations(), trajectory.positions, "accelerations");
}

CommandAtTimes::CommandAtTimes(const JointTrajectory& trajectory, ResamplingMethod method) : trajectory_(trajectory) {
  if (method != ResamplingMethod::linear && trajectory.time.size() > 1) {
    knot_second_derivatives_ = util::timing::BuildCubicSpline(trajectory.time, trajectory.positions);
  } else {
    CheckDerivatives(trajectory);
  }
}

CommandRows CommandAtTimes::At(const Vector& times_s) const {
  const Vector& own = trajectory_.time;
  const Index last = own.size() - 1;
  const Index before = std::lower_bound(times_s.begin(), times_s.end(), own[0]) - times_s.begin();
  const Index inside_end = std::upper_bound(times_s.begin(), times_s.end(), own[last]) - times_s.begin();
  const Index inside = inside_end - before;
  if (inside == times_s.size()) return Inside(times_s);

  const Index joints = trajectory_.positions.cols();
  CommandRows rows{Matrix(times_s.size(), joints), Matrix::Zero(times_s.size(), joints),
                   Matrix::Zero(times_s.size(), joints)};
  rows.positions.topRows(before).rowwise() = trajectory_.positions.row(0);
  rows.positions.bottomRows(times_s.size() - inside_end).rowwise() = trajectory_.positions.row(last);
  if (inside > 0) {
    const CommandRows moving = Inside(times_s.segment(before, inside));
    rows.positions.middleRows(before, inside) = moving.positions;
    rows.velocities.middleRows(before, inside) = moving.velocities;
    rows.accelerations.middleRows(before, inside) = moving.accelerations;
  }
  return rows;
}

CommandRows CommandAtTimes::Inside(const Vector& times_s) const {
  if (knot_second_derivatives_) {
    util::timing::SplineSamples samples =
        util::timing::EvaluateCubicSpline(trajectory_.time, trajectory_.positions, *knot_second_derivatives_, times_s);
    return {std::move(samples.values), std::move(samples.first_derivatives), std::move(samples.second_derivatives)};
  }
  using util::timing::InterpolateRowsLinear;
  return {InterpolateRowsLinear(times_s, trajectory_.time, trajectory_.positions).values,
          InterpolateRowsLinear(times_s, trajectory_.time, trajectory_.velocities()).values,
          InterpolateRowsLinear(times_s, trajectory_.time, trajectory_.accelerations()).values};
}

}  // namespace velmora::shaping
