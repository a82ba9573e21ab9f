// A raw command at any time: between its samples interpolated, before and after them held at rest.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/command_at_times.hpp"

#include <algorithm>

#include "internal/exact_arithmetic.hpp"
#include "util/timing/cubic_spline.hpp"
#include "util/timing/linear_interpolation.hpp"

namespace velmora::shaping {

using Eigen::Index;
using util::timing::JointTrajectory;
using util::timing::ResamplingMethod;

namespace {

void Hold(const Eigen::Ref<const Eigen::RowVectorXd>& positions, Index first_row, Index count, CommandRows& rows) {
  rows.positions.middleRows(first_row, count).rowwise() = positions;
  rows.velocities.middleRows(first_row, count).setZero();
  rows.accelerations.middleRows(first_row, count).setZero();
}

}  // namespace

CommandRows::CommandRows(Index rows, Index joints)
    : positions(rows, joints), velocities(rows, joints), accelerations(rows, joints) {}

void CheckDerivatives(const JointTrajectory& trajectory) {
  trajectory.velocities();  // the accessors look at the shapes
  trajectory.accelerations();
}

CommandAtTimes::CommandAtTimes(const JointTrajectory& trajectory, ResamplingMethod method) : trajectory_(trajectory) {
  if (method != ResamplingMethod::linear && trajectory.time.size() > 1) {
    knot_second_derivatives_ = util::timing::BuildCubicSpline(trajectory.time, trajectory.positions);
  } else {
    CheckDerivatives(trajectory);
  }
}

void CommandAtTimes::At(const Eigen::Ref<const Vector>& times_s, CommandRows& rows) const {
  const Vector& own = trajectory_.time;
  const Index last = own.size() - 1;
  const Index count = times_s.size();
  const Index before = std::lower_bound(times_s.begin(), times_s.end(), own[0]) - times_s.begin();
  const Index inside_end = std::upper_bound(times_s.begin(), times_s.end(), own[last]) - times_s.begin();
  Hold(trajectory_.positions.row(0), 0, before, rows);
  if (before < inside_end) Inside(times_s.segment(before, inside_end - before), before, rows);
  Hold(trajectory_.positions.row(last), inside_end, count - inside_end, rows);
}

std::optional<util::timing::SplineRows> CommandAtTimes::spline() const {
  if (!knot_second_derivatives_) return std::nullopt;
  const Matrix& positions = trajectory_.positions;
  return util::timing::SplineRows{trajectory_.time.data(), positions.data(), knot_second_derivatives_->data(),
                                  positions.rows(), positions.cols()};
}

void CommandAtTimes::Inside(const Eigen::Ref<const Vector>& times_s, Index first_row, CommandRows& rows) const {
  if (knot_second_derivatives_) {
    const Index at = first_row * trajectory_.positions.cols();
    util::timing::EvaluateCubicSpline(
        trajectory_.time, trajectory_.positions, *knot_second_derivatives_, times_s,
        {rows.positions.data() + at, rows.velocities.data() + at, rows.accelerations.data() + at});
    return;
  }
  const auto interpolate = [&](const Matrix& values, Matrix& result) {
    result.middleRows(first_row, times_s.size()) =
        util::timing::InterpolateRowsLinear(times_s, trajectory_.time, values).values;
  };
  interpolate(trajectory_.positions, rows.positions);
  interpolate(trajectory_.velocities(), rows.velocities);
  interpolate(trajectory_.accelerations(), rows.accelerations);
}

}  // namespace velmora::shaping
