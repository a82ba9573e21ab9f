// Reference for blending, the path coordinate and the tail blend.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <variant>
#include <vector>

#include "oracle/table.hpp"

namespace velmora::oracle {

struct ShapedTrajectory {
  Table positions;
  Table velocities;
  Table accelerations;
  std::vector<double> time;
};

/// Throws `Failure`, also for a weight that holds neither alternative.
Table BlendArrays(const Table& raw, const Table& shaped, const std::variant<double, std::vector<double>>& weight);

/// The order in which a matrix library sums squares defines the bits of a norm, so each row difference is handed to it.
std::vector<double> JointPathCoordinate(const Table& positions);

ShapedTrajectory BlendTailWithHeldRawEndpoint(const std::vector<double>& raw_position,
                                              const ShapedTrajectory& shaped_tail, double weight);

}  // namespace velmora::oracle
