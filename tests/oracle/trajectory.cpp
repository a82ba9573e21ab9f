// Reference for the trajectory record: checks, sample times, lazily computed derivatives and copies.
// SPDX-License-Identifier: Apache-2.0
#include "oracle/trajectory.hpp"

#include <string>

#include "oracle/differentiation.hpp"
#include "oracle/failure.hpp"
#include "oracle/finiteness.hpp"

namespace velmora::oracle {
namespace {

void CheckSuppliedDerivative(const std::optional<Table>& derivative, const Table& positions, const std::string& name) {
  if (!derivative.has_value()) return;
  if (derivative->rows != positions.rows || derivative->cols != positions.cols) {
    Fail("JointTrajectory." + name + " must match JointTrajectory.positions shape.");
  }
  if (!AreFinite(derivative->values)) Fail("JointTrajectory." + name + " must contain only finite values.");
}

}  // namespace

Trajectory MakeTrajectory(const Table& positions, const std::optional<Table>& velocities,
                          const std::optional<Table>& accelerations, const std::optional<std::vector<double>>& time,
                          const std::optional<double>& dt, const std::optional<Table>& jerks) {
  const std::size_t n = positions.rows;
  if (n < 1) {
    Fail("JointTrajectory requires at least 1 sample to support velocity and acceleration evaluation, got 0.");
  }
  if (!AreFinite(positions.values)) Fail("JointTrajectory.positions must contain only finite values.");

  std::vector<double> sample_times;
  if (time.has_value()) {
    sample_times = *time;
    if (sample_times.size() != n) Fail("JointTrajectory.positions must align with JointTrajectory.time.");
    if (!AreFinite(sample_times)) Fail("JointTrajectory.time must contain only finite values.");
    for (std::size_t i = 1; i < n; ++i) {
      if (sample_times[i] <= sample_times[i - 1]) Fail("JointTrajectory.time must be strictly increasing.");
    }
  } else {
    if (!dt.has_value()) Fail("Either `time` or `dt` must be provided.");
    if (!IsFiniteScalar(*dt) || *dt <= 0.0) Fail("JointTrajectory.dt must be finite and positive.");
    for (std::size_t i = 0; i < n; ++i) sample_times.push_back(static_cast<double>(i) * *dt);
  }

  CheckSuppliedDerivative(velocities, positions, "velocities");
  CheckSuppliedDerivative(accelerations, positions, "accelerations");
  CheckSuppliedDerivative(jerks, positions, "jerks");
  return Trajectory{positions, sample_times, velocities, accelerations, jerks};
}

const Table& Velocities(Trajectory& trajectory) {
  if (!trajectory.velocities) {
    trajectory.velocities = ThreePointSampleDerivative(trajectory.positions, trajectory.time);
  }
  return *trajectory.velocities;
}

const Table& Accelerations(Trajectory& trajectory) {
  if (!trajectory.accelerations) {
    trajectory.accelerations = ThreePointSampleDerivative(Velocities(trajectory), trajectory.time);
  }
  return *trajectory.accelerations;
}

const Table& Jerks(Trajectory& trajectory) {
  if (!trajectory.jerks) trajectory.jerks = ThreePointSampleDerivative(Accelerations(trajectory), trajectory.time);
  return *trajectory.jerks;
}

Trajectory Copy(const Trajectory& trajectory) {
  return MakeTrajectory(trajectory.positions, trajectory.velocities, trajectory.accelerations, trajectory.time,
                        std::nullopt, trajectory.jerks);
}

}  // namespace velmora::oracle
