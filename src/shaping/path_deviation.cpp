// How far a shaped command leaves the path of the raw one.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "internal/exact_arithmetic.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "shaping/shaped_parts.hpp"
#include "util/timing/trajectory_sizes.hpp"
#include "velmora/shaping/shape_trajectory.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;

// From a point to the segment between two others: to p + s (q - p) with s = (x - p)(q - p) / |q - p|^2 kept within 0
// and 1.
double SquaredDistanceToSegment(const double* point, const double* from, const double* to, Index joints) {
  double along = 0.0;
  double length = 0.0;
  for (Index j = 0; j < joints; ++j) {
    const double direction = to[j] - from[j];
    along = std::fma(point[j] - from[j], direction, along);
    length = std::fma(direction, direction, length);
  }
  const double share = length > 0.0 ? std::min(std::max(along / length, 0.0), 1.0) : 0.0;
  double sum = 0.0;
  for (Index j = 0; j < joints; ++j) {
    const double distance = point[j] - std::fma(share, to[j] - from[j], from[j]);
    sum = std::fma(distance, distance, sum);
  }
  return sum;
}

// The largest over the samples of one part.
double LargestSquaredDistance(const JointTrajectory& trajectory, const ShapedTrajectory& part, double added_s) {
  const Vector& time = trajectory.time;
  const native::Matrix& path = trajectory.positions;
  const Index last = time.size() - 1;
  double largest = 0.0;
  for (Index i = 0; i < part.time.size(); ++i) {
    // The last sample at or before the stretch, and the first one at or after it.
    const Index not_after = std::upper_bound(time.begin(), time.end(), part.time[i] - added_s) - time.begin();
    const Index not_before = std::lower_bound(time.begin(), time.end(), part.time[i]) - time.begin();
    const Index first_sample = std::min(std::max(not_after - 1, Index{0}), last);
    const Index last_sample = std::max(std::min(not_before, last), first_sample);
    const double* const point = part.positions.data() + i * path.cols();
    const double* row = path.data() + first_sample * path.cols();
    double nearest = SquaredDistanceToSegment(point, row, row, path.cols());
    for (Index k = first_sample; k < last_sample; ++k, row += path.cols()) {
      nearest = std::min(nearest, SquaredDistanceToSegment(point, row, row + path.cols(), path.cols()));
    }
    largest = std::max(largest, nearest);
  }
  return largest;
}

}  // namespace

double PathDeviation(const JointTrajectory& trajectory, const ShapedCommand& command) {
  util::timing::CheckSizes(trajectory);
  if (command.move.positions.cols() != trajectory.positions.cols()) {
    internal::ThrowInvalidArgument("trajectory and command must have the same number of joints.");
  }
  CheckParts(command);
  return std::sqrt(std::max(LargestSquaredDistance(trajectory, command.move, command.added_duration_s),
                            LargestSquaredDistance(trajectory, command.tail, command.added_duration_s)));
}

}  // namespace velmora::shaping
