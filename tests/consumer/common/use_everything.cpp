// A caller of every exported function. Matrices are allocated on one side of the library's edge and freed, resized or
// computed with on the other, in many sizes: where the two sides disagree about Eigen's allocator, this does not
// survive.
// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "velmora/control/shaper/blending.hpp"
#include "velmora/control/shaper/parameters.hpp"
#include "velmora/control/shaper/tail_blend.hpp"
#include "velmora/native/invalid_argument_error.hpp"
#include "velmora/util/smootherstep.hpp"
#include "velmora/util/timing/differentiation.hpp"
#include "velmora/util/timing/limits.hpp"
#include "velmora/util/timing/resampling.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace {

namespace shaper = velmora::control::shaper;
namespace timing = velmora::util::timing;
using velmora::native::Matrix;
using velmora::native::ShapedTrajectory;
using velmora::native::Vector;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "consumer: %s\n", what);
  std::exit(1);
}

template <typename Call>
bool ThrowsInvalidArgument(Call call) {
  try {
    call();
  } catch (const velmora::native::InvalidArgumentError&) {
    return true;
  }
  return false;
}

Matrix Ramp(Eigen::Index samples, Eigen::Index joints) {
  Matrix ramp(samples, joints);
  for (Eigen::Index i = 0; i < samples; ++i) ramp.row(i).setConstant(static_cast<double>(i));
  return ramp;
}

Vector Times(Eigen::Index samples) { return Ramp(samples, 1).col(0); }

// What the caller may do with a matrix of the library: read it in vectors, grow it, let it shrink, give it back.
void Rework(Matrix matrix) {
  const double sum = matrix.sum();
  const Matrix twice = matrix + matrix;
  Require(twice.sum() >= sum || sum < 0.0, "a sum over a matrix of the library");
  matrix.conservativeResize(matrix.rows() + 3, matrix.cols());
  matrix.resize(2, 5);
  matrix = twice;
}

void UseRecord(Eigen::Index samples, Eigen::Index joints) {
  timing::JointTrajectory trajectory(Ramp(samples, joints), std::nullopt, std::nullopt, Times(samples), std::nullopt,
                                     std::nullopt);
  const Matrix& velocities = trajectory.velocities();
  const Matrix doubled = 2.0 * velocities + trajectory.accelerations() + trajectory.jerks();
  Require(doubled.rows() == samples && doubled.cols() == joints, "the shape of the derivatives");
  if (samples > 1 && joints > 0) Require(velocities(0, 0) > 0.99 && velocities(0, 0) < 1.01, "a ramp's velocity");
  Rework(trajectory.velocities());

  timing::JointTrajectory copy = trajectory.Copy();
  copy.positions = Ramp(samples + 2, joints);
  copy.time.conservativeResize(samples + 2);
  trajectory = std::move(copy);
  Rework(std::move(trajectory.positions));

  const timing::JointTrajectory spaced(Ramp(samples, joints), Ramp(samples, joints), Ramp(samples, joints),
                                       std::nullopt, 0.5, Ramp(samples, joints));
  Rework(spaced.jerks());
  Require(ThrowsInvalidArgument([&] {
            timing::JointTrajectory(Ramp(samples, joints), std::nullopt, std::nullopt, std::nullopt, std::nullopt,
                                    std::nullopt);
          }),
          "a trajectory without times is refused");
}

void UseResampling(Eigen::Index samples, Eigen::Index joints) {
  const timing::JointTrajectory trajectory(Ramp(samples, joints), std::nullopt, std::nullopt, Times(samples),
                                           std::nullopt, std::nullopt);
  for (const char* method : {"linear", "cubic"}) {
    for (const char* mode :
         {"exact_dt_append_endpoint", "exact_dt_trim", "exact_duration_adjust_dt", "exact_dt_extend_endpoint"}) {
      timing::JointTrajectory resampled = timing::ResampleTrajectory(
          trajectory, 0.3, timing::ParseResamplingMethod(method), timing::ParseResamplingTimeGridMode(mode), false);
      Rework(resampled.accelerations());
      resampled.time.resize(1);
      Rework(std::move(resampled.positions));
    }
  }
  Vector query = Times(samples);
  timing::JointTrajectory sampled = timing::SampleTrajectoryAtTimes(trajectory, query, true);
  Rework(std::move(sampled.positions));
  Rework(timing::SampleAlignedFirstDifference(trajectory.positions, 0.5));
  Rework(timing::SampleAlignedFirstDifference(trajectory.positions, query));
}

