// Blending of raw and shaped sample arrays, and the arc length of a joint path.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/control/shaper/blending.hpp"

#include <cmath>

#include "internal/blend_element.hpp"
#include "internal/cpu_dispatch.hpp"
#include "internal/row_lanes.hpp"
#include "internal/shapes.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "internal/unwritten_matrix.hpp"

namespace velmora::control::shaper {
namespace {

using Eigen::Index;
using internal::kLanes;
using internal::Lanes;
using internal::Load;
using internal::Pair;

struct UniformBlendKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const double* raw, const double* shaped, double w, Index count, double* blend) {
    const double complement = 1.0 - w;
    internal::ForEachJoint(count, blend, [=](auto at) VELMORA_ALWAYS_INLINE_LAMBDA {
      return internal::BlendElement<Processor>(complement, at(raw), w, at(shaped));
    });
  }
};

struct PerSampleBlendKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const double* raw, const double* shaped, const double* weights, Index samples,
                                        Index joints, double* blend) {
    for (Index i = 0; i < samples; ++i) {
      const Index row = i * joints;
      UniformBlendKernel::Run<Processor>(raw + row, shaped + row, weights[i], joints, blend + row);
    }
  }
};

template <typename Value>
VELMORA_ALWAYS_INLINE Value SquaredDifference(const double* from, const double* to) {
  const Value difference = Load<Value>(to) - Load<Value>(from);
  return difference * difference;
}

// Sum of the squared differences of two rows in the order in which Eigen's `norm()` adds them on vectors of two: every
// fourth element into one of four sums, the sums in pairs, two more elements into the pairs, the pairs, the last
// element.
VELMORA_ALWAYS_INLINE double SquaredDistance(const double* from, const double* to, Index joints) {
  if (joints < 2) return joints == 0 ? 0.0 : SquaredDifference<double>(from, to);
  Pair pair;
  Index j = kLanes;
  if (joints < kLanes) {
    pair = SquaredDifference<Pair>(from, to);
    j = 2;
  } else {
    Lanes sums = SquaredDifference<Lanes>(from, to);
    for (; j + kLanes <= joints; j += kLanes) sums += SquaredDifference<Lanes>(from + j, to + j);
    pair = Pair{sums[0], sums[1]} + Pair{sums[2], sums[3]};
    if (j + 2 <= joints) {
      pair += SquaredDifference<Pair>(from + j, to + j);
      j += 2;
    }
  }
  const double sum = pair[0] + pair[1];
  return j < joints ? sum + SquaredDifference<double>(from + j, to + j) : sum;
}

// Four distances at once, since four roots side by side cost little more than one.
template <typename Processor>
VELMORA_ALWAYS_INLINE void AddDistances(const double* positions, Index samples, Index joints, double* coordinate) {
  double length = 0.0;
  coordinate[0] = length;
  const double* row = positions + joints;
  Index i = 1;
  for (; i + kLanes <= samples; i += kLanes) {
    const auto square = [&](Index k) VELMORA_ALWAYS_INLINE_LAMBDA {
      return SquaredDistance(row + (k - 1) * joints, row + k * joints, joints);
    };
    const Lanes distances = internal::Sqrt<Processor>(Lanes{square(0), square(1), square(2), square(3)});
    for (int k = 0; k < kLanes; ++k) coordinate[i + k] = length += distances[k];
    row += kLanes * joints;
  }
  for (; i < samples; ++i, row += joints) {
    coordinate[i] = length += std::sqrt(SquaredDistance(row - joints, row, joints));
  }
}

struct PathCoordinateKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const double* positions, Index samples, Index joints, double* coordinate) {
    // Most arms have six joints or seven: where the compiler knows the number, a distance takes no branch.
    switch (joints) {
      case 6:
        return AddDistances<Processor>(positions, samples, 6, coordinate);
      case 7:
        return AddDistances<Processor>(positions, samples, 7, coordinate);
      default:
        return AddDistances<Processor>(positions, samples, joints, coordinate);
    }
  }
};

}  // namespace

Matrix BlendArrays(const Matrix& raw, const Matrix& shaped, const std::variant<double, Vector>& weight) {
  if (!internal::HaveSameShape(raw, shaped)) {
    internal::ThrowInvalidArgument("raw and shaped arrays must have the same shape");
  }
  if (std::holds_alternative<double>(weight)) {
    Matrix blend = internal::UnwrittenMatrix(raw.rows(), raw.cols());
    internal::RunKernel<UniformBlendKernel>(raw.data(), shaped.data(), std::get<double>(weight), raw.size(),
                                            blend.data());
    return blend;
  }
  const Vector& weights = std::get<Vector>(weight);
  if (weights.size() != raw.rows()) {
    internal::ThrowInvalidArgument("per-sample shaping weights must match the sample count");
  }
  Matrix blend = internal::UnwrittenMatrix(raw.rows(), raw.cols());
  internal::RunKernel<PerSampleBlendKernel>(raw.data(), shaped.data(), weights.data(), raw.rows(), raw.cols(),
                                            blend.data());
  return blend;
}

Vector JointPathCoordinate(const Matrix& positions) {
  const Index samples = positions.rows();
  Vector coordinate(samples);
  if (samples > 0) {
    internal::RunKernel<PathCoordinateKernel>(positions.data(), samples, positions.cols(), coordinate.data());
  }
  return coordinate;
}

}  // namespace velmora::control::shaper
