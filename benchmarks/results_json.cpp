// The library's results on a small recording as JSON, for peers in other languages to compare theirs with.
// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <string>

#include "agreement.hpp"
#include "recording.hpp"
#include "shaping_sequence.hpp"
#include "util/timing/three_point_derivative.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::benchmarks {
namespace {

using namespace util::timing;

std::string Json(const Vector& values) { return fmt::format("[{:.17g}]", fmt::join(values, ", ")); }

std::string Json(const Matrix& values) {
  std::string rows;
  for (Eigen::Index i = 0; i < values.rows(); ++i) rows += (i > 0 ? ", " : "") + Json(Vector(values.row(i)));
  return '[' + rows + ']';
}

JointTrajectory Resample(const Recording& r, ResamplingMethod method) {
  return ResampleTrajectory(r.trajectory, r.grid_spacing_s, method, ResamplingTimeGridMode::exact_dt_append_endpoint,
                            true);
}

}  // namespace

void PrintResults() {
  const Recording r(200, 7);
  const Vector& time = r.trajectory.time;
  const Matrix& positions = r.trajectory.positions;
  const JointTrajectory cubic = Resample(r, ResamplingMethod::cubic);
  const shaping::ShapedTrajectory shaped = shaping::JoinMoveAndTail(Shape(r));
  fmt::print(
      R"({{"time": {}, "positions": {}, "derivative": {}, "linear": {}, "cubic": [{}, {}, {}], "shape": [{}, {}, {}]}})",
      Json(time), Json(positions), Json(ThreePointSampleDerivative(positions, time)),
      Json(Resample(r, ResamplingMethod::linear).positions), Json(cubic.positions), Json(cubic.velocities()),
      Json(cubic.accelerations()), Json(shaped.positions), Json(shaped.velocities), Json(shaped.accelerations));
}

}  // namespace velmora::benchmarks
