// The input of the benchmarks: a synthetic recording with uneven sample times.
// SPDX-License-Identifier: Apache-2.0
#include "recording.hpp"

#include <cmath>
#include <map>
#include <random>
#include <utility>

namespace velmora::benchmarks {
namespace {

using Eigen::Index;
using util::timing::JointTrajectory;

constexpr double kSpacing_s = 0.004;
constexpr double kJitter = 0.3;  // of the spacing, to either side

// Stamps as a controller at 250 Hz under load writes them; the seed is fixed, so that every run times the same input.
Vector UnevenTimes(Index samples) {
  std::mt19937 generator(20020726);
  std::uniform_real_distribution<double> jitter(-kJitter, kJitter);
  Vector time(samples);
  for (Index i = 0; i < samples; ++i) time[i] = (static_cast<double>(i) + jitter(generator)) * kSpacing_s;
  return time;
}

Matrix Motion(const Vector& time, Index joints, double phase) {
  Matrix positions(time.size(), joints);
  for (Index i = 0; i < time.size(); ++i) {
    for (Index j = 0; j < joints; ++j) {
      const double angular_rate = 1.0 + 0.1 * static_cast<double>(j);
      positions(i, j) = std::sin(angular_rate * time[i] + phase) + 0.02 * std::sin(40.0 * time[i]);
    }
  }
  return positions;
}

JointTrajectory Recorded(Index samples, Index joints) {
  Vector time = UnevenTimes(samples);
  Matrix positions = Motion(time, joints, 0.0);
  return {std::move(positions), std::nullopt, std::nullopt, std::move(time), std::nullopt, std::nullopt};
}

}  // namespace

Recording::Recording(Index samples, Index joints)
    : trajectory(Recorded(samples, joints)),
      shaped(Motion(trajectory.time, joints, 0.1)),
      weights(Vector::LinSpaced(samples, 0.05, 0.95)),
      grid_entries(4 * samples),
      grid_spacing_s((trajectory.time[samples - 1] - trajectory.time[0]) / static_cast<double>(grid_entries - 1)) {}

const Recording& RecordingOf(Index samples, Index joints) {
  static std::map<std::pair<Index, Index>, Recording> recordings;
  const std::pair<Index, Index> shape{samples, joints};
  auto found = recordings.find(shape);
  if (found == recordings.end()) found = recordings.emplace(shape, Recording(samples, joints)).first;
  return found->second;
}

}  // namespace velmora::benchmarks
