// Reference for blending, the path coordinate and the tail blend.
// SPDX-License-Identifier: Apache-2.0
#include "oracle/blending.hpp"

#include <Eigen/Core>
#include <cmath>

#include "oracle/failure.hpp"

namespace velmora::oracle {

Table BlendArrays(const Table& raw, const Table& shaped, const std::variant<double, std::vector<double>>& weight) {
  if (raw.rows != shaped.rows || raw.cols != shaped.cols) Fail("raw and shaped arrays must have the same shape");
  if (weight.valueless_by_exception()) throw Failure{FailureKind::bad_variant_access, "", std::nullopt};
  const std::vector<double>* per_sample = std::get_if<std::vector<double>>(&weight);
  if (per_sample != nullptr && per_sample->size() != raw.rows) {
    Fail("per-sample shaping weights must match the sample count");
  }
  Table blend(raw.rows, raw.cols);
  for (std::size_t i = 0; i < raw.rows; ++i) {
    const double w = per_sample != nullptr ? (*per_sample)[i] : std::get<double>(weight);
    for (std::size_t j = 0; j < raw.cols; ++j) {
      const double product = w * shaped(i, j);
      blend(i, j) = std::fma(1.0 - w, raw(i, j), product);
    }
  }
  return blend;
}

std::vector<double> JointPathCoordinate(const Table& positions) {
  using Row = Eigen::Matrix<double, 1, Eigen::Dynamic>;
  std::vector<double> s(positions.rows, 0.0);
  for (std::size_t i = 1; i < positions.rows; ++i) {
    Row earlier(static_cast<Eigen::Index>(positions.cols));
    Row later(static_cast<Eigen::Index>(positions.cols));
    for (std::size_t j = 0; j < positions.cols; ++j) {
      earlier[static_cast<Eigen::Index>(j)] = positions(i - 1, j);
      later[static_cast<Eigen::Index>(j)] = positions(i, j);
    }
    s[i] = s[i - 1] + (later - earlier).norm();
  }
  return s;
}

ShapedTrajectory BlendTailWithHeldRawEndpoint(const std::vector<double>& raw_position,
                                              const ShapedTrajectory& shaped_tail, double weight) {
  const std::size_t n = shaped_tail.positions.rows;
  const std::size_t joints = shaped_tail.positions.cols;
  if (raw_position.size() != joints) Fail("raw_position length mismatch");
  const bool shapes_match = shaped_tail.velocities.rows == n && shaped_tail.accelerations.rows == n &&
                            shaped_tail.time.size() == n && shaped_tail.velocities.cols == joints &&
                            shaped_tail.accelerations.cols == joints;
  if (!shapes_match) Fail("shaped_tail fields must have matching sample and joint shapes");
  Table held(n, joints);
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < joints; ++j) held(i, j) = raw_position[j];
  }
  const Table at_rest(n, joints);
  return ShapedTrajectory{BlendArrays(held, shaped_tail.positions, weight),
                          BlendArrays(at_rest, shaped_tail.velocities, weight),
                          BlendArrays(at_rest, shaped_tail.accelerations, weight), shaped_tail.time};
}

}  // namespace velmora::oracle
