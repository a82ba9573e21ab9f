// Derivatives of sampled signals beside plain Eigen loops and a copy of the same bytes.
#include "velmora/util/timing/differentiation.hpp"

#include "agreement.hpp"
#include "contender.hpp"
#include "peers/eigen_expressions.hpp"
#include "util/timing/three_point_derivative.hpp"

namespace velmora::benchmarks {
namespace {

using util::timing::SampleAlignedFirstDifference;
using util::timing::ThreePointSampleDerivative;

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
