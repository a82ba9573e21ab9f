// Blending of raw and shaped sample arrays, and the arc length of a joint path.
#include "velmora/control/shaper/blending.hpp"

#include <cmath>

#include "native/shapes.hpp"
#include "native/throw_invalid_argument.hpp"

namespace velmora::control::shaper {
namespace {

// (1 - w) * raw + w * shaped: one product rounded, the other fused, so that every machine rounds alike.
void BlendValues(const double* raw, const double* shaped, double w, Eigen::Index count, double* result) {
  const double a = 1.0 - w;
  for (Eigen::Index k = 0; k < count; ++k) result[k] = std::fma(a, raw[k], w * shaped[k]);
}

}  // namespace

Matrix BlendArrays(const Matrix& raw, const Matrix& shaped, const std::variant<double, Vector>& weight) {
  if (!native::HaveSameShape(raw, shaped)) {
    native::ThrowInvalidArgument("raw and shaped arrays must have the same shape");
  }
  if (std::holds_alternative<double>(weight)) {
    Matrix blend(raw.rows(), raw.cols());
    BlendValues(raw.data(), shaped.data(), std::get<double>(weight), raw.size(), blend.data());
    return blend;
  }
  const Vector& weights = std::get<Vector>(weight);
  if (weights.size() != raw.rows()) {
    native::ThrowInvalidArgument("per-sample shaping weights must match the sample count");
  }
  Matrix blend(raw.rows(), raw.cols());
  const Eigen::Index joints = raw.cols();
  for (Eigen::Index i = 0; i < raw.rows(); ++i) {
    const Eigen::Index row = i * joints;
    BlendValues(raw.data() + row, shaped.data() + row, weights[i], joints, blend.data() + row);
  }
  return blend;
}

Vector JointPathCoordinate(const Matrix& positions) {
  Vector coordinate = Vector::Zero(positions.rows());
  for (Eigen::Index i = 1; i < positions.rows(); ++i) {
    coordinate[i] = coordinate[i - 1] + (positions.row(i) - positions.row(i - 1)).norm();
  }
  return coordinate;
}

}  // namespace velmora::control::shaper
