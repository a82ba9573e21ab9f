// Linear resampling onto four grid entries per sample beside a plain Eigen loop.
// SPDX-License-Identifier: Apache-2.0
#include "agreement.hpp"
#include "contender.hpp"
#include "peers/eigen_expressions.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::benchmarks {
namespace {

using namespace util::timing;

JointTrajectory Resample(const Recording& r) {
  return ResampleTrajectory(r.trajectory, r.grid_spacing_s, ResamplingMethod::linear,
                            ResamplingTimeGridMode::exact_dt_append_endpoint, false);
}

Matrix ResampleByEigen(const Recording& r) {
  return peers::ResampleLinear(r.trajectory.time, r.trajectory.positions, r.grid_entries);
}

Matrix ResampleByCheckedEigen(const Recording& r) {
  return peers::ResampleLinearChecked(r.trajectory.time, r.trajectory.positions, r.grid_entries);
}

}  // namespace

void AddLinearResampling() {
  AddContender("linear", "library", kLargestResampled, Resample);
  AddContender("linear", "eigen", kLargestResampled, ResampleByEigen);
  AddContender("linear", "eigen_checked", kLargestResampled, ResampleByCheckedEigen);
}

void CheckLinearResampling() {
  const Recording r(1000, 7);
  RequireAgreement("linear/eigen", Resample(r).positions, ResampleByEigen(r));
  RequireAgreement("linear/eigen_checked", Resample(r).positions, ResampleByCheckedEigen(r));
}

}  // namespace velmora::benchmarks
