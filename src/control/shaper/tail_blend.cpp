// The blend of a shaped tail with the raw endpoint held at rest.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/control/shaper/tail_blend.hpp"

#include "internal/throw_invalid_argument.hpp"
#include "velmora/control/shaper/blending.hpp"

namespace velmora::control::shaper {

ShapedTrajectory BlendTailWithHeldRawEndpoint(const Vector& raw_position, const ShapedTrajectory& shaped_tail,
                                              double weight) {
  const Eigen::Index samples = shaped_tail.positions.rows();
  const Eigen::Index joints = shaped_tail.positions.cols();
  if (raw_position.size() != joints) internal::ThrowInvalidArgument("raw_position length mismatch");
  if (shaped_tail.velocities.rows() != samples || shaped_tail.accelerations.rows() != samples ||
      shaped_tail.time.size() != samples || shaped_tail.velocities.cols() != joints ||
      shaped_tail.accelerations.cols() != joints) {
    internal::ThrowInvalidArgument("shaped_tail fields must have matching sample and joint shapes");
  }
  const Matrix held_raw = raw_position.transpose().replicate(samples, 1);
  const Matrix at_rest = Matrix::Zero(samples, joints);
  ShapedTrajectory blend;
  blend.positions = BlendArrays(held_raw, shaped_tail.positions, weight);
  blend.velocities = BlendArrays(at_rest, shaped_tail.velocities, weight);
  blend.accelerations = BlendArrays(at_rest, shaped_tail.accelerations, weight);
  blend.time = shaped_tail.time;
  return blend;
}

}  // namespace velmora::control::shaper
