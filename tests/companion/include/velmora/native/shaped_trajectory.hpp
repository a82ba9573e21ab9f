// The stand-in's record: more members than the bundled one, in another order, and a constructor with defaults.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Eigen/Core>
#include <cstdint>
#include <string>
#include <utility>

namespace velmora::native {

struct ShapedTrajectory {
  using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

  ShapedTrajectory(Rows positions_in = {}, Rows velocities_in = {}, Rows accelerations_in = {},
                   Eigen::VectorXd time_in = {}, std::string shaper_in = "unnamed")
      : shaper(std::move(shaper_in)),
        time(std::move(time_in)),
        positions(std::move(positions_in)),
        velocities(std::move(velocities_in)),
        accelerations(std::move(accelerations_in)) {}

  std::string shaper;
  Eigen::VectorXd time;
  Rows positions;
  std::int64_t sequence = -1;
  Rows velocities;
  Rows accelerations;
  Rows jerks;
};

}  // namespace velmora::native
