// Reference for the trajectory record: checks, sample times, lazily computed derivatives and copies.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include "oracle/table.hpp"

namespace velmora::oracle {

/// A checked trajectory; a derivative that is present was supplied or has been asked for.
struct Trajectory {
  Table positions;
  std::vector<double> time;
  std::optional<Table> velocities;
  std::optional<Table> accelerations;
  std::optional<Table> jerks;
};

/// The checks in their order; throws `Failure`.
Trajectory MakeTrajectory(const Table& positions, const std::optional<Table>& velocities,
                          const std::optional<Table>& accelerations, const std::optional<std::vector<double>>& time,
                          const std::optional<double>& dt, const std::optional<Table>& jerks);

/// Fill the derivative if it is absent, from the level below, and return it.
const Table& Velocities(Trajectory& trajectory);
const Table& Accelerations(Trajectory& trajectory);
const Table& Jerks(Trajectory& trajectory);

/// Carries the derivatives present and passes every check again.
Trajectory Copy(const Trajectory& trajectory);

}  // namespace velmora::oracle
