// One call of an exported routine with all of its arguments, as data that library and reference can both be given.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>
#include <string>
#include <variant>

#include "velmora/native/array_types.hpp"
#include "velmora/native/shaped_trajectory.hpp"

namespace velmora::testing {

/// The constructor's arguments.
struct MakeTrajectory {
  native::Matrix positions;
  std::optional<native::Matrix> velocities;
  std::optional<native::Matrix> accelerations;
  std::optional<native::Vector> time;
  std::optional<double> dt;
  std::optional<native::Matrix> jerks;
};

/// The copy of a trajectory whose derivatives up to `level` (0 none, 3 jerks) have been asked for.
struct CopyTrajectory {
  MakeTrajectory trajectory;
  int level = 0;
};

struct SampleTrajectory {
  MakeTrajectory trajectory;
  native::Vector query_time_s;
  bool include_derivatives = false;
};

struct Resample {
  MakeTrajectory trajectory;
  double sample_time_s = 0.0;
  int method = 0;
  int grid_mode = 0;
  bool strict_cubic = false;
};

struct Difference {
  native::Matrix signal;
  std::variant<double, native::Vector> sample_spacing;
};

struct Blend {
  native::Matrix raw;
  native::Matrix shaped;
  std::variant<double, native::Vector> weight;
};

struct PathCoordinate {
  native::Matrix positions;
};

struct BlendTail {
  native::Vector raw_position;
  native::ShapedTrajectory shaped_tail;
  double weight = 0.0;
};

struct Box {
  native::Vector lower;
  native::Vector upper;
};

/// Each box that is present is made first.
struct Limits {
  std::array<std::optional<Box>, 4> boxes;
};

enum class ScalarRoutine { shaping_weight, transition_s, rate_per_s, smootherstep };

struct Scalar {
  ScalarRoutine routine = ScalarRoutine::smootherstep;
  double value = 0.0;
};

struct Parse {
  bool grid_mode = false;  ///< else the method
  std::string text;
};

using Call = std::variant<MakeTrajectory, CopyTrajectory, SampleTrajectory, Resample, Difference, Blend, PathCoordinate,
                          BlendTail, Box, Limits, Scalar, Parse>;

}  // namespace velmora::testing
