// Blending and the path coordinate beside plain Eigen, a loop over `std::fma`, and the cost of touching the memory.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/control/shaper/blending.hpp"

#include <variant>

#include "agreement.hpp"
#include "contender.hpp"
#include "peers/eigen_expressions.hpp"

namespace velmora::benchmarks {
namespace {

using control::shaper::BlendArrays;
using control::shaper::JointPathCoordinate;

constexpr double kWeight = 0.3;

Matrix BlendRows(const Recording& r) { return BlendArrays(r.trajectory.positions, r.shaped, r.weights); }

Matrix BlendRowsByEigen(const Recording& r) {
  return peers::BlendByRow(r.trajectory.positions, r.shaped, std::get<Vector>(r.weights));
}

}  // namespace

void AddBlending() {
  AddContender("blend_scalar", "library", kLargest,
               [](const Recording& r) { return BlendArrays(r.trajectory.positions, r.shaped, kWeight); });
  AddContender("blend_scalar", "eigen", kLargest,
               [](const Recording& r) { return peers::BlendByExpression(r.trajectory.positions, r.shaped, kWeight); });
  AddContender("blend_scalar", "libm_fma", kLargest,
               [](const Recording& r) { return peers::BlendByFma(r.trajectory.positions, r.shaped, kWeight); });
  AddContender("blend_scalar", "sum", kLargest,
               [](const Recording& r) { return peers::Sum(r.trajectory.positions, r.shaped); });
  AddContender("blend_scalar", "memcpy", kLargest,
               [](const Recording& r) { return peers::CopyBytes(r.trajectory.positions); });

  AddContender("blend_rows", "library", kLargest, BlendRows);
  AddContender("blend_rows", "eigen", kLargest, BlendRowsByEigen);
  AddContender("blend_rows", "sum", kLargest,
               [](const Recording& r) { return peers::Sum(r.trajectory.positions, r.shaped); });

  AddContender("path_coordinate", "library", kLargest,
               [](const Recording& r) { return JointPathCoordinate(r.trajectory.positions); });
  AddContender("path_coordinate", "eigen", kLargest,
               [](const Recording& r) { return peers::PathCoordinate(r.trajectory.positions); });
}

void CheckBlending() {
  const Recording r(1000, 7);
  const Matrix& raw = r.trajectory.positions;
  const Matrix uniform = BlendArrays(raw, r.shaped, kWeight);
  RequireAgreement("blend_scalar/eigen", uniform, peers::BlendByExpression(raw, r.shaped, kWeight));
  RequireAgreement("blend_scalar/libm_fma", uniform, peers::BlendByFma(raw, r.shaped, kWeight));
  RequireAgreement("blend_rows/eigen", BlendRows(r), BlendRowsByEigen(r));
  RequireAgreement("path_coordinate/eigen", JointPathCoordinate(raw), peers::PathCoordinate(raw));
}

}  // namespace velmora::benchmarks
