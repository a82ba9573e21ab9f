// The input of the benchmarks: a synthetic recording with uneven sample times.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <variant>

#include "velmora/util/timing/trajectory.hpp"

namespace velmora::benchmarks {

using native::Matrix;
using native::Vector;

/// A recording of `samples` rows and `joints` columns, with what the jobs need besides.
struct Recording {
  Recording(Eigen::Index samples, Eigen::Index joints);

  util::timing::JointTrajectory trajectory;
  Matrix shaped;                         ///< a second array of the same shape, to blend with
  std::variant<double, Vector> weights;  ///< one blend weight per sample
  Eigen::Index grid_entries;             ///< four per sample
  double grid_spacing_s;                 ///< cuts the duration into `grid_entries - 1` equal steps
};

/// The recording of this shape, made at the first call.
const Recording& RecordingOf(Eigen::Index samples, Eigen::Index joints);

}  // namespace velmora::benchmarks