// The numbers, and not only the memory, come across the edge.
void UseKnownNumbers() {
  Matrix positions(3, 1);
  positions << 0.0, 0.5, 2.0;
  const timing::JointTrajectory recorded(positions, std::nullopt, std::nullopt, Vector::LinSpaced(3, 0.0, 1.0),
                                         std::nullopt, std::nullopt);
  const timing::JointTrajectory regular =
      timing::ResampleTrajectory(recorded, 0.25, timing::ParseResamplingMethod("linear"),
                                 timing::ParseResamplingTimeGridMode("exact_dt_append_endpoint"), true);
  Require(regular.positions.rows() == 5, "the length of the new grid");
  Require(regular.positions(1, 0) == 0.25 && regular.positions(4, 0) == 2.0, "the resampled positions");
}

void UseLimits(Eigen::Index joints) {
  timing::JointStateBox box(Vector::Constant(joints, -1.0), Vector::Constant(joints, 1.0));
  timing::JointStateLimits limits(box, std::nullopt, box, std::nullopt);
  box.lower.conservativeResize(joints + 4);
  limits.acceleration = std::move(box);
  limits.position.reset();
}

void UseShaper(Eigen::Index samples, Eigen::Index joints) {
  const Matrix raw = Ramp(samples, joints);
  Rework(shaper::BlendArrays(raw, raw, 0.25));
  Rework(shaper::BlendArrays(raw, raw, Vector(Vector::Constant(samples, 0.75))));
  Vector coordinate = shaper::JointPathCoordinate(raw);
  coordinate.conservativeResize(samples + 5);

  ShapedTrajectory tail;
  tail.positions = raw;
  tail.velocities = raw;
  tail.accelerations = raw;
  tail.time = Times(samples);
  ShapedTrajectory blend = shaper::BlendTailWithHeldRawEndpoint(Vector::Zero(joints), tail, 0.5);
  Require(blend.time.size() == samples, "the times of a blended tail");
  blend.velocities.resize(samples + 1, joints);
  tail = std::move(blend);
  Rework(std::move(tail.positions));
}

void UseScalars() {
  Require(velmora::util::Smootherstep(0.5) > 0.49 && velmora::util::Smootherstep(0.5) < 0.51, "the middle of the ramp");
  shaper::ValidateVibrationShapingWeight(0.5);
  shaper::ValidateVibrationWeightTransitionS(0.0);
  shaper::ValidateVibrationWeightRatePerS(1.0);
  try {
    shaper::ValidateVibrationShapingWeight(2.0);
    Require(false, "a weight of 2 is refused");
  } catch (const velmora::native::Error& error) {
    Require(error.what() == std::string("vibration_shaping_weight must be in [0.0, 1.0]"), "the message");
  }
  try {
    velmora::util::Smootherstep(std::numeric_limits<double>::quiet_NaN());
    Require(false, "a progress that is not a number is refused");
  } catch (const velmora::native::InvalidArgumentError& error) {
    Require(error.what() == std::string("unit_progress must be finite"), "the message");
    Require(error.argument_name() == "unit_progress", "the name of the argument");
  }
}

}  // namespace

int main() {
  UseScalars();
  UseKnownNumbers();
  for (Eigen::Index joints = 0; joints <= 9; ++joints) {
    UseLimits(joints);
    for (Eigen::Index samples = 1; samples <= 33; ++samples) {
      UseRecord(samples, joints);
      UseResampling(samples, joints);
      UseShaper(samples, joints);
    }
  }
  std::puts("consumer: every exported function used");
  return 0;
}
