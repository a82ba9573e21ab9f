// Delayed copies of a spline, weighted and summed.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "util/timing/cubic_spline.hpp"
#include "util/timing/spline_intervals.hpp"
#include "velmora/native/array_types.hpp"
#include "velmora/shaping/impulse_sequence.hpp"

namespace velmora::shaping {

/// Where samples follow each other closely, every interval of the spline is met once by each copy. So the coefficients
/// that take divisions are formed once, and kept until the last copy has passed. Refers to its arguments.
class SplineCopies {
 public:
  /// For `Sum` of at most so many samples.
  SplineCopies(const util::timing::SplineRows& spline, const ImpulseSequence& sequence, Eigen::Index samples);

  /// first + amplitude_1 (copy_1 - first) + amplitude_2 (copy_2 - first) + ..., copy k at `times_s[r]` less the time of
  /// impulse k, for the `count` ascending times, in rows one after the other. All copies are between the knots.
  ///
  /// False, and nothing written, where the copies are too many intervals apart, or the samples too far from each other,
  /// for this to pay.
  bool Sum(const double* times_s, Eigen::Index count, const util::timing::SampleRows& sums);

 private:
  void Locate(const double* times_s, Eigen::Index count);
  bool FormCoefficients(Eigen::Index count);

  util::timing::SplineRows spline_;
  const ImpulseSequence& sequence_;
  Eigen::Index stride_;                  // from one copy's numbers to the next one's
  std::vector<std::int64_t> intervals_;  // those of one copy after the other
  native::Vector into_interval_s_;       // times from the knots that begin these intervals
  native::Matrix b_;                     // interval i in row i modulo their number, a power of two
  native::Matrix d_;
  Eigen::Index formed_end_ = 0;  // from the first interval of the last stretch up to here all are there
};

}  // namespace velmora::shaping
