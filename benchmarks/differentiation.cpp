// Derivatives of sampled signals beside plain Eigen loops and a copy of the same bytes.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/differentiation.hpp"

#include "agreement.hpp"
#include "contender.hpp"
#include "internal/cpu_dispatch.hpp"
#include "internal/row_lanes.hpp"
#include "peers/eigen_expressions.hpp"
#include "util/timing/three_point_derivative.hpp"

namespace velmora::benchmarks {
namespace {

using util::timing::SampleAlignedFirstDifference;
using util::timing::ThreePointSampleDerivative;

// The three divisions that each sample costs, and nothing else: a bound that no arrangement of the
// rest can pass.
struct DivisionsKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const double* t, Eigen::Index samples, double* quotients) {
    for (Eigen::Index i = 1; i + internal::kLanes < samples; i += internal::kLanes, quotients += 3 * internal::kLanes) {
      const internal::Lanes here = internal::Load<internal::Lanes>(t + i);
      const internal::Lanes before = here - internal::Load<internal::Lanes>(t + i - 1);
      const internal::Lanes after = internal::Load<internal::Lanes>(t + i + 1) - here;
      internal::Store<internal::Lanes>(after / before, quotients);
      internal::Store<internal::Lanes>(here / before, quotients + internal::kLanes);
      internal::Store<internal::Lanes>(before / after, quotients + 2 * internal::kLanes);
    }
  }
};

Vector Divisions(const Recording& r) {
  Vector quotients(3 * r.trajectory.time.size());
  internal::RunKernel<DivisionsKernel>(r.trajectory.time.data(), r.trajectory.time.size(), quotients.data());
  return quotients;
}

}  // namespace

void AddDifferentiation() {
  AddContender("derivative", "library", kLargest, [](const Recording& r) {
    return ThreePointSampleDerivative(r.trajectory.positions, r.trajectory.time);
  });
  AddContender("derivative", "eigen", kLargest, [](const Recording& r) {
    return peers::ThreePointDerivative(r.trajectory.positions, r.trajectory.time);
  });
  AddContender("derivative", "memcpy", kLargest,
               [](const Recording& r) { return peers::CopyBytes(r.trajectory.positions); });
  AddContender("derivative", "divisions", kLargest, Divisions);

  AddContender("first_difference", "library", kLargest, [](const Recording& r) {
    return SampleAlignedFirstDifference(r.trajectory.positions, r.trajectory.time);
  });
  AddContender("first_difference", "eigen", kLargest,
               [](const Recording& r) { return peers::FirstDifference(r.trajectory.positions, r.trajectory.time); });
  AddContender("first_difference", "memcpy", kLargest,
               [](const Recording& r) { return peers::CopyBytes(r.trajectory.positions); });
}

void CheckDifferentiation() {
  const Recording r(1000, 7);
  const Matrix& x = r.trajectory.positions;
  const Vector& t = r.trajectory.time;
  RequireAgreement("derivative/eigen", ThreePointSampleDerivative(x, t), peers::ThreePointDerivative(x, t));
  RequireAgreement("first_difference/eigen", SampleAlignedFirstDifference(x, t), peers::FirstDifference(x, t));
}

}  // namespace velmora::benchmarks
