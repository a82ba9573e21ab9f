// A caller of the second library: designs, shapes, blends and streams, and catches its errors by type.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdio>
#include <optional>

#include "velmora/native/invalid_argument_error.hpp"
#include "velmora/shaping/analysis.hpp"
#include "velmora/shaping/blend_shaped_trajectory.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"
#include "velmora/shaping/streaming_shaper.hpp"

namespace {

using namespace velmora::shaping;

bool Fails(const char* what) {
  std::fprintf(stderr, "consumer: %s\n", what);
  return false;
}

bool Designs() {
  const VibrationMode mode(5.0, 0.02);
  for (const ImpulseSequence& sequence :
       {Zv(mode), Zvd(mode), Zvdd(mode), Mzv(mode), TwoHumpEi(mode, 0.05), UmZv(mode), UmZvd(mode)}) {
    if (ResidualVibration(sequence, mode) > 1e-9) return Fails("a residual at the mode");
  }
  if (std::abs(ResidualVibration(ThreeHumpEi(mode, 0.05), mode) - 0.05) > 1e-9) return Fails("a hump at the mode");
  if (Insensitivity(Ei(mode, 0.05), mode, 0.05).width < 0.39) return Fails("the band of EI");
  if (SpecifiedInsensitivity(mode, 4.5, 5.5, 0.05).duration_s() > 0.2) return Fails("the shortest sequence");
  try {
    Ei(mode, 1.0);
  } catch (const velmora::native::InvalidArgumentError&) {
    return true;
  }
  return Fails("an error that is not caught");
}

bool Trajectories() {
  velmora::native::Matrix positions(50, 3);
  for (Eigen::Index i = 0; i < 50; ++i) positions.row(i).setConstant(static_cast<double>(i));
  const velmora::util::timing::JointTrajectory raw(positions, std::nullopt, std::nullopt, std::nullopt, 0.01,
                                                   std::nullopt);
  const ImpulseSequence zvd = Zvd(VibrationMode(5.0, 0.02));
  const ShapedCommand shaped = ShapeTrajectory(raw, {zvd}, 0.01, velmora::util::timing::ResamplingMethod::cubic);
  ShapedTrajectory whole = JoinMoveAndTail(BlendShapedTrajectory(raw, shaped, 0.5));
  if (whole.positions(whole.positions.rows() - 1, 2) != 49.0) return Fails("the end of a shaped trajectory");
  // Allocated by the library, changed and freed here.
  whole.positions.conservativeResize(7, 3);
  whole.time.resize(1000);
  StreamingShaper shaper(zvd, 3, 0.01);
  const Vector zero = Vector::Zero(3);
  shaper.Step({Vector::Ones(3), zero, zero});
  while (!shaper.AtRest()) shaper.StepTail();
  return shaper.HardStop().position[0] == 1.0 || Fails("a streamed sample");
}

}  // namespace

int main() { return Designs() && Trajectories() ? 0 : 1; }
