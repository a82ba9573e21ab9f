// The shortest complete use from C++, shown on the front page.
// SPDX-License-Identifier: Apache-2.0
//! [door]
#include <velmora/util/timing/resampling.hpp>

#include <iostream>

int main() {
  using namespace velmora::util::timing;
  const Matrix positions{{0.0, 1.0}, {0.2, 0.9}, {0.7, 0.5}, {1.0, 0.0}};
  const Vector time{{0.00, 0.10, 0.25, 0.35}};
  const JointTrajectory move = TrajectoryAtTimes(positions, time);
  const auto method = ResamplingMethod::cubic;
  const auto grid = ResamplingTimeGridMode::exact_dt_append_endpoint;
  const auto smooth = ResampleTrajectory(move, 0.002, method, grid, true);
  std::cout << smooth.velocities().cwiseAbs().colwise().maxCoeff() << '\n';
}
//! [door]
